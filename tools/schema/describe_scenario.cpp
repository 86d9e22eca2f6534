// SPDX-License-Identifier: Apache-2.0
// Prints the JSON Schema of scenarios, for editors and other tools, from the tables with which the agent checks a scenario.

#include "agent/interface/methods.hpp"
#include "agent/scenario/reading/checks.hpp"
#include "agent/scenario/reading/functions.hpp"
#include "command_steps.hpp"

#include <limits>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace kv::virtual_agent;
using namespace kv::schema;

/// The members that a step of any kind may have.
Json step_members()
{
    Json members = Json::object();
    members.set("since", reference("version")).set("before", reference("version")).set("note", type("string"));
    return members;
}

Json version()
{
    std::string names;
    for (const std::string &known : Version::all())
        names += (names.empty() ? "" : "|") + known.substr(0, 1) + "\\." + known.substr(2);
    Json shape = type("string");
    shape.set("pattern", "^(" + names + ")(\\.[0-9]{1,9})?$");
    return shape;
}

/// Members with the names of the described values.
Json names_in(const Json &shapes, const char *also)
{
    Json members = Json::object();
    if (also)
        members.set(also, Json{true});
    for (const cJSON *shape = shapes.get()->child; shape; shape = shape->next)
        members.set(cJSON_GetObjectItemCaseSensitive(shape, "name")->valuestring, Json{true});
    Json names = type("object");
    names.set("properties", std::move(members)).set("additionalProperties", false);
    return or_variable(std::move(names));
}

/// The names of the arguments and of the values in the reply of a method.
Json names_for(const MethodEntry &method)
{
    Json members = Json::object();
    members.set("with", names_in(method.argument_shapes(), nullptr));
    members.set("answer", names_in(method.out_shapes(), "result"));
    return std::move(Json::object().set("properties", std::move(members)));
}

/// A rule for all calls with the same names.
Json call_rules(const char *kind)
{
    std::map<std::string, std::vector<std::string>> calls;
    for (const MethodEntry &method : all_methods())
        calls[names_for(method).text()].emplace_back(method.name);
    for (const Function &function : all_functions())
        if (function.requests.size() == 1 && !function.requests[0].inside)
            calls[names_for(*find_method(function.requests[0].method)).text()].push_back(function.name);

    Json rules = Json::array();
    for (const auto &[names, same] : calls) {
        Json rule = Json::object();
        rule.set("if", only_for(kind, same)).set("then", Json::parse(names));
        rules.append(std::move(rule));
    }
    return rules;
}

Json call_step(const char *kind, bool waits)
{
    Json members = step_members();
    members.set(kind, reference("call")).set("with", or_variable(type("object"))).set("answer", Json{true});
    if (waits)
        members.set("within_ms", reference("count")).set("not_before_ms", reference("count"));
    Json step = closed(std::move(members), {kind});
    step.set("allOf", call_rules(kind));
    return step;
}

/// The paths below a value of the complete state, as a regular expression; nothing if it has none.
std::string paths_below(const cJSON *value)
{
    if (cJSON_IsNull(value) || ((cJSON_IsObject(value) || cJSON_IsArray(value)) && !value->child))
        return "(\\..*)?";
    std::string names = "#.*";
    if (cJSON_IsArray(value))
        names += "|[0-9]+" + paths_below(value->child);
    else if (cJSON_IsObject(value))
        for (const cJSON *member = value->child; member; member = member->next)
            names += std::string{"|"} + member->string + paths_below(member);
    else
        return "";
    return "(\\.(" + names + "))?";
}

Json until_step()
{
    std::string names = "#.*";
    for (const cJSON *member = complete_state().get()->child; member; member = member->next)
        names += std::string{"|"} + member->string + paths_below(member);
    Json paths = type("object");
    paths.set("propertyNames", std::move(Json::object().set("pattern", "^(" + names + ")$")));
    Json members = step_members();
    members.set("until", or_variable(std::move(paths)))
        .set("within_ms", reference("count"))
        .set("not_before_ms", reference("count"));
    return closed(std::move(members), {"until"});
}

Json simple_step(const char *name, Json value)
{
    Json members = step_members();
    members.set(name, std::move(value));
    return closed(std::move(members), {name});
}

Json calls()
{
    std::vector<std::string> names = names_of(all_methods());
    for (const Function &function : all_functions())
        names.push_back(function.name);
    return or_variable(one_of(names));
}

Json include_step()
{
    Json members = step_members();
    members.set("include", type("string")).set("with", or_variable(type("object")));
    return closed(std::move(members), {"include"});
}

/// Each item is a step, or a list of steps that stay in their order.
Json any_order_step()
{
    return simple_step("any_order", array(either(reference("step"), reference("steps"))));
}

Json step()
{
    Json kinds = Json::array();
    kinds.append(call_step("expect", true));
    kinds.append(call_step("never", false));
    kinds.append(until_step());
    kinds.append(simple_step("wait_ms", reference("count")));
    kinds.append(simple_step("say", type("string")));
    kinds.append(include_step());
    kinds.append(any_order_step());
    for (const Command &command : all_commands())
        if (!command.waits())
            kinds.append(command_step(command, step_members(), Values::or_variables));
    return std::move(Json::object().set("oneOf", std::move(kinds)));
}

constexpr const char *variable_name = "[A-Za-z_][A-Za-z0-9_]*";

/// A text with a variable, in place of a value of any other type.
Json variable()
{
    Json text = type("string");
    text.set("pattern", std::string{"\\$\\{"} + variable_name + "\\}");
    return text;
}

Json variables()
{
    Json names = Json::object();
    names.set("pattern", std::string{"^"} + variable_name + "$");
    Json shape = type("object");
    shape.set("propertyNames", std::move(names));
    return shape;
}

} // namespace

int main()
{
    Json members = Json::object();
    members.set("$schema", type("string")).set("title", type("string")).set("note", type("string"));
    members.set("since", reference("literal_version")).set("before", reference("literal_version"));
    members.set("part", type("boolean"))
        .set("keeps_calls", type("boolean"))
        .set("variables", variables())
        .set("steps", reference("steps"));
    constexpr int min = std::numeric_limits<int>::min();
    constexpr int max = std::numeric_limits<int>::max();
    Json definitions = Json::object();
    definitions.set("literal_version", version())
        .set("version", or_variable(reference("literal_version")))
        .set("variable", variable())
        .set("call", calls())
        .set("count", or_variable(whole_number(0, max)))
        .set("number", or_variable(whole_number(min, max)))
        .set("step", step())
        .set("steps", array(reference("step")));
    print("A scenario of Korvane", closed(std::move(members), {"steps"}), std::move(definitions));
}
