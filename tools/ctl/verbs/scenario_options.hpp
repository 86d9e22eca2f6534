// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/scenario/application_run.hpp"

#include <CLI/CLI.hpp>

namespace kv::ctl {

/// Adds the options --set and --seed to a verb that plays scenarios.
void add_scenario_choices(CLI::App &app, ScenarioChoices &choices);

} // namespace kv::ctl
