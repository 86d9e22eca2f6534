// SPDX-License-Identifier: Apache-2.0
// A mistake is found at a JSON value. Each file turns it into a message with its own path, line and column; a message that
// an included file has made passes through the including ones unchanged.
#include "scenario_reader.hpp"

#include "agent/files/read_file.hpp"
#include "agent/json/kind.hpp"
#include "checks.hpp"
#include "common/suggestion.hpp"
#include "step_reader.hpp"
#include "variables.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

namespace kv::virtual_agent {

namespace {

/// A message with the place of the mistake.
struct Refusal : std::invalid_argument {
    using invalid_argument::invalid_argument;
};

/// The position of the first mistake in a text that is not JSON.
Position position_of_mistake(const std::string &text)
{
    const char *end = nullptr;
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> document{cJSON_ParseWithOpts(text.c_str(), &end, true),
                                                                   cJSON_Delete};
    return Position::of(text, static_cast<std::size_t>(end ? end - text.c_str() : 0));
}

const cJSON *member(const cJSON *object, const char *name)
{
    return cJSON_GetObjectItemCaseSensitive(object, name);
}

/// Restricts steps to agent versions in a range.
void limit_versions(std::vector<Scenario::Step> &steps, const VersionRange &versions)
{
    for (Scenario::Step &step : steps) {
        step.since = std::max(step.since, versions.since);
        step.before = std::min(step.before, versions.before);
    }
}

void append(std::vector<Scenario::Step> &steps, std::vector<Scenario::Step> more)
{
    steps.insert(steps.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// Refuses values for variables that an included file does not have.
void check_given(const cJSON *given, const cJSON *declared, const std::string &file)
{
    const std::vector<std::string> names = names_in(declared);
    for (const cJSON *one = given ? given->child : nullptr; one; one = one->next)
        if (std::find(names.begin(), names.end(), one->string) == names.end())
            throw Mistake{one, file + " has no variable '" + one->string + "'" + suggestion(one->string, names)};
}

void keep_calls(std::vector<Scenario::Step> &steps, const Scenario &head)
{
    for (Scenario::Step &step : steps)
        step.keeps_calls = step.keeps_calls || head.keeps_calls;
}

} // namespace

std::string ScenarioReader::Source::place(const Position &position) const
{
    return (path.empty() ? "" : path.string() + ", ") + position.text();
}

void ScenarioReader::Source::refuse(const Position &position, const std::string &problem) const
{
    throw Refusal{place(position) + ": " + problem + (included_by.empty() ? "" : " (" + included_by.substr(2) + ")")};
}

ScenarioReader::Source ScenarioReader::parsed(std::filesystem::path path, std::string included_by,
                                              const std::string &text) const
{
    Source source{std::move(path), std::move(included_by)};
    try {
        source.document = Json::parse(text);
    } catch (const JsonTooLarge &problem) {
        source.refuse({}, problem.what());
    } catch (const std::invalid_argument &) {
        source.refuse(position_of_mistake(text), "the text is not JSON from here on");
    }
    source.positions = Positions{text, source.document.get()};
    return source;
}

Scenario ScenarioReader::parse(const std::string &text)
{
    Source source = parsed({}, {}, text);
    return read(source);
}

Scenario ScenarioReader::from_json(const cJSON *document)
{
    Source source;
    if (document)
        source.document = Json::copy_of(document);
    return read(source);
}

Scenario ScenarioReader::load(const std::string &path)
{
    Source source = parsed(path, {}, read_file(path, Scenario::max_file));
    open_.push_back(std::filesystem::weakly_canonical(path));
    return read(source);
}

Scenario ScenarioReader::read(Source &source)
{
    Scenario scenario;
    read_head(source, scenario);
    Json given;
    try {
        given = values_from_words(input_.values, member(source.document.get(), "variables"));
    } catch (const Mistake &problem) {
        source.refuse(source.positions.of(problem.where), problem.what());
    }
    scenario.variables = names_in(member(source.document.get(), "variables"));
    scenario.steps = read_document(source, given.get());
    keep_calls(scenario.steps, scenario);
    if (is_shuffled_)
        scenario.seed = input_.seed;
    return scenario;
}

void ScenarioReader::read_head(Source &source, Scenario &scenario) const
{
    const cJSON *document = source.document.get();
    if (!cJSON_IsArray(member(document, "steps")))
        source.refuse(source.positions.of(document), "a scenario is an object with an array 'steps'");
    try {
        Arguments members{document};
        scenario.title = members.text("title").value_or("");
        const VersionRange versions = take_versions(members);
        scenario.since = versions.since;
        scenario.before = versions.before;
        scenario.is_part = members.flag("part").value_or(false);
        scenario.keeps_calls = members.flag("keeps_calls").value_or(false);
        members.any("steps");
        members.any("variables");
        members.text("$schema"); // for editors
        members.text("note");
        members.end();
    } catch (const std::invalid_argument &problem) {
        source.refuse(source.positions.of(document), problem.what());
    }
}

ScenarioReader::Steps ScenarioReader::read_document(Source &source, const cJSON *given)
{
    const cJSON *document = source.document.get();
    try {
        const Variables variables{member(document, "variables"), given, source.positions, bytes_left_};
        const Json steps = variables.applied_to(member(document, "steps"), source.positions, bytes_left_);
        return read_list(source, steps.get());
    } catch (const Mistake &problem) {
        source.refuse(source.positions.of(problem.where), problem.what());
    }
}

ScenarioReader::Steps ScenarioReader::read_list(Source &source, const cJSON *list)
{
    Steps steps;
    for (const cJSON *item = list->child; item; item = item->next)
        append(steps, read_item(source, item));
    return steps;
}

ScenarioReader::Steps ScenarioReader::read_item(Source &source, const cJSON *item)
{
    try {
        check_placeholders(item);
        if (member(item, "include"))
            return included(source, item);
        if (member(item, "any_order"))
            return any_order(source, item);
        if (++steps_ > max_steps)
            throw std::invalid_argument{"there are more than " + std::to_string(max_steps) + " steps"};
        Steps one;
        one.push_back(read_step(item));
        one[0].line = source.positions.of(item).line;
        one[0].file = source.path;
        one[0].included_by = source.included_by;
        return one;
    } catch (const Mistake &) {
        throw;
    } catch (const Refusal &) {
        throw;
    } catch (const std::invalid_argument &problem) {
        throw Mistake{item, problem.what()};
    }
}

ScenarioReader::Steps ScenarioReader::included(Source &source, const cJSON *item)
{
    Arguments members{item};
    const std::string name = members.required_text("include");
    const cJSON *given = members.any("with");
    if (given && !cJSON_IsObject(given))
        throw Mistake{given, "'with' must be an object, not " + kind_of(given)};
    const VersionRange versions = take_versions(members);
    members.text("note");
    members.end();
    Steps steps = steps_of_file(source, members.any("include"), name, given);
    limit_versions(steps, versions);
    return steps;
}

/// Reads an included file. Its variables are its own; `given` has the values of some of them.
ScenarioReader::Steps ScenarioReader::steps_of_file(Source &source, const cJSON *where, const std::string &name,
                                                    const cJSON *given)
{
    if (source.path.empty())
        throw Mistake{where, "only a scenario that is a file can include another file"};
    const std::filesystem::path path = (source.path.parent_path() / name).lexically_normal();
    included_.push_back(path);
    must_be_readable(path, where);
    std::string text;
    try {
        text = read_file(path, Scenario::max_file);
    } catch (const std::exception &problem) {
        throw Mistake{where, problem.what()};
    }
    const std::string place = source.path.string() + ", line " + std::to_string(source.positions.of(where).line);
    Source file = parsed(path, ", included by " + place + source.included_by, text);
    check_given(given, member(file.document.get(), "variables"), path.filename());

    Scenario head;
    read_head(file, head);
    open_.push_back(std::filesystem::weakly_canonical(path));
    Steps steps = read_document(file, given);
    open_.pop_back();
    limit_versions(steps, {head.since, head.before});
    keep_calls(steps, head);
    return steps;
}

void ScenarioReader::must_be_readable(const std::filesystem::path &path, const cJSON *where) const
{
    std::error_code ignored; // reading the file reports it
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, ignored);
    if (std::find(open_.begin(), open_.end(), canonical) != open_.end())
        throw Mistake{where, path.string() + " includes itself"};
    if (open_.size() >= max_depth)
        throw Mistake{where, "the files include each other more than " + std::to_string(max_depth) + " levels deep"};
    if (included_.size() > max_includes)
        throw Mistake{where, "there are more than " + std::to_string(max_includes) + " includes"};
}

/// Each item is a step, or a list of steps that stay in their order.
ScenarioReader::Steps ScenarioReader::any_order(Source &source, const cJSON *item)
{
    Arguments members{item};
    const cJSON *list = members.any("any_order");
    if (!cJSON_IsArray(list))
        throw Mistake{list, "'any_order' must be an array, not " + kind_of(list)};
    const VersionRange versions = take_versions(members);
    members.text("note");
    members.end();
    std::vector<Steps> groups;
    for (const cJSON *one = list->child; one; one = one->next)
        groups.push_back(cJSON_IsArray(one) ? read_list(source, one) : read_item(source, one));
    is_shuffled_ = is_shuffled_ || groups.size() > 1;
    shuffle(groups, numbers_);
    Steps steps;
    for (Steps &group : groups)
        append(steps, std::move(group));
    limit_versions(steps, versions);
    return steps;
}

} // namespace kv::virtual_agent
