// SPDX-License-Identifier: Apache-2.0
#include "application_run.hpp"

#include "tools/ctl/agent/entry_text.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/output/failure.hpp"

#include <glib.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr unsigned bus_start_timeout_ms = 30'000;
constexpr unsigned agent_start_timeout_ms = 30'000;
constexpr unsigned application_end_timeout_ms = 5000; // after SIGTERM
constexpr unsigned last_step_timeout_ms = 1000;       // for the agent's result after the application has ended
constexpr unsigned last_entries_ms = 100;             // for journal entries that the agent writes when it ends

/// Whether an application that got SIGTERM ended by it or with the exit status 0.
bool ended_on_request(int status)
{
    return status == 0 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) ||
           (WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGTERM);
}

} // namespace

std::vector<std::string> ScenarioChoices::options() const
{
    std::vector<std::string> words;
    for (const std::string &setting : settings)
        words.insert(words.end(), {"--set", setting});
    if (seed)
        words.insert(words.end(), {"--seed", std::to_string(*seed)});
    return words;
}

namespace {

/// The variable that names the directory, for messages; nothing if it is not set.
std::string in_tmpdir()
{
    const char *path = std::getenv("TMPDIR");
    return path ? std::string{", TMPDIR="} + path : "";
}

} // namespace

TemporaryDirectory::TemporaryDirectory()
{
    std::error_code problem;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(problem);
    if (problem)
        throw Failure{failed, "cannot use the directory for temporary files" + in_tmpdir() + ": " + problem.message() +
                                  "; set TMPDIR to a directory in which you may write"};
    std::string pattern = parent / "korvanectl-XXXXXX";
    const std::size_t length = pattern.size() + std::strlen("/run/org.korvane.agent.kv_master.sock");
    if (length >= sizeof sockaddr_un{}.sun_path)
        throw Failure{failed, "the path of the directory for temporary files is too long for a socket: " +
                                  parent.string() + "; set TMPDIR to a path that is at least " +
                                  std::to_string(length - sizeof sockaddr_un{}.sun_path + 1) + " characters shorter"};
    if (!mkdtemp(pattern.data()))
        throw Failure{failed, "cannot create a directory in " + parent.string() + ": " + std::strerror(errno)};
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ApplicationRun::ApplicationRun(const Output &out, std::vector<std::string> application, RunOptions options)
    : out_(out), application_words_(std::move(application)), options_(std::move(options))
{
}

std::map<std::string, std::string> ApplicationRun::environment() const
{
    std::map<std::string, std::string> all{{"KORVANE_PACKAGE_DIR", directory_.path() / "packages"},
                                           {"KORVANE_RUNTIME_DIR", directory_.path() / "run"}};
    if (!bus_address_.empty())
        all.insert({{"DBUS_SESSION_BUS_ADDRESS", bus_address_}, {"KORVANE_BUS", "session"}});
    return all;
}

/// Waits for the address that dbus-daemon prints when it is ready.
void ApplicationRun::start_bus()
{
    g_autofree char *daemon = g_find_program_in_path("dbus-daemon");
    if (!daemon)
        return;
    const int null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const Pipe output;
    const std::string address = "unix:path=" + (directory_.path() / "bus").string();
    bus_.start({{daemon, "--session", "--nofork", "--nopidfile", "--print-address=1", "--address=" + address},
                {},
                output.write,
                null_device},
               [] {});
    close(output.write);
    close(null_device);
    Lines lines{output.read};
    Loop wait;
    wait.on_readable(lines.fd(), [&] {
        const bool more = lines.read_some([&](const std::string &line) { bus_address_ = line; });
        if (!more || !bus_address_.empty())
            wait.quit();
        return more && bus_address_.empty();
    });
    wait.after_ms(bus_start_timeout_ms, [&] { wait.quit(); });
    wait.run();
}

Program ApplicationRun::agent_command(const std::filesystem::path &journal) const
{
    Program program{{required_agent_program(options_.agent_program), "--log", journal.string()}, environment()};
    if (!options_.faults.empty())
        program.words.insert(program.words.end(), {"--scenario", options_.faults});
    program.words.insert(program.words.end(), {"--scenario", options_.scenario});
    for (std::string &word : options_.choices.options())
        program.words.push_back(std::move(word));
    if (!options_.agent_version.empty())
        program.words.insert(program.words.end(), {"--agent-version", options_.agent_version});
    return program;
}

void ApplicationRun::start_agent()
{
    const std::filesystem::path journal = directory_.path() / "journal";
    Program program = agent_command(journal);
    if (mkfifo(journal.c_str(), 0600) != 0)
        throw Failure{failed, "cannot create " + journal.string() + ": " + std::strerror(errno)};
    // Opened for writing too: the FIFO must not be at its end when an updated agent replaces the first one.
    journal_ = std::make_unique<Lines>(open(journal.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const Pipe out;
    const Pipe err;
    program.out = out.write;
    program.err = err.write;
    agent_out_ = std::make_unique<Lines>(out.read);
    agent_err_ = std::make_unique<Lines>(err.read);
    agent_.start(program, [this] { on_agent_exit(); });
    close(out.write);
    close(err.write);
    watch_lines(*journal_, &ApplicationRun::take_journal_line);
    watch_lines(*agent_out_, &ApplicationRun::take_agent_output);
    watch_lines(*agent_err_, &ApplicationRun::take_agent_error);
}

void ApplicationRun::watch_lines(Lines &lines, void (ApplicationRun::*take)(const std::string &line))
{
    loop_.on_readable(lines.fd(), [this, &lines, take] {
        return lines.read_some([this, take](const std::string &line) { (this->*take)(line); });
    });
}

void ApplicationRun::take_journal_line(const std::string &line)
{
    const Json entry = parsed(line);
    if (entry.is_object() && !options_.quiet)
        out_.line(entry_text(entry), entry);
}

void ApplicationRun::take_agent_output(const std::string &line)
{
    const Json report = parsed(line);
    if (!report.is_object())
        return;
    if (report.value("agent", "") == "ready" && !application_started_) {
        seed_ = member_of(report, "seed");
        start_application();
    } else if (report.contains("scenario")) {
        scenario_over_ = true;
        if (const std::string problem = report.value("problem", ""); problem.empty())
            end();
        else
            fail(problem);
    }
}

void ApplicationRun::take_agent_error(const std::string &line)
{
    if (const std::string message = agent_error_in(line); !message.empty())
        agent_error_ = message;
}

void ApplicationRun::start_application()
{
    Program program{application_words_, environment()};
    connect_output(program);
    application_started_ = true;
    try {
        application_.start(program, [this] { on_application_exit(); });
    } catch (const Failure &problem) {
        fail(problem.what());
    }
    if (application_out_)
        application_out_->close_program_side();
}

/// The end of the scenario ends the application by a signal, which must not lose the lines that it has printed. On a
/// terminal they are not lost; otherwise the application gets a terminal of its own.
void ApplicationRun::connect_output(Program &program)
{
    const int target = out_.json ? STDERR_FILENO : STDOUT_FILENO; // stdout is for JSON only
    program.out_to_error = out_.json;
    if (isatty(target) == 1)
        return;
    auto terminal = std::make_unique<LineTerminal>(target);
    if (!terminal->is_open())
        return;
    application_out_ = std::move(terminal);
    program.out_to_error = false;
    program.out = application_out_->program_side();
    program.environment.insert({{"NO_COLOR", "1"}, {"TERM", "dumb"}}); // it is read as text
    loop_.on_readable(application_out_->fd(), [this] { return application_out_->pass_on(); });
}

/// Keeps the first problem, which is the cause of those that follow.
void ApplicationRun::fail(const std::string &problem)
{
    if (problem_.empty())
        problem_ = problem;
    end();
}

/// Sends SIGTERM to the application. finish() follows when it has ended.
void ApplicationRun::end()
{
    if (std::exchange(ending_, true))
        return;
    if (!application_.runs())
        return finish();
    application_.signal(SIGTERM);
    loop_.after_ms(application_end_timeout_ms, [this] {
        if (!application_.runs())
            return;
        fail("the application did not end within " + std::to_string(application_end_timeout_ms / 1000) +
             " s after SIGTERM");
        application_.signal(SIGKILL);
    });
}

void ApplicationRun::on_application_exit()
{
    const int status = application_.status();
    if (ending_) {
        if (!ended_on_request(status))
            fail("the application ended with " + status_text(status));
        return finish();
    }
    // The last step of the scenario may be complete already, and its result still on the way from the agent.
    loop_.after_ms(last_step_timeout_ms, [this, status] {
        if (!scenario_over_)
            fail("the application ended early, with " + status_text(status));
    });
}

void ApplicationRun::on_agent_exit()
{
    agent_err_->read_some([this](const std::string &line) { take_agent_error(line); });
    agent_out_->read_some([this](const std::string &line) { take_agent_output(line); });
    if (scenario_over_)
        return;
    const std::string status = status_text(agent_.status());
    if (application_started_)
        return fail("the agent ended before the scenario did: " + status);
    refused_ = WIFEXITED(agent_.status()) && WEXITSTATUS(agent_.status()) == agent_wrong_usage;
    fail(agent_error_.empty() ? "the agent did not start: " + status : agent_error_);
}

void ApplicationRun::finish()
{
    agent_.signal(SIGTERM);
    loop_.after_ms(agent_.runs() ? last_entries_ms : 0, [this] { loop_.quit(); });
}

int ApplicationRun::report() const
{
    if (problem_.empty()) {
        out_.line(out_.in(Output::Colour::green, "played well"), {{"played", true}});
        return done;
    }
    Json result{{"played", false}, {"problem", problem_}};
    std::string text = "FAILED: " + problem_;
    if (seed_.is_number()) {
        result["seed"] = seed_;
        text += "\n        the same order again: --seed " + text_of(seed_);
    }
    out_.line(out_.in(Output::Colour::red, text), result);
    return failed;
}

int ApplicationRun::run()
{
    adopt_descendants();
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        loop_.on_signal(number, [this, number] { fail(std::string{"interrupted by "} + strsignal(number)); });
    start_bus();
    start_agent();
    loop_.after_ms(agent_start_timeout_ms, [this] {
        if (!application_started_)
            fail("the agent did not become ready within " + std::to_string(agent_start_timeout_ms / 1000) + " s");
    });
    if (options_.timeout_s > 0)
        loop_.after_ms(1000 * options_.timeout_s, [this] {
            fail("the scenario did not end within " + std::to_string(options_.timeout_s) + " s");
        });
    loop_.run();
    end_descendants();
    if (application_out_)
        application_out_->pass_on_all();
    journal_->read_some([this](const std::string &line) { take_journal_line(line); });
    if (refused_)
        throw UsageError{problem_};
    return report();
}

} // namespace kv::ctl
