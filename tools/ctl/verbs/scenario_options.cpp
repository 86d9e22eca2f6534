// SPDX-License-Identifier: Apache-2.0
#include "scenario_options.hpp"

namespace kv::ctl {

void add_scenario_choices(CLI::App &app, ScenarioChoices &choices)
{
    app.add_option("--set", choices.settings, "Set a variable of the scenario; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    app.add_option("--seed", choices.seed, "Seed of the random orders (default: another one in each run)")
        ->type_name("N");
}

} // namespace kv::ctl
