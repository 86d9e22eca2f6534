// SPDX-License-Identifier: Apache-2.0
#include "step_reader.hpp"

#include "agent/interface/methods.hpp"
#include "agent/json/kind.hpp"
#include "checks.hpp"
#include "common/suggestion.hpp"
#include "functions.hpp"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

namespace kv::virtual_agent {

namespace {

using Kind = Scenario::Step::Kind;

/// The timeout of a step that has none of its own: KORVANE_WITHIN_MS, for machines on which applications are slow.
int default_within_ms()
{
    constexpr long otherwise = 5000;
    constexpr long longest = 600'000;
    const char *text = std::getenv("KORVANE_WITHIN_MS");
    if (!text || !*text)
        return otherwise;
    char *end = nullptr;
    const long given = std::strtol(text, &end, 10);
    if (*end != '\0' || given < 1 || given > longest)
        throw std::invalid_argument{std::string{"KORVANE_WITHIN_MS=\""} + text + "\" is not a number from 1 to " +
                                    std::to_string(longest)};
    return static_cast<int>(given);
}

/// The number of a version; `otherwise` if the member is missing.
int version_in(Arguments &members, const char *name, int otherwise)
{
    const std::optional<std::string> text = members.text(name);
    return text ? Version::parse(*text).number() : otherwise;
}

Json object_in(Arguments &members, const char *name)
{
    const cJSON *value = members.any(name);
    if (value && !cJSON_IsObject(value))
        throw Mistake{value, std::string{"'"} + name + "' must be an object, not " + kind_of(value)};
    return value ? Json::copy_of(value) : Json::object();
}

/// The arguments of a command: the first is the value of the member with its name, the others are members by name.
Json command_arguments(const Command &command, Arguments &members)
{
    Json arguments = Json::object();
    bool first = true;
    for (const Parameter &parameter : command.parameters) {
        const cJSON *value = members.any(std::exchange(first, false) ? command.name : parameter.name);
        if (value)
            arguments.set(parameter.name, Json::copy_of(value));
    }
    return arguments;
}

/// The names that a step can have.
std::vector<std::string> step_names()
{
    std::vector<std::string> names{"expect", "never", "until", "wait_ms", "say", "include", "any_order"};
    for (const Command &command : all_commands())
        if (!command.waits())
            names.emplace_back(command.name);
    return names;
}

std::vector<std::string> names_of_calls()
{
    std::vector<std::string> names;
    for (const MethodEntry &method : all_methods())
        names.emplace_back(method.name);
    for (const Function &function : all_functions())
        names.push_back(function.name);
    return names;
}

/// Reads the call that `expect` or `never` names: a method of the agent or an exported function.
void take_call(Scenario::Step &step, const char *kind, Arguments &members)
{
    step.text = members.required_text(kind);
    const cJSON *where = members.any(kind);
    step.arguments = object_in(members, "with");
    if (const cJSON *answer = members.any("answer"))
        step.answer = Json::copy_of(answer);
    const Function *function = find_function(step.text);
    if (!function && !find_method(step.text))
        throw Mistake{where,
                      "there is no method or function '" + step.text + "'" + suggestion(step.text, names_of_calls())};
    if (!function) {
        check_call(step.text, members.any("with"), members.any("answer"));
        step.requests.push_back({0, step.text, step.arguments.copy()});
        return;
    }
    for (const FunctionRequest &request : function->requests) {
        if (!request.inside)
            check_call(request.method, members.any("with"), members.any("answer"));
        step.requests.push_back({request.since, request.method, request_arguments(request, step.arguments.get())});
    }
}

/// Reads the kind of a step from the one member that names it, and its other members.
void take_kind(Scenario::Step &step, const cJSON *object)
{
    Arguments members{object};
    int kinds = 0;
    const auto is = [&](const char *name, Kind kind) {
        if (!members.any(name))
            return false;
        step.kind = kind;
        ++kinds;
        return true;
    };
    if (is("expect", Kind::expect))
        take_call(step, "expect", members);
    if (is("never", Kind::never))
        take_call(step, "never", members);
    if (is("until", Kind::until)) {
        step.arguments = object_in(members, "until");
        check_paths(members.any("until"));
    }
    if (is("wait_ms", Kind::wait))
        step.within_ms = members.count("wait_ms").value_or(0);
    if (is("say", Kind::say))
        step.text = members.required_text("say");
    for (const Command &command : all_commands())
        if (!command.waits() && is(command.name, Kind::command)) {
            step.command = &command;
            step.arguments = command_arguments(command, members);
            check_command(command, object, step.arguments.get());
        }
    if (kinds == 0)
        refuse_unknown_step(object, step_names());
    if (kinds > 1)
        throw std::invalid_argument{"a step has only one of " + step_kinds()};

    if (step.kind == Kind::expect || step.kind == Kind::until) {
        step.within_ms = members.count("within_ms").value_or(default_within_ms());
        step.not_before_ms = members.count("not_before_ms").value_or(0);
        if (step.not_before_ms > step.within_ms)
            throw Mistake{members.any("not_before_ms"),
                          "'not_before_ms' is greater than 'within_ms', " + std::to_string(step.within_ms)};
    }
    const VersionRange versions = take_versions(members);
    step.since = versions.since;
    step.before = versions.before;
    members.text("note"); // a comment in the file
    members.end();
}

} // namespace

VersionRange take_versions(Arguments &members)
{
    VersionRange range;
    range.since = version_in(members, "since", range.since);
    range.before = version_in(members, "before", range.before);
    return range;
}

Scenario::Step read_step(const cJSON *object)
{
    Scenario::Step step{Kind::say, 0};
    take_kind(step, object);
    return step;
}

} // namespace kv::virtual_agent
