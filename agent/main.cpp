// SPDX-License-Identifier: Apache-2.0
#include "agent/control/control_file.hpp"
#include "agent/control/http/http.hpp"
#include "agent/control/lines.hpp"
#include "agent/installation/service_manager.hpp"
#include "agent/loop/end_signals.hpp"
#include "agent/requests/handlers.hpp"
#include "agent/scenario/player.hpp"
#include "check_files.hpp"
#include "options.hpp"
#include "report.hpp"

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <malloc.h>
#include <sys/prctl.h>
#include <unistd.h>

using namespace kv::virtual_agent;

namespace {

enum ExitStatus { stopped = 0, failed = 1, wrong_usage = 2, port_in_use = 3 };

using Loop = std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)>;

/// Ends the loop after everything that is ready to be sent, including the reply to the command that ended it.
void quit_soon(GMainLoop *loop)
{
    const auto quit = [](gpointer data) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop *>(data));
        return G_SOURCE_REMOVE;
    };
    g_idle_add_full(G_PRIORITY_LOW, quit, loop, nullptr);
}

void use_directories(const Options &options)
{
    if (!options.package_dir.empty())
        setenv("KORVANE_PACKAGE_DIR", options.package_dir.c_str(), true);
    if (!options.runtime_dir.empty())
        setenv("KORVANE_RUNTIME_DIR", options.runtime_dir.c_str(), true);
}

/// Has the kernel stop this process with its parent. Returns false if the parent has already ended, because then no
/// signal arrives any more.
bool end_with_parent(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    return getppid() == parent;
}

void report_ready(const State &state, const ControlPlace &place, const Seed &seed, Journal &journal)
{
    const std::string version = state.version.text();
    const int pid = getpid();
    Json facts = std::move(Json::object().set("agent", "ready").set("version", version).set("pid", pid));
    if (seed)
        facts.set("seed", shown(seed));

    Json noted = facts.copy();
    if (place.port)
        noted.set("http", *place.port);
    journal.write(Journal::now(), noted, "agent " + version + " ready");

    // The address of the console contains its access token, which the journal must not show.
    Json printed = facts.copy();
    if (place.port)
        printed.set("console", place.console());
    report(printed, "korvane-agent " + version + " is ready, process " + std::to_string(pid) +
                        (place.port ? ", console " + place.console() : "") +
                        (seed ? ", seed " + std::to_string(*seed) : ""));
    notify_service_manager("READY=1");
}

void report_scenario(const std::string &problem, const Seed &seed)
{
    Json facts = Json::object();
    facts.set("scenario", problem.empty() ? "passed" : "failed");
    if (!problem.empty())
        facts.set("problem", problem);
    if (seed)
        facts.set("seed", shown(seed));
    report(facts, (problem.empty() ? "scenario passed" : "scenario failed: " + problem) +
                      (seed ? " (seed " + std::to_string(*seed) + ")" : ""));
}

void report_stopped(Journal &journal)
{
    const Json facts = std::move(Json::object().set("agent", "stopped"));
    journal.write(Journal::now(), facts, "agent stopped");
    report(facts, "korvane-agent stopped");
}

ControlPlace open_control(HttpControl &http, const std::string &directory, const Options &options)
{
    ControlPlace place;
    place.directory = directory;
    http.serve_path(place.socket());
    if (options.http_port) {
        place.token = options.http_token.empty() ? Guard::new_token() : options.http_token;
        place.port = http.serve_port(*options.http_port, place.token);
    }
    return place;
}

/// Keeps large blocks in mappings of their own, so that their memory returns to the system as soon as it is freed. By
/// default, malloc raises the threshold with each large block that is freed.
void return_large_blocks()
{
    constexpr int threshold = 128 << 10;
    mallopt(M_MMAP_THRESHOLD, threshold);
    mallopt(M_TRIM_THRESHOLD, threshold);
}

/// A scenario that cannot be played: the program's user has to change it.
struct ScenarioRefused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

Scenario load_scenarios(const Options &options)
{
    const ScenarioInput input = scenario_input(options);
    try {
        Scenario all;
        for (const std::string &path : options.scenarios)
            all.append(Scenario::load(path, input));
        check_values(options, all.variables);
        all.require(options.version.number());
        return all;
    } catch (const std::exception &problem) {
        throw ScenarioRefused{problem.what()};
    }
}

void read_commands(LineControl &lines, const Options &options)
{
    if (options.commands)
        lines.read_standard_input();
    if (!options.command_fifo.empty())
        lines.read_fifo(options.command_fifo);
}

int serve(const Options &options)
{
    return_large_blocks();
    Loop loop{g_main_loop_new(nullptr, false), g_main_loop_unref};
    const EndSignals signals{[&] { g_main_loop_quit(loop.get()); }};
    signal(SIGPIPE, SIG_IGN); // the reader of our output may end before us

    // A mistake in a scenario prevents the start.
    Scenario scenario = load_scenarios(options);

    State state;
    state.version = options.version;
    state.device_id = options.device_id.empty() ? device_id_of_this_machine() : options.device_id;
    state.update_ready = options.update_ready;
    Journal journal{options.log, options.verbose};
    Faults faults;
    Package package{options.for_start_on_demand()};
    Clock clock;
    EventHub events;
    Server server{{state.version, state.last_requests}, journal, faults, events, options.refuse};
    Phone phone{state, events};
    Authority authority{options.ca_dir};
    Cloud cloud{state, events, clock, authority};
    Handlers handlers{{state, phone, cloud}};
    server.serve_with(handlers);
    Updates updates{state, server, package, journal};
    ScenarioPlayer player;
    ControlledAgent agent{state, events, faults,  updates, phone,
                          cloud, clock,  journal, player,  [&loop] { quit_soon(loop.get()); }};
    player.control(agent);
    LineControl lines{agent};
    HttpControl http{agent};

    // The port is taken first, because a second agent must not change the package entry of the first. No application is
    // served before the loop runs.
    server.listen();
    package.install(state.version);
    const ControlPlace place = open_control(http, server.directory(), options);
    const ControlFile control_file{place, state, journal};
    read_commands(lines, options);

    // After its scenarios the agent runs until the last application has disconnected.
    bool scenario_passed = true;
    bool scenario_ended = false;
    const auto stop_without_applications = [&](const Journal::Entry &) {
        if (scenario_ended && events.peers() == 0)
            g_main_loop_quit(loop.get());
    };
    const Journal::Listener listener = options.scenarios.empty() ? nullptr : journal.listen(stop_without_applications);
    const Seed seed = scenario.seed;
    if (listener)
        player.start(std::move(scenario), [&](const std::string &problem) {
            scenario_passed = problem.empty();
            scenario_ended = true;
            contain([&] { report_scenario(problem, seed); });
            stop_without_applications({});
        });

    report_ready(state, place, seed, journal);
    g_main_loop_run(loop.get());

    server.stop();
    contain([&] { report_stopped(journal); }); // the reader of the output may have ended
    return scenario_passed ? stopped : failed;
}

int run(int argc, char **argv)
{
    const pid_t parent = getppid();
    const Options options = Options::parse(argc, argv);
    use_directories(options);
    switch (options.action) {
    case Options::Action::show_help: std::fputs(usage().c_str(), stdout); return stopped;
    case Options::Action::show_version:
        std::printf("korvane-agent of Korvane %s, agents 1.0 to %s\n", KORVANE_VERSION,
                    Version::newest().text().c_str());
        return stopped;
    case Options::Action::install: Package{options.for_start_on_demand()}.install(options.version); return stopped;
    case Options::Action::uninstall: Package::uninstall(); return stopped;
    case Options::Action::check_scenarios: return check_scenarios(options) ? stopped : failed;
    case Options::Action::check_snapshots: return check_snapshots(options) ? stopped : failed;
    case Options::Action::check_personalities: return check_personalities(options) ? stopped : failed;
    case Options::Action::serve: break;
    }
    if (options.exit_with_parent && !end_with_parent(parent))
        return stopped;
    return serve(options);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const UsageError &problem) {
        std::fprintf(stderr, "korvane-agent: %s\nTry 'korvane-agent --help'\n", problem.what());
        return wrong_usage;
    } catch (const ScenarioRefused &problem) {
        std::fprintf(stderr, "korvane-agent: %s\n", problem.what());
        return wrong_usage;
    } catch (const PortInUse &problem) {
        std::fprintf(stderr, "korvane-agent: %s\n", problem.what());
        return port_in_use;
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "korvane-agent: %s\n", problem.what());
        return failed;
    }
}
