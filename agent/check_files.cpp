// SPDX-License-Identifier: Apache-2.0
#include "check_files.hpp"

#include "agent/device/snapshot.hpp"
#include "agent/files/read_file.hpp"
#include "agent/scenario/personalities.hpp"
#include "agent/scenario/reading/scenario_reader.hpp"
#include "common/suggestion.hpp"
#include "report.hpp"

#include <algorithm>
#include <random>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

/// "; variables a, b", or nothing without words.
std::string list_text(const char *title, const std::vector<std::string> &words)
{
    return words.empty() ? "" : std::string{"; "} + title + " " + joined(words);
}

std::vector<std::string> versions_of(const Scenario &scenario)
{
    std::vector<std::string> versions;
    for (const std::string &version : Version::all())
        if (scenario.applies_to(Version::parse(version).number()))
            versions.push_back(version);
    return versions;
}

/// Reports the facts about one scenario, or its first mistake. Returns nullopt for a mistake.
std::optional<Scenario> check_scenario(const std::string &path, const ScenarioInput &input)
{
    Json facts = Json::object();
    facts.set("scenario", path);
    ScenarioReader reader{input};
    try {
        Scenario scenario = reader.load(path);
        const std::vector<std::string> versions = versions_of(scenario);
        facts.set("title", scenario.title).set("versions", array_of(versions)).set("part", scenario.is_part);
        facts.set("variables", array_of(scenario.variables)).set("includes", array_of(reader.included_files()));
        report(facts, path + ": correct, for agents " + joined(versions) + list_text("variables", scenario.variables) +
                          list_text("includes", reader.included_files()));
        return scenario;
    } catch (const std::exception &problem) {
        facts.set("problem", problem.what()).set("includes", array_of(reader.included_files()));
        report(facts, problem.what());
        return std::nullopt;
    }
}

/// Reports for each file that it is correct, or its mistake.
bool check_each(const char *kind, const std::vector<std::string> &paths, void (*check)(const std::string &text))
{
    bool all_are_correct = true;
    for (const std::string &path : paths) {
        Json facts = Json::object();
        facts.set(kind, path);
        try {
            check(read_file(path, Scenario::max_file));
            report(facts.set("correct", true), path + ": correct");
        } catch (const std::exception &problem) {
            all_are_correct = false;
            report(facts.set("correct", false).set("problem", problem.what()), path + ": " + problem.what());
        }
    }
    return all_are_correct;
}

} // namespace

bool check_snapshots(const Options &options)
{
    return check_each("snapshot", options.scenarios, [](const std::string &text) {
        State state;
        restore(state, Json::parse(text).get());
    });
}

bool check_personalities(const Options &options)
{
    return check_each("personality", options.scenarios, [](const std::string &text) { Personality::parse("", text); });
}

ScenarioInput scenario_input(const Options &options)
{
    return {options.scenario_values, options.seed ? *options.seed : std::random_device{}()};
}

void check_values(const Options &options, const std::vector<std::string> &variables)
{
    for (const auto &[name, value] : options.scenario_values)
        if (std::find(variables.begin(), variables.end(), name) == variables.end())
            throw UsageError{"no scenario has a variable '" + name + "'" + suggestion(name, variables)};
}

bool check_scenarios(const Options &options)
{
    report(Json::object().set("versions", array_of(Version::all())), "agent versions: " + joined(Version::all()));
    const ScenarioInput input = scenario_input(options);
    std::vector<std::string> variables;
    bool all_are_correct = true;
    for (const std::string &path : options.scenarios) {
        const std::optional<Scenario> scenario = check_scenario(path, input);
        all_are_correct = all_are_correct && scenario;
        if (scenario)
            variables.insert(variables.end(), scenario->variables.begin(), scenario->variables.end());
    }
    if (all_are_correct) // a mistake may hide variables
        check_values(options, variables);
    return all_are_correct;
}

} // namespace kv::virtual_agent
