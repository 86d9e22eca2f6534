// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/agent/journal_stream.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/calls/function.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/process/loop.hpp"
#include "tools/ctl/scenario/relayed_run.hpp"
#include "tools/ctl/scenario/scenario_writer.hpp"
#include "tools/ctl/scenario/whole_file.hpp"

#include <CLI/CLI.hpp>

#include <glib.h>
#include <korvane_util.h>

#include <csignal>

namespace kv::ctl {

namespace {

Program recorded_program(const std::vector<std::string> &application, const Output &out)
{
    Program program{application};
    program.in_foreground = true;
    program.out_to_error = out.json; // stdout is for JSON only
    return program;
}

/// The entries that the agent writes to its journal while an application runs, or until Ctrl-C.
class Recording {
public:
    explicit Recording(const Output &out) : out_(out) {}

    void record(const std::vector<std::string> &application)
    {
        begin_ = agent_.journal(agent_.journal(std::nullopt, Json::object(), 0).next).next;
        receive(application);
        if (problem_.empty())
            read_rest();
        if (end_us_ >= 0)
            std::erase_if(entries_, [this](const Json &entry) { return number_in(entry, "time_us", 0) > end_us_; });
    }

    const std::vector<Json> &entries() const { return entries_; }
    const std::string &agent_version() const { return agent_.version(); }
    /// Why the recording ended before the user ended it; "" if it did not.
    const std::string &problem() const { return problem_; }

private:
    void receive(const std::vector<std::string> &application)
    {
        Child child;
        const JournalStream stream{agent_, begin_, [this](const Json &entry) { entries_.push_back(entry); },
                                   [this](const std::string &reason) {
                                       problem_ = reason;
                                       loop_.quit();
                                   }};
        if (application.empty())
            out_.remark("recording; Ctrl-C ends it");
        else
            child.start(recorded_program(application, out_), [this] { loop_.quit(); });
        loop_.on_signal(SIGINT, [&] { end(child); }); // the terminal sends it to the application too
        loop_.on_signal(SIGTERM, [&] {
            end(child); // first, because the application may call the agent before the signal function returns
            child.signal(SIGTERM);
        });
        loop_.run();
    }

    /// Calls that the application makes after SIGTERM are not part of the recording.
    void end(const Child &child)
    {
        end_us_ = end_us_ < 0 ? g_get_real_time() : end_us_;
        if (!child.runs())
            loop_.quit();
    }

    /// Reads the entries that the stream has not delivered yet.
    void read_rest()
    {
        const long long next = entries_.empty() ? begin_ : number_in(entries_.back(), "seq", begin_) + 1;
        const JournalPage rest = agent_.journal(next);
        entries_.insert(entries_.end(), rest.entries.begin(), rest.entries.end());
    }

    const Output &out_;
    Agent agent_{};
    Loop loop_{};
    long long begin_ = 0;
    std::vector<Json> entries_{};
    std::string problem_{};
    std::int64_t end_us_ = -1; // -1: until the application has ended
};

void print_summary(const Output &out, const std::string &path, const RecordedScenario &recorded, int problems)
{
    std::string text = path + ": " + std::to_string(recorded.calls) + " calls expected, " +
                       std::to_string(recorded.events) + " events sent";
    if (recorded.left_out > 0)
        text += ", " + std::to_string(recorded.left_out) +
                " left out because the virtual agent sends them without a command";
    if (problems > 0)
        text += "\n" +
                out.in(Output::Colour::yellow, std::to_string(problems) + " warnings: the recording is not complete");
    for (const std::string &one : recorded.placeholders)
        text += "\n" + out.in(Output::Colour::yellow, "fill in by hand: " + one);
    out.line(text, {{"file", path},
                    {"calls", recorded.calls},
                    {"events", recorded.events},
                    {"left_out", recorded.left_out},
                    {"warnings", problems},
                    {"fill_in", recorded.placeholders}});
}

/// A recording may contain what the application sent, so that only its user may read it.
constexpr mode_t recording_mode = 0600;
constexpr const char *nothing_recorded = "; nothing was recorded";

int record_journal(const Context &context, const std::string &path)
{
    Recording recording{context.out};
    WholeFile file{path, recording_mode,
                   nothing_recorded}; // created first, so that an error is found before the recording
    recording.record(context.program);
    const RecordedScenario recorded =
        scenario_from(recording.entries(), "recorded with agent " + recording.agent_version(), Recorded::journal);
    file.write(recorded.text);
    print_summary(context.out, path, recorded, 0);
    if (!recording.problem().empty())
        throw Failure{failed, recording.problem() + "; " + path + " contains the recording until then"};
    return done;
}

/// The application chooses its requests by the version in the package entry.
std::string title_of_traffic()
{
    korvane_util_agent agent{};
    korvane_util_get_agent(&agent);
    if (!agent.is_installed)
        throw Failure{no_agent, "no agent is installed: there is no package entry " + package_entry()};
    return "recorded with agent " + (agent.version == 0 ? "of an unknown version" : version_name(agent.version));
}

int record_traffic(const Context &context, const std::string &path)
{
    if (context.program.empty())
        throw UsageError{"name the application: korvanectl record --through FILE -- APPLICATION"};
    const std::string title = title_of_traffic();
    RelayedRun run;
    WholeFile file{path, recording_mode, nothing_recorded};
    run.run(recorded_program(context.program, context.out));
    const RecordedScenario recorded = scenario_from(run.traffic().entries(), title, Recorded::traffic);
    file.write(recorded.text);
    print_summary(context.out, path, recorded, run.traffic().problems());
    return done;
}

std::function<int()> set_up_record(CLI::App &app, Context &context)
{
    auto path = std::make_shared<std::string>();
    auto through = std::make_shared<bool>(false);
    app.add_option("FILE", *path, "The file for the scenario")->required();
    app.add_flag("--through", *through, "Record any agent: pass on what APPLICATION and the agent send each other");
    return [&context, path, through] {
        return *through ? record_traffic(context, *path) : record_journal(context, *path);
    };
}

} // namespace

const Verb record_verb{
    .name = "record",
    .help = "Record calls and commands as a scenario, until Ctrl-C or the end of APPLICATION",
    .usage = "FILE [-- APPLICATION [ARGUMENT]...]",
    .examples =
        "  korvanectl agent start; korvanectl record setup.json -- ./my-app\n"
        "  korvanectl record setup.json      with applications that are started elsewhere\n"
        "  korvanectl record --through setup.json -- ./my-app      with the agent of a device\n"
        "Calls become expectations. Events that 'phone', 'cloud' and 'emit' send are recorded with their values.\n"
        "--through works with every agent, not only the virtual one: korvanectl serves the port for the application,\n"
        "passes on every byte, and records every event with the pauses before it.\n"
        "Secrets are not recorded: the summary lists each line where you must fill one in.\n"
        "Remove expected values that differ in each run, such as times.",
    .set_up = set_up_record,
    .takes_program = true,
};

} // namespace kv::ctl
