// SPDX-License-Identifier: Apache-2.0
#include "checks.hpp"

#include "agent/embedded.hpp"
#include "agent/interface/events.hpp"
#include "agent/interface/methods.hpp"
#include "agent/json/kind.hpp"
#include "agent/scenario/personalities.hpp"
#include "common/suggestion.hpp"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace kv::virtual_agent {

namespace {

constexpr const char *placeholder_mark = "FILL IN: ";

/// Members that a step of any kind may have.
constexpr const char *common_members[] = {"since", "before", "note", "within_ms", "not_before_ms", "with", "answer"};

template <class Entries>
std::vector<std::string> names_of(const Entries &entries)
{
    std::vector<std::string> names;
    for (const auto &entry : entries)
        names.emplace_back(entry.name);
    return names;
}

const char *text_at(const cJSON *object, const char *name)
{
    const char *text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, name));
    return text ? text : "";
}

/// The member of a step that holds an argument of its command: the first one is named after the command.
const cJSON *member_of(const cJSON *step, const Command &command, const Parameter &parameter)
{
    const bool is_first = &parameter == command.parameters.data();
    return cJSON_GetObjectItemCaseSensitive(step, is_first ? command.name : parameter.name);
}

/// Refuses a name that is not in the list; `kind` is the name of such things.
void must_be_one_of(const cJSON *where, const std::string &name, const std::vector<std::string> &names,
                    const std::string &kind)
{
    if (std::find(names.begin(), names.end(), name) == names.end())
        throw Mistake{where, "there is no " + kind + " '" + name + "'" + suggestion(name, names)};
}

void check_fault(const cJSON *where, const cJSON *step, const cJSON *arguments)
{
    std::vector<std::string> methods = names_of(all_methods());
    methods.emplace_back("all");
    must_be_one_of(where, text_at(arguments, "method"), methods, "method");
    const cJSON *form = cJSON_GetObjectItemCaseSensitive(step, "form");
    must_be_one_of(form, text_at(arguments, "form"), names_of(fault_forms()), "fault");
    try {
        parse_fault(text_at(arguments, "form"), whole_number(cJSON_GetObjectItemCaseSensitive(arguments, "value")));
    } catch (const std::invalid_argument &problem) {
        throw Mistake{form, problem.what()};
    }
}

bool is_index(const std::string &part)
{
    return part == "#" || (!part.empty() && part.find_first_not_of("0123456789") == std::string::npos);
}

/// Refuses a path that no state has.
void check_path(const cJSON *expected)
{
    const cJSON *at = complete_state().get();
    std::istringstream parts{expected->string};
    std::string before;
    for (std::string part; std::getline(parts, part, '.'); before += (before.empty() ? "" : ".") + part) {
        if (cJSON_IsNull(at) || ((cJSON_IsObject(at) || cJSON_IsArray(at)) && !at->child) || part == "#")
            return;
        if (cJSON_IsArray(at)) {
            if (!is_index(part))
                throw Mistake{expected, "'" + before + "' is a list: write an index or '#' instead of '" + part + "'"};
            at = at->child;
            continue;
        }
        if (!cJSON_IsObject(at))
            throw Mistake{expected, "'" + before + "' of the state has no members"};
        std::vector<std::string> names;
        for (const cJSON *member = at->child; member; member = member->next)
            names.emplace_back(member->string);
        at = cJSON_GetObjectItemCaseSensitive(at, part.c_str());
        if (!at)
            throw Mistake{expected,
                          "the state has no '" + std::string{expected->string} + "'" + suggestion(part, names)};
    }
}

/// Refuses members of `expected` that are not among the described values.
void check_names(const cJSON *expected, const Json &shapes, const char *also, const std::string &kind)
{
    std::vector<std::string> names;
    if (also)
        names.emplace_back(also);
    for (const cJSON *shape = shapes.get()->child; shape; shape = shape->next)
        names.emplace_back(text_at(shape, "name"));
    for (const cJSON *member = cJSON_IsObject(expected) ? expected->child : nullptr; member; member = member->next)
        must_be_one_of(member, member->string, names, kind);
}

} // namespace

const Json &complete_state()
{
    static const Json state = [] {
        State all;
        all.setup.scan = 0;
        all.setup.networks.emplace_back();
        all.setup.chosen.emplace();
        all.setup.wifi_error = 0;
        all.setup.confirmed = false;
        all.setup.reset_confirmed = false;
        all.setup.property.emplace();
        all.cloud.credentials.emplace();
        all.cloud.session.emplace();
        all.cloud.presence = 0;
        all.cloud.last_status.emplace();
        all.cloud.terms.type = 0;
        all.cloud.terms.status = 0;
        Json view = all.view();
        view.set("peers", Json::array()).set("faults", Json::object()).set("play", Json{});
        return view;
    }();
    return state;
}

void check_command(const Command &command, const cJSON *step, const cJSON *arguments)
{
    for (const Parameter &parameter : command.parameters) {
        const cJSON *value = cJSON_GetObjectItemCaseSensitive(arguments, parameter.name);
        if (!value && parameter.required)
            throw Mistake{step,
                          std::string{"'"} + parameter.name + "' is missing: " + command.name + " " + command.form()};
        if (value && parameter.kind == Parameter::Kind::word && !cJSON_IsString(value))
            throw Mistake{member_of(step, command, parameter),
                          std::string{"'"} + parameter.name + "' must be a text, not " + kind_of(value)};
        if (value && parameter.kind == Parameter::Kind::number && !whole_number(value))
            throw Mistake{member_of(step, command, parameter),
                          std::string{"'"} + parameter.name + "' must be a whole number, not " + kind_of(value)};
        if (value && !parameter.choices.empty())
            must_be_one_of(member_of(step, command, parameter), text_at(arguments, parameter.name),
                           {parameter.choices.begin(), parameter.choices.end()}, std::string{command.name} + " step");
    }
    const cJSON *first = cJSON_GetObjectItemCaseSensitive(step, command.name);
    const std::string name = command.name;
    if (name == "phone")
        must_be_one_of(first, text_at(arguments, "step"), names_of(Phone::steps()), "phone step");
    else if (name == "cloud")
        must_be_one_of(first, text_at(arguments, "step"), names_of(Cloud::steps()), "cloud step");
    else if (name == "emit")
        must_be_one_of(first, text_at(arguments, "event"), names_of(all_events()), "event");
    else if (name == "fault")
        check_fault(first, step, arguments);
    else if (name == "personality" && !find_personality(text_at(arguments, "name")))
        throw Mistake{first, std::string{"there is no personality '"} + text_at(arguments, "name") +
                                 "'; it is one of " + personality_names()};
}

void check_paths(const cJSON *expected)
{
    for (const cJSON *one = expected ? expected->child : nullptr; one; one = one->next)
        check_path(one);
}

void check_call(const std::string &method, const cJSON *arguments, const cJSON *answer)
{
    const MethodEntry *entry = find_method(method);
    check_names(arguments, entry->argument_shapes(), nullptr, "argument of " + method);
    check_names(answer, entry->out_shapes(), "result", "value in the reply of " + method);
}

void check_placeholders(const cJSON *value)
{
    if (const char *text = cJSON_GetStringValue(value); text && std::strncmp(text, placeholder_mark, 9) == 0)
        throw Mistake{value, std::string{"replace \""} + text + "\" with the value"};
    if (cJSON_IsObject(value) || cJSON_IsArray(value))
        for (const cJSON *child = value->child; child; child = child->next)
            check_placeholders(child);
}

std::string step_kinds()
{
    return "'expect', 'never', 'until', 'wait_ms', 'say', 'include', 'any_order' or a command's name";
}

void refuse_unknown_step(const cJSON *step, const std::vector<std::string> &kinds)
{
    const cJSON *unknown = step->child;
    while (unknown && std::any_of(std::begin(common_members), std::end(common_members),
                                  [unknown](const char *name) { return std::strcmp(name, unknown->string) == 0; }))
        unknown = unknown->next;
    if (!unknown)
        throw Mistake{step, "a step has one of " + step_kinds()};
    throw Mistake{unknown, std::string{"there is no step '"} + unknown->string + "'" +
                               suggestion(unknown->string, kinds) + " (a step has one of " + step_kinds() + ")"};
}

} // namespace kv::virtual_agent
