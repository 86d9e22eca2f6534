// SPDX-License-Identifier: Apache-2.0
#include "scenario_files.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/json.hpp"
#include "tools/ctl/output/suggestion.hpp"
#include "tools/ctl/process/child.hpp"

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

namespace kv::ctl {

namespace fs = std::filesystem;

namespace {

constexpr const char *suffix = ".json";

std::vector<fs::path> scenarios_below(const fs::path &folder)
{
    std::vector<fs::path> found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator{folder})
        if (entry.is_regular_file() && entry.path().extension() == suffix)
            found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> parts_of(const std::string &list)
{
    std::vector<std::string> parts;
    std::istringstream text{list};
    for (std::string part; std::getline(text, part, ',');)
        parts.push_back(part);
    return parts;
}

bool contains(const std::vector<std::string> &list, const std::string &item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}

/// Adds scenarios without duplicates.
class Collection {
public:
    void add(const fs::path &file, const fs::path &name)
    {
        if (!files_.insert(fs::canonical(file)).second)
            return;
        std::string stem = fs::path{name}.replace_extension().generic_string();
        const auto same = std::find_if(found_.begin(), found_.end(), [&](const auto &one) { return one.name == stem; });
        if (same != found_.end())
            throw UsageError{"two scenarios have the name '" + stem + "': " + same->path + " and " + file.string() +
                             "; give a folder above both"};
        found_.push_back({std::move(stem), file});
    }

    std::vector<ScenarioFile> take() { return std::move(found_); }

private:
    std::vector<ScenarioFile> found_{};
    std::set<fs::path> files_{};
};

} // namespace

std::vector<ScenarioFile> find_scenarios(const std::vector<std::string> &paths)
{
    Collection all;
    try {
        for (const fs::path path : paths) {
            if (!fs::is_directory(path)) {
                all.add(path, path.filename());
                continue;
            }
            const std::vector<fs::path> files = scenarios_below(path);
            if (files.empty())
                throw UsageError{"no scenario, a file with the suffix .json, is in " + path.string()};
            for (const fs::path &file : files)
                all.add(file, file.lexically_relative(path));
        }
    } catch (const fs::filesystem_error &problem) {
        throw UsageError{"cannot read " + problem.path1().string() + ": " + problem.code().message()};
    }
    return all.take();
}

VersionTable::VersionTable(const std::string &agent_program, std::vector<ScenarioFile *> scenarios)
{
    std::vector<std::string> words{agent_program};
    for (const ScenarioFile *scenario : scenarios)
        words.insert(words.end(), {"--check-scenario", scenario->path});
    if (scenarios.empty())
        return;

    const Captured agent = capture(words);
    std::istringstream lines{agent.out};
    std::string line;
    std::getline(lines, line);
    all_ = texts_in(member_of(parsed(line), "versions"));
    std::string problems;
    for (ScenarioFile *scenario : scenarios) {
        if (!std::getline(lines, line))
            throw Failure{failed, agent_program + " cannot check scenarios: " + agent.err};
        const Json facts = parsed(line);
        if (const std::string problem = text_in(facts, "problem"); !problem.empty())
            problems += (problems.empty() ? "" : "\n            ") + problem;
        scenario->versions = texts_in(member_of(facts, "versions"));
    }
    if (!problems.empty())
        throw UsageError{problems};
}

std::vector<std::string> VersionTable::chosen(const std::string &text, const ScenarioFile &scenario) const
{
    if (text == "newest")
        return scenario.versions.empty() ? std::vector<std::string>{} : std::vector{scenario.versions.back()};
    if (text == "all")
        return scenario.versions;
    std::vector<std::string> versions = parts_of(text);
    for (const std::string &version : versions)
        if (!contains(all_, version)) {
            std::string list;
            for (const std::string &known : all_)
                list += (list.empty() ? "" : ", ") + known;
            throw UsageError{"there is no agent version '" + version + "'" + suggestion(version, all_) +
                             " (one of: " + list + ", or all, or newest)"};
        }
    std::erase_if(versions, [&](const std::string &version) { return !contains(scenario.versions, version); });
    return versions;
}

} // namespace kv::ctl
