// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/scenario/application_run.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

/// A scenario in a suite.
struct ScenarioFile {
    std::string name; // its path below the folder that was given, without ".json"
    std::string path;
    std::vector<std::string> versions{}; // the agent versions for which it is meant
    std::vector<std::string> variables{};
    bool is_part = false; // only included by others

    bool has_variable(const std::string &variable) const;
};

/// The scenarios in files and folders. A folder means each "*.json" in it and in the folders below it, in the order
/// of their names. "korvane:" in front means the installed library. Throws UsageError if a path does not exist, if a folder has no scenario, or if two have the same name.
std::vector<ScenarioFile> find_scenarios(const std::vector<std::string> &paths);

/// The files that scenarios in files and folders include. A path with a mistake has none.
std::vector<std::string> included_files(const std::string &agent_program, const std::vector<std::string> &paths);

/// The versions that an agent can emulate, and those for which scenarios are meant.
class VersionTable {
public:
    /// Has the agent check the scenarios, and sets their versions and variables. Throws UsageError for mistakes in them.
    VersionTable(const std::string &agent_program, std::vector<ScenarioFile *> scenarios,
                 const ScenarioChoices &choices);

    /// "all", "newest" or a list such as "1.0,2.3". Throws UsageError for an unknown version.
    std::vector<std::string> chosen(const std::string &text, const ScenarioFile &scenario) const;

private:
    std::vector<std::string> all_{};
};

} // namespace kv::ctl
