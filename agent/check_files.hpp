// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/scenario/scenario.hpp"
#include "options.hpp"

/// The files of the command line.
namespace kv::virtual_agent {

/// The variables and the seed of the command line; a random seed if it has none.
ScenarioInput scenario_input(const Options &options);

/// Throws UsageError if the command line sets a variable that is not among these.
void check_values(const Options &options, const std::vector<std::string> &variables);

/// Reports for each scenario the versions for which it is meant, or its first mistake. Returns false if there was one.
/// Throws UsageError if the command line sets a variable that no scenario has.
bool check_scenarios(const Options &options);

/// The same for snapshots, and for personalities.
bool check_snapshots(const Options &options);
bool check_personalities(const Options &options);

} // namespace kv::virtual_agent
