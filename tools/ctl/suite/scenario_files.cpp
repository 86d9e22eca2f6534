// SPDX-License-Identifier: Apache-2.0
#include "scenario_files.hpp"

#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/json.hpp"
#include "tools/ctl/output/suggestion.hpp"
#include "tools/ctl/process/child.hpp"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>

namespace kv::ctl {

namespace fs = std::filesystem;

namespace {

constexpr const char *suffix = ".json";
constexpr const char *library_prefix = "korvane:";

std::vector<fs::path> scenarios_below(const fs::path &folder)
{
    std::vector<fs::path> found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator{folder})
        if (entry.is_regular_file() && entry.path().extension() == suffix)
            found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

/// The folder of the installed scenarios: `share/korvane/scenarios` next to the folder of this program. Throws Failure if
/// there is none.
fs::path scenario_library()
{
    const fs::path program = fs::read_symlink("/proc/self/exe");
    fs::path folder = program.parent_path().parent_path() / "share/korvane/scenarios";
    if (!fs::is_directory(folder))
        throw Failure{failed, "the library of scenarios is not installed: there is no folder " + folder.string()};
    return folder;
}

/// The folders and scenarios of a library, as they are named behind the prefix.
std::vector<std::string> names_below(const fs::path &library)
{
    std::vector<std::string> names{"all"};
    for (const fs::path &file : scenarios_below(library)) {
        const fs::path name = file.lexically_relative(library).replace_extension();
        names.push_back(name);
        names.push_back(name.parent_path());
    }
    return names;
}

std::vector<std::string> parts_of(const std::string &list)
{
    std::vector<std::string> parts;
    std::istringstream text{list};
    for (std::string part; std::getline(text, part, ',');)
        parts.push_back(part);
    return parts;
}

std::string first_line(const std::string &text)
{
    return text.substr(0, text.find('\n'));
}

bool contains(const std::vector<std::string> &list, const std::string &item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}

/// A file or folder, and the folder from which its scenarios are named.
struct Place {
    fs::path path;
    fs::path root;
};

/// "korvane:all", "korvane:setup" and "korvane:setup/scans" are in the installed library, and named after their path there.
Place place_of(const std::string &given)
{
    if (given.rfind(library_prefix, 0) != 0) {
        const fs::path path = given;
        return {path, fs::is_directory(path) ? path : path.parent_path()};
    }
    const fs::path library = scenario_library();
    const std::string name = given.substr(std::strlen(library_prefix));
    if (name == "all")
        return {library, library};
    const fs::path folder = library / name;
    if (fs::is_directory(folder))
        return {folder, library};
    const fs::path file = library / (name + suffix);
    if (!fs::exists(file))
        throw UsageError{"the library of scenarios, " + library.string() + ", has no '" + name + "'" +
                         suggestion(name, names_below(library))};
    return {file, library};
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
        for (const std::string &given : paths) {
            const Place place = place_of(given);
            const fs::path &path = place.path;
            if (!fs::is_directory(path)) {
                all.add(path, path.lexically_relative(place.root));
                continue;
            }
            const std::vector<fs::path> files = scenarios_below(path);
            if (files.empty())
                throw UsageError{"no scenario, a file with the suffix .json, is in " + path.string()};
            for (const fs::path &file : files)
                all.add(file, file.lexically_relative(place.root));
        }
    } catch (const fs::filesystem_error &problem) {
        throw UsageError{"cannot read " + problem.path1().string() + ": " + problem.code().message()};
    }
    return all.take();
}

bool ScenarioFile::has_variable(const std::string &variable) const
{
    return contains(variables, variable);
}

std::vector<std::string> included_files(const std::string &agent_program, const std::vector<std::string> &paths)
{
    std::vector<std::string> words{required_agent_program(agent_program)};
    try {
        for (const ScenarioFile &scenario : find_scenarios(paths))
            words.insert(words.end(), {"--check-scenario", scenario.path});
    } catch (const UsageError &) { // the run that follows reports it
        return {};
    }
    std::vector<std::string> files;
    std::istringstream lines{capture(words).out};
    for (std::string line; std::getline(lines, line);)
        for (const std::string &file : texts_in(member_of(parsed(line), "includes")))
            files.push_back(file);
    return files;
}

VersionTable::VersionTable(const std::string &agent_program, std::vector<ScenarioFile *> scenarios,
                           const ScenarioChoices &choices)
{
    std::vector<std::string> words{agent_program};
    for (const ScenarioFile *scenario : scenarios)
        words.insert(words.end(), {"--check-scenario", scenario->path});
    for (std::string &word : choices.options())
        words.push_back(std::move(word));
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
        scenario->variables = texts_in(member_of(facts, "variables"));
        scenario->is_part = flag_in(facts, "part", false);
    }
    if (!problems.empty())
        throw UsageError{problems};
    if (const std::string problem = agent_error_in(first_line(agent.err)); !problem.empty())
        throw UsageError{problem};
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
