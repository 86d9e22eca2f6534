// SPDX-License-Identifier: Apache-2.0
#include "scenario.hpp"

#include <cerrno>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <system_error>

namespace kv::virtual_agent {

namespace {

using Document = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;
using Kind = Scenario::Step::Kind;

constexpr int patience_ms = 5000;

int line_at(const std::string &text, std::size_t position)
{
    return 1 + static_cast<int>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), '\n'));
}

/// The lines in which the items of the array begin that a top-level member holds. The text is known to be good JSON.
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

/// A version as the interface counts; the bound of the steps that are for all versions when there is none.
int version_in(Arguments &members, const char *name, int otherwise)
{
    const std::optional<std::string> text = members.text(name);
    return text ? Version::parse(*text).number() : otherwise;
}

int milliseconds(Arguments &members, const char *name, int otherwise)
{
    const int value = members.number(name).value_or(otherwise);
    if (value < 0)
        throw std::invalid_argument{std::string{"'"} + name + "' cannot be negative"};
    return value;
}

Json object_in(Arguments &members, const char *name)
{
    const cJSON *value = members.any(name);
    if (value && !cJSON_IsObject(value))
        throw std::invalid_argument{std::string{"'"} + name + "' must be an object, not " + text_of(value)};
    return value ? Json::copy_of(value) : Json::object();
}

/// A command's first argument stands behind its name; the others are members of the same object.
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

/// What kind of step the object is: the one member that names one.
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
        step.within_ms = milliseconds(members, "wait_ms", 0);
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
        step.within_ms = milliseconds(members, "within_ms", patience_ms);
    step.since = version_in(members, "since", 0);
    step.before = version_in(members, "before", std::numeric_limits<int>::max());
    members.text("note"); // for whoever reads the file
    members.end();
}

Document parsed(const std::string &text)
{
    const char *end = nullptr;
    Document document{cJSON_ParseWithOpts(text.c_str(), &end, true), cJSON_Delete};
    if (!document) {
        const auto position = static_cast<std::size_t>(end ? end - text.c_str() : 0);
        throw std::invalid_argument{"line " + std::to_string(line_at(text, std::min(position, text.size()))) +
                                    ": here it is no JSON any more"};
    }
    return document;
}

} // namespace

Scenario Scenario::parse(const std::string &text)
{
    const Document document = parsed(text);
    const cJSON *steps = cJSON_GetObjectItemCaseSensitive(document.get(), "steps");
    if (!cJSON_IsArray(steps))
        throw std::invalid_argument{"line 1: a scenario is an object with an array 'steps'"};
    Scenario scenario;
    Arguments members{document.get()};
    scenario.title = members.text("title").value_or("");
    members.any("steps");
    members.text("note");
    try {
        members.end();
    } catch (const std::invalid_argument &problem) {
        throw std::invalid_argument{std::string{"line 1: "} + problem.what()};
    }

    const std::vector<int> lines = lines_of_items(text, "steps");
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

void Scenario::append(Scenario more)
{
    if (title.empty())
        title = std::move(more.title);
    steps.insert(steps.end(), std::make_move_iterator(more.steps.begin()), std::make_move_iterator(more.steps.end()));
}

Scenario Scenario::load(const std::string &path)
{
    std::ifstream file{path};
    std::ostringstream text;
    if (!file || !(text << file.rdbuf()))
        throw std::system_error{errno != 0 ? errno : EIO, std::generic_category(), "cannot read the scenario " + path};
    try {
        Scenario scenario = parse(text.str());
        for (Step &step : scenario.steps)
            step.file = path;
        return scenario;
    } catch (const std::invalid_argument &problem) {
        throw std::invalid_argument{path + ", " + problem.what()};
    }
}

} // namespace kv::virtual_agent
