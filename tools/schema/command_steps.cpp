// SPDX-License-Identifier: Apache-2.0
#include "command_steps.hpp"

#include "agent/interface/events.hpp"
#include "agent/interface/methods.hpp"
#include "agent/scenario/personalities.hpp"

#include <cstring>
#include <utility>

namespace kv::schema {

namespace {

using namespace virtual_agent;

/// The words that an argument of a command may have, and the type of others.
Json argument(const Command &command, const Parameter &parameter)
{
    const std::string name = std::string{command.name} + " " + parameter.name;
    if (!parameter.choices.empty())
        return one_of({parameter.choices.begin(), parameter.choices.end()});
    if (name == "phone step")
        return one_of(names_of(Phone::steps()));
    if (name == "cloud step")
        return one_of(names_of(Cloud::steps()));
    if (name == "emit event")
        return one_of(names_of(all_events()));
    if (name == "personality name")
        return one_of(names_of(personalities()));
    if (name == "fault method") {
        std::vector<std::string> methods = names_of(all_methods());
        methods.emplace_back("all");
        return one_of(methods);
    }
    switch (parameter.kind) {
    case Parameter::Kind::word: return type("string");
    case Parameter::Kind::number: return reference("number");
    case Parameter::Kind::json: return Json{true};
    }
    return Json{true};
}

/// A fault either needs a number or takes none.
Json fault_rules()
{
    Json rules = Json::array();
    for (const FaultForm &form : fault_forms()) {
        Json with_number = Json::object();
        with_number.set("required", array_of(std::vector<std::string>{"value"}));
        Json rule = Json::object();
        rule.set("if", only_for("form", {form.name}));
        rule.set("then",
                 form.value ? std::move(with_number) : std::move(Json::object().set("not", std::move(with_number))));
        rules.append(std::move(rule));
    }
    return rules;
}

} // namespace

Json only_for(const char *member, const std::vector<std::string> &values)
{
    Json members = Json::object();
    members.set(member, one_of(values));
    return std::move(Json::object().set("properties", std::move(members)));
}

Json or_variable(Json shape)
{
    return either(std::move(shape), reference("variable"));
}

Json command_step(const Command &command, Json members, Values values)
{
    const auto shape = [values](Json literal) {
        return values == Values::literal ? std::move(literal) : or_variable(std::move(literal));
    };
    std::vector<std::string> required{command.name};
    for (const Parameter &parameter : command.parameters) {
        const bool is_first = &parameter == command.parameters.data();
        members.set(is_first ? command.name : parameter.name, shape(argument(command, parameter)));
        if (parameter.required && !is_first)
            required.emplace_back(parameter.name);
    }
    if (command.parameters.empty())
        members.set(command.name, Json{true});
    if (std::strcmp(command.name, "fault") == 0)
        members.set("form", shape(one_of(names_of(fault_forms()))));
    Json step = closed(std::move(members), required);
    step.set("description", command.help);
    if (std::strcmp(command.name, "fault") == 0)
        step.set("allOf", fault_rules());
    return step;
}

} // namespace kv::schema
