// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"

#include <CLI/CLI.hpp>

#include <glib.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

namespace fs = std::filesystem;

constexpr unsigned applications_end_ms = 5000; // for programs that were asked to end
constexpr unsigned last_words_ms = 1000;       // for what an agent has still to say of an application that has gone
constexpr unsigned start_limit_ms = 15'000;

struct RunOptions {
    std::string scenario{};
    std::string version{};
    std::string program{};
};

/// A directory of this run's own.
class Home {
public:
    Home()
    {
        std::string pattern = fs::temp_directory_path() / "korvanectl-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw Failure{failed, "cannot make a directory in " + fs::temp_directory_path().string() + ": " +
                                      std::strerror(errno)};
        path_ = pattern;
    }
    Home(const Home &) = delete;
    Home &operator=(const Home &) = delete;
    ~Home()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    const fs::path &path() const { return path_; }

private:
    fs::path path_;
};

/// Whole lines from a descriptor.
class Lines {
public:
    explicit Lines(int fd) : fd_(fd) {}
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;
    ~Lines() { close(fd_); }

    int fd() const { return fd_; }
    /// Takes what is there; false at the end.
    template <class Tell>
    bool read_some(Tell tell)
    {
        char bytes[16 * 1024];
        const ssize_t got = read(fd_, bytes, sizeof bytes);
        if (got <= 0)
            return got < 0 && (errno == EAGAIN || errno == EINTR);
        text_.append(bytes, static_cast<std::size_t>(got));
        for (std::size_t end = 0; (end = text_.find('\n')) != std::string::npos; text_.erase(0, end + 1))
            tell(text_.substr(0, end));
        return true;
    }

private:
    int fd_;
    std::string text_{};
};

struct Pipe {
    int read = -1;
    int write = -1;

    Pipe()
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
            throw Failure{failed, std::string{"no pipe: "} + std::strerror(errno)};
        read = ends[0];
        write = ends[1];
    }
};

/// An application and an agent that plays a scenario, in a place of their own.
class Run {
public:
    Run(const Context &context, RunOptions options)
        : out_(context.out), application_words_(context.program), options_(std::move(options))
    {
    }

    int play();

private:
    std::map<std::string, std::string> environment() const;
    void start_bus();
    void start_agent();
    void start_application();
    void tell(const std::string &entry) const;
    void agent_said(const std::string &line);
    void end_soon(const std::string &problem);
    void application_ended();
    void agent_ended();
    void finish();

    const Output &out_;
    std::vector<std::string> application_words_;
    RunOptions options_;
    Home home_{};
    Loop loop_{};
    std::string bus_address_{};
    std::string problem_{};      // the first thing that went wrong
    std::string agents_words_{}; // the last that the agent said on stderr
    bool played_ = false;        // to its end, well or not
    bool ending_ = false;
    bool started_ = false; // the application
    std::unique_ptr<Lines> journal_{};
    std::unique_ptr<Lines> agent_out_{};
    std::unique_ptr<Lines> agent_err_{};
    Child bus_{};
    Child agent_{};
    Child application_{};
};

std::map<std::string, std::string> Run::environment() const
{
    std::map<std::string, std::string> all{{"KORVANE_PACKAGE_DIR", home_.path() / "packages"},
                                           {"KORVANE_RUNTIME_DIR", home_.path() / "run"}};
    if (!bus_address_.empty())
        all.insert({{"DBUS_SESSION_BUS_ADDRESS", bus_address_}, {"KORVANE_BUS", "session"}});
    return all;
}

void Run::start_bus()
{
    g_autofree char *daemon = g_find_program_in_path("dbus-daemon");
    if (!daemon)
        return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    Pipe said;
    const std::string address = "unix:path=" + (home_.path() / "bus").string();
    bus_.start({{daemon, "--session", "--nofork", "--nopidfile", "--print-address=1", "--address=" + address},
                {},
                said.write,
                nowhere},
               [] {});
    close(said.write);
    close(nowhere);
    Lines lines{said.read};
    Loop wait;
    wait.on_readable(lines.fd(), [&] {
        const bool more = lines.read_some([&](const std::string &line) { bus_address_ = line; });
        if (!more || !bus_address_.empty())
            wait.quit();
        return more && bus_address_.empty();
    });
    wait.after_ms(applications_end_ms, [&] { wait.quit(); });
    wait.run();
}

void Run::start_agent()
{
    const std::string path = options_.program.empty() ? agent_program() : options_.program;
    if (path.empty())
        throw Failure{failed, "there is no korvane-agent beside this program or in PATH; --agent-program names one"};
    const fs::path journal = home_.path() / "journal";
    if (mkfifo(journal.c_str(), 0600) != 0)
        throw Failure{failed, "cannot make " + journal.string() + ": " + std::strerror(errno)};
    // For writing as well, so that it does not end with an agent that another one follows.
    journal_ = std::make_unique<Lines>(open(journal.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    Program program{{path, "--scenario", options_.scenario, "--log", journal.string()}, environment()};
    if (!options_.version.empty())
        program.words.insert(program.words.end(), {"--agent-version", options_.version});
    Pipe out;
    Pipe err;
    program.out = out.write;
    program.err = err.write;
    agent_out_ = std::make_unique<Lines>(out.read);
    agent_err_ = std::make_unique<Lines>(err.read);
    agent_.start(program, [this] { agent_ended(); });
    close(out.write);
    close(err.write);

    loop_.on_readable(journal_->fd(),
                      [this] { return journal_->read_some([this](const std::string &line) { tell(line); }); });
    loop_.on_readable(agent_out_->fd(),
                      [this] { return agent_out_->read_some([this](const std::string &line) { agent_said(line); }); });
    loop_.on_readable(agent_err_->fd(), [this] {
        return agent_err_->read_some([this](const std::string &line) { agents_words_ = line; });
    });
}

/// A line of the agent's journal.
void Run::tell(const std::string &entry) const
{
    const Json facts = parsed(entry);
    if (facts.is_object())
        out_.line(entry_in_words(facts), facts);
}

void Run::agent_said(const std::string &line)
{
    const std::string failure = "failed: ";
    if (line.find(" ready, process ") != std::string::npos && !started_) {
        start_application();
    } else if (line == "played well") {
        played_ = true;
        end_soon("");
    } else if (line.rfind(failure, 0) == 0) {
        played_ = true;
        end_soon(line.substr(failure.size()));
    }
}

void Run::start_application()
{
    Program program{application_words_, environment()};
    program.out_to_error = out_.json; // lines of JSON stay among themselves
    started_ = true;
    try {
        application_.start(program, [this] { application_ended(); });
    } catch (const Failure &problem) {
        end_soon(problem.what());
    }
}

/// Asks the application to end, which ends the rest.
void Run::end_soon(const std::string &problem)
{
    problem_ = problem_.empty() ? problem : problem_;
    if (std::exchange(ending_, true))
        return;
    if (!application_.runs())
        return finish();
    application_.signal(SIGTERM);
    loop_.after_ms(applications_end_ms, [this] {
        if (!application_.runs())
            return;
        problem_ = problem_.empty() ? "the application does not end when it is asked to (SIGTERM)" : problem_;
        application_.signal(SIGKILL);
    });
}

void Run::application_ended()
{
    const int status = application_.status();
    const bool ended_as_asked = status == 0 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) ||
                                (WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGTERM);
    if (ending_) {
        if (!ended_as_asked && problem_.empty())
            problem_ = "the application ended with " + shown_status(status);
        return finish();
    }
    // The agent may have heard all that it waited for, and not said so yet.
    loop_.after_ms(last_words_ms, [this, status] {
        if (!played_)
            end_soon("the application ended early, with " + shown_status(status));
    });
}

void Run::agent_ended()
{
    agent_err_->read_some([this](const std::string &line) { agents_words_ = line; });
    agent_out_->read_some([this](const std::string &line) { agent_said(line); });
    if (played_)
        return;
    const std::string prefix = "korvane-agent: ";
    const std::string words = agents_words_.rfind(prefix, 0) == 0
                                  ? agents_words_.substr(prefix.size())
                                  : "the agent ended with " + shown_status(agent_.status());
    end_soon(started_ ? "the agent ended before the scenario did: " + shown_status(agent_.status()) : words);
}

void Run::finish()
{
    // What was noted last comes through the loop.
    agent_.signal(SIGTERM);
    loop_.after_ms(agent_.runs() ? 100 : 0, [this] { loop_.quit(); });
}

int Run::play()
{
    adopt_descendants();
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        loop_.on_signal(number, [this, number] { end_soon(std::string{"interrupted by "} + strsignal(number)); });
    start_bus();
    start_agent();
    loop_.after_ms(start_limit_ms, [this] {
        if (!started_)
            end_soon("the agent did not become ready");
    });
    loop_.run();
    end_descendants();
    journal_->read_some([this](const std::string &line) { tell(line); });
    const bool well = problem_.empty();
    out_.line(well ? out_.in(Output::Colour::green, "played well")
                   : out_.in(Output::Colour::red, "FAILED: " + problem_),
              well ? Json{{"played", true}} : Json{{"played", false}, {"problem", problem_}});
    return well ? done : failed;
}

std::function<int()> set_up_run(CLI::App &app, Context &context)
{
    auto options = std::make_shared<RunOptions>();
    app.add_option("SCENARIO", options->scenario, "the file to be played")->required();
    app.add_option("--agent-version", options->version, "which version the agent is")->type_name("V");
    app.add_option("--agent-program", options->program,
                   "the agent's program (default: KORVANE_AGENT, beside this program, PATH)")
        ->type_name("PATH");
    return [&context, options] {
        if (context.program.empty())
            throw UsageError{"which application? korvanectl run SCENARIO -- ./my-app"};
        return Run{context, *options}.play();
    };
}

} // namespace

const Verb run_verb{"run", "plays a scenario with an application, in a place of their own, and says how it went",
                    "  korvanectl run setup.json -- ./my-app --its-option\n"
                    "  korvanectl run --agent-version 1.2 --json setup.json -- ./my-app\n"
                    "Nothing that was started is left running. The application is ended by SIGTERM.",
                    set_up_run, true};

} // namespace kv::ctl
