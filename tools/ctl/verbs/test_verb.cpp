// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "report_options.hpp"
#include "scenario_options.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/scenario/application_run.hpp"
#include "tools/ctl/suite/file_watch.hpp"
#include "tools/ctl/suite/scenario_files.hpp"
#include "tools/ctl/suite/shard.hpp"
#include "tools/ctl/suite/suite_run.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <thread>

#include <glib.h>

#include <sys/resource.h>

namespace kv::ctl {

namespace {

constexpr unsigned default_timeout_s = 300;
constexpr unsigned max_jobs = 1000;
constexpr unsigned max_repeat = 1'000'000;

struct TestOptions {
    CaseOptions cases{};
    ReportOptions report{};
    SuiteOptions suite{.jobs = std::max(1U, std::thread::hardware_concurrency())};
    unsigned timeout_s = default_timeout_s;
    std::string shard{};
    std::string durations{};
    bool watch = false;
};

std::optional<Shard> shard_in(const TestOptions &options)
{
    if (options.shard.empty())
        return std::nullopt;
    const std::optional<Shard> shard = Shard::parse(options.shard);
    if (!shard)
        throw UsageError{"--shard must be I/N with I from 1 to N, not '" + options.shard + "'"};
    return shard;
}

/// At most as many cases as there are descriptors for. Each case has pipes, a socket, and files while its processes start.
unsigned possible_jobs(unsigned jobs)
{
    constexpr rlim_t descriptors_of_korvanectl = 32;
    constexpr rlim_t descriptors_per_case = 8;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return jobs;
    const rlim_t left = limit.rlim_cur > descriptors_of_korvanectl ? limit.rlim_cur - descriptors_of_korvanectl : 0;
    const rlim_t possible = std::max<rlim_t>(1, left / descriptors_per_case);
    if (jobs <= possible)
        return jobs;
    std::fprintf(
        stderr,
        "korvanectl: %u cases run at the same time instead of %u, because the limit of open descriptors is %u; "
        "'ulimit -n' raises it\n",
        static_cast<unsigned>(possible), jobs, static_cast<unsigned>(limit.rlim_cur));
    return static_cast<unsigned>(possible);
}

SuiteResult run_once(const Context &context, const TestOptions &options)
{
    const ReportForm form = form_of(context, options.report);
    const std::optional<Shard> shard = shard_in(options);
    const Durations durations = options.durations.empty() ? Durations{} : durations_in(read_report(options.durations));
    std::vector<Case> cases = cases_of(options.cases);
    if (shard)
        cases = cases_of_shard(cases, *shard, durations);

    ReportFile junit{options.report};
    Printer printer{context.out, form};
    SuiteOptions suite = options.suite;
    suite.jobs = possible_jobs(suite.jobs);
    suite.endless = suite.until_fail && options.cases.repeat == 1;
    CaseProgram program{context.program, required_agent_program(options.cases.agent_program), options.timeout_s};
    SuiteResult result = SuiteRun{printer, std::move(cases), std::move(program), suite}.run();
    result.shard = shard;
    junit.write(result);
    printer.finish(result);
    return result;
}

/// The fault plans, the files that they and the scenarios include, and each word of the command that can be a file: the
/// program, or a script that it runs.
std::vector<std::string> single_files(const Context &context, const CaseOptions &cases)
{
    std::vector<std::string> scenarios = cases.paths;
    scenarios.insert(scenarios.end(), cases.faults.begin(), cases.faults.end());
    std::vector<std::string> files = included_files(cases.agent_program, scenarios);
    files.insert(files.end(), cases.faults.begin(), cases.faults.end());
    files.insert(files.end(), context.program.begin(), context.program.end());
    if (g_autofree char *program = g_find_program_in_path(context.program[0].c_str()))
        files.emplace_back(program);
    return files;
}

/// A scenario may have a mistake while it is edited, which does not end the watch.
int run_on_each_change(const Context &context, const TestOptions &options)
{
    int status = failed;
    for (bool is_first = true;; is_first = false) {
        // First, to notice what changes during the run.
        FileWatch changes{options.cases.paths, single_files(context, options.cases)};
        try {
            status = run_once(context, options).passed() ? done : failed;
        } catch (const UsageError &problem) {
            if (is_first)
                throw;
            std::fprintf(stderr, "korvanectl: %s\n", problem.what());
            status = wrong_usage;
        }
        if (changes.interrupted())
            return status;
        context.out.remark("waiting for a change of the scenarios or of the application; Ctrl-C ends");
        if (!changes.wait())
            return status;
    }
}

int run_test(const Context &context, const TestOptions &options)
{
    if (context.program.empty())
        throw UsageError{"name the application: korvanectl test PATH... -- APPLICATION"};
    if (options.watch)
        return run_on_each_change(context, options);
    return run_once(context, options).passed() ? done : failed;
}

std::function<int()> set_up_test(CLI::App &app, Context &context)
{
    auto options = std::make_shared<TestOptions>();
    const auto between = [](unsigned min, unsigned max) { return CLI::Range(min, max).description(""); };
    app.add_option("PATH", options->cases.paths, "Scenario files, and folders of them")->required();
    app.add_option("--agent-versions", options->cases.agent_versions,
                   "all, a list such as 1.0,2.3, or newest (default): the newest for which a scenario is meant")
        ->type_name("LIST");
    app.add_option("--agent-program", options->cases.agent_program,
                   "Program of the agent (default: KORVANE_AGENT, next to korvanectl, PATH)")
        ->type_name("PATH");
    app.add_option("--faults", options->cases.faults,
                   "A scenario of commands, such as faults, that is played before each; several multiply the cases")
        ->type_name("PLAN")
        ->allow_extra_args(false);
    add_scenario_choices(app, options->cases.choices);
    app.add_option("--jobs", options->suite.jobs, "Cases to run at the same time (default: one for each processor)")
        ->type_name("N")
        ->check(between(1, max_jobs));
    app.add_option("--filter", options->cases.filter, "Run only cases whose name contains this; * matches any text")
        ->type_name("TEXT");
    app.add_option("--repeat", options->cases.repeat, "Run each case this many times")
        ->type_name("N")
        ->check(between(1, max_repeat));
    app.add_flag("--until-fail", options->suite.until_fail,
                 "Stop at the first failure; without --repeat, begin again until there is one");
    app.add_option("--shuffle", options->cases.shuffle_seed, "Run the cases in an order that follows from this number")
        ->type_name("SEED");
    app.add_option("--timeout", options->timeout_s, "Let a case fail after this many seconds (default: 300)")
        ->type_name("SECONDS")
        ->check(between(1, max_timeout_s));
    app.add_option("--shard", options->shard, "Run only part I of N; all machines together run each case once")
        ->type_name("I/N");
    app.add_option("--durations", options->durations,
                   "A report of an earlier run, with whose times --shard makes parts of equal length")
        ->type_name("REPORT");
    app.add_flag("--watch", options->watch,
                 "Run again whenever a scenario, a file that it includes or the application changes, until Ctrl-C");
    add_report_options(app, options->report);
    return [&context, options] { return run_test(context, *options); };
}

} // namespace

const Verb test_verb{
    .name = "test",
    .help = "Run an application against many scenarios and agent versions in parallel",
    .usage = "PATH... -- APPLICATION [ARGUMENT]...",
    .examples = "  korvanectl test scenarios -- ./my-app\n"
                "  korvanectl test --agent-versions all --junit report.xml scenarios setup.json -- ./my-app\n"
                "  korvanectl test --filter 'password*@1.3' --until-fail scenarios -- ./my-app\n"
                "  korvanectl test --shard 2/4 --durations last.json --json scenarios -- ./my-app\n"
                "  korvanectl test --watch scenarios -- build/my-app\n"
                "Each case has its own agent, directories and message bus, as with 'korvanectl run'. Its name is\n"
                "SCENARIO@VERSION, with +PLAN and #REPETITION where they apply.",
    .set_up = set_up_test,
    .takes_program = true,
};

} // namespace kv::ctl
