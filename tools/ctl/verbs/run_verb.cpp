// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "scenario_options.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/scenario/application_run.hpp"
#include "tools/ctl/scenario/placeholder.hpp"

#include <CLI/CLI.hpp>

namespace kv::ctl {

namespace {

std::function<int()> set_up_run(CLI::App &app, Context &context)
{
    auto options = std::make_shared<RunOptions>();
    app.add_option("SCENARIO", options->scenario, "The file with the scenario")->required();
    app.add_option("--agent-version", options->agent_version, "Version of the agent")->type_name("VERSION");
    app.add_option("--agent-program", options->agent_program,
                   "Program of the agent (default: KORVANE_AGENT, next to korvanectl, PATH)")
        ->type_name("PATH");
    app.add_option("--faults", options->faults, "A scenario of commands, such as faults, that is played before")
        ->type_name("PLAN");
    add_scenario_choices(app, options->choices);
    app.add_option("--timeout", options->timeout_s, "Let the run fail after this many seconds")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, max_timeout_s).description(""));
    app.add_flag("--quiet", options->quiet, "Do not print the journal");
    return [&context, options] {
        if (context.program.empty())
            throw UsageError{"name the application: korvanectl run SCENARIO -- APPLICATION"};
        refuse_placeholders({options->scenario});
        return ApplicationRun{context.out, context.program, *options}.run();
    };
}

} // namespace

const Verb run_verb{
    .name = "run",
    .help = "Run an application against a scenario in isolation and report pass or fail",
    .usage = "SCENARIO -- APPLICATION [ARGUMENT]...",
    .examples = "  korvanectl run setup.json -- ./my-app --its-option\n"
                "  korvanectl run --agent-version 1.2 --json setup.json -- ./my-app\n"
                "  korvanectl run --set ssid=attic --seed 7 setup.json -- ./my-app\n"
                "korvanectl ends the application with SIGTERM after the scenario and leaves no process running.",
    .set_up = set_up_run,
    .takes_program = true,
};

} // namespace kv::ctl
