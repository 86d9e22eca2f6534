// SPDX-License-Identifier: Apache-2.0
#include "scenario.hpp"

#include "agent/files/read_file.hpp"
#include "agent/json/kind.hpp"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace kv::virtual_agent {

namespace {

using Kind = Scenario::Step::Kind;

constexpr int default_timeout_ms = 5000;

int line_at(const std::string &text, std::size_t position)
{
    return 1 + static_cast<int>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), '\n'));
}

/// The lines at which the items of a top-level array begin. The text must be valid JSON.
std::vector<int> lines_of_items(const std::string &text, const std::string &member)
{
    std::vector<int> lines;
    int depth = 0;
    bool inside = false; // of that member's array
    std::string last_text;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char letter = text[i];
        if (letter == '"') {
            const std::size_t begin = ++i;
            while (text[i] != '"')
                i += text[i] == '\\' ? 2 : 1;
            last_text = text.substr(begin, i - begin);
        } else if (letter == '{' || letter == '[') {
            if (letter == '[' && depth == 1 && last_text == member)
                inside = true;
            else if (inside && depth == 2)
                lines.push_back(line_at(text, i));
            ++depth;
        } else if (letter == '}' || letter == ']') {
            --depth;
            inside = inside && depth > 1;
        }
    }
    return lines;
}

/// A version as a number; `otherwise` if the member is missing.
int version_in(Arguments &members, const char *name, int otherwise)
{
    const std::optional<std::string> text = members.text(name);
    return text ? Version::parse(*text).number() : otherwise;
}

Json object_in(Arguments &members, const char *name)
{
    const cJSON *value = members.any(name);
    if (value && !cJSON_IsObject(value))
        throw std::invalid_argument{std::string{"'"} + name + "' must be an object, not " + kind_of(value)};
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
    if (is("expect", Kind::expect)) {
        step.text = members.required_text("expect");
        if (!find_method(step.text))
            throw std::invalid_argument{"there is no method '" + step.text + "'"};
        step.arguments = object_in(members, "with");
        if (const cJSON *answer = members.any("answer"))
            step.answer = Json::copy_of(answer);
    }
    if (is("until", Kind::until))
        step.arguments = object_in(members, "until");
    if (is("wait_ms", Kind::wait))
        step.within_ms = members.count("wait_ms").value_or(0);
    if (is("say", Kind::say))
        step.text = members.required_text("say");
    for (const Command &command : all_commands())
        if (!command.waits() && is(command.name, Kind::command)) {
            step.command = &command;
            step.arguments = command_arguments(command, members);
        }
    if (kinds != 1)
        throw std::invalid_argument{"a step has one of 'expect', 'until', 'wait_ms', 'say' or a command's name"};

    if (step.kind == Kind::expect || step.kind == Kind::until)
        step.within_ms = members.count("within_ms").value_or(default_timeout_ms);
    step.since = version_in(members, "since", 0);
    step.before = version_in(members, "before", std::numeric_limits<int>::max());
    members.text("note"); // a comment in the file
    members.end();
}

/// The line of the first mistake in a text that is not JSON.
int line_of_mistake(const std::string &text)
{
    const char *end = nullptr;
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> document{cJSON_ParseWithOpts(text.c_str(), &end, true),
                                                                   cJSON_Delete};
    const auto position = static_cast<std::size_t>(end ? end - text.c_str() : 0);
    return line_at(text, std::min(position, text.size()));
}

} // namespace

Scenario Scenario::parse(const std::string &text)
{
    Json document;
    try {
        document = Json::parse(text);
    } catch (const JsonTooLarge &problem) {
        throw std::invalid_argument{std::string{"line 1: "} + problem.what()};
    } catch (const std::invalid_argument &) {
        throw std::invalid_argument{"line " + std::to_string(line_of_mistake(text)) +
                                    ": the text is not JSON from here on"};
    }
    return from_json(document.get(), lines_of_items(text, "steps"));
}

Scenario Scenario::from_json(const cJSON *document)
{
    return from_json(document, {});
}

Scenario Scenario::from_json(const cJSON *document, const std::vector<int> &lines)
{
    const cJSON *steps = cJSON_GetObjectItemCaseSensitive(document, "steps");
    if (!cJSON_IsArray(steps))
        throw std::invalid_argument{"line 1: a scenario is an object with an array 'steps'"};
    Scenario scenario;
    try {
        Arguments members{document};
        scenario.title = members.text("title").value_or("");
        scenario.since = version_in(members, "since", scenario.since);
        scenario.before = version_in(members, "before", scenario.before);
        members.any("steps");
        members.text("note");
        members.end();
    } catch (const std::invalid_argument &problem) {
        throw std::invalid_argument{std::string{"line 1: "} + problem.what()};
    }

    for (const cJSON *item = steps->child; item; item = item->next) {
        const std::size_t index = scenario.steps.size();
        Step step{Kind::say, index < lines.size() ? lines[index] : 1};
        try {
            take_kind(step, item);
        } catch (const std::invalid_argument &problem) {
            throw std::invalid_argument{"line " + std::to_string(step.line) + ": " + problem.what()};
        }
        scenario.steps.push_back(std::move(step));
    }
    return scenario;
}

void Scenario::require(int version) const
{
    if (applies_to(version))
        return;
    const std::string oldest = since == 0 ? "" : " from " + version_text(since) + " on";
    const std::string newest = before == std::numeric_limits<int>::max() ? "" : " before " + version_text(before);
    throw std::invalid_argument{"the scenario '" + title + "' is for agents" + oldest + newest + ", not for " +
                                version_text(version)};
}

void Scenario::append(Scenario more)
{
    if (title.empty())
        title = std::move(more.title);
    since = std::max(since, more.since);
    before = std::min(before, more.before);
    steps.insert(steps.end(), std::make_move_iterator(more.steps.begin()), std::make_move_iterator(more.steps.end()));
}

Scenario Scenario::load(const std::string &path)
{
    const std::string text = read_file(path, max_file);
    try {
        Scenario scenario = parse(text);
        for (Step &step : scenario.steps)
            step.file = path;
        return scenario;
    } catch (const std::invalid_argument &problem) {
        throw std::invalid_argument{path + ", " + problem.what()};
    }
}

} // namespace kv::virtual_agent
