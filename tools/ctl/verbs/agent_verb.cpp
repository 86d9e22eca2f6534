// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/cli/choice.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"

#include <CLI/CLI.hpp>

#include <glib.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr int start_timeout_ms = 30'000;
constexpr int stop_timeout_ms = 15'000;
constexpr int poll_interval_ms = 20;

const std::vector<std::string> actions{"start", "stop", "status"};

/// Any process, to wait for its end. Process 0 counts as ended.
class Process {
public:
    explicit Process(pid_t pid) : fd_(pid > 0 ? static_cast<int>(syscall(SYS_pidfd_open, pid, 0)) : -1) {}
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    bool ends_within(int milliseconds) const
    {
        pollfd ended{fd_, POLLIN, 0};
        return fd_ < 0 || poll(&ended, 1, milliseconds) > 0;
    }

private:
    int fd_;
};

Json description_of(const Agent &agent)
{
    return {{"running", true},
            {"pid", agent.pid()},
            {"version", agent.version()},
            {"runtime_directory", runtime_directory()}};
}

struct StartOptions {
    std::string version{};
    std::string program{};
    std::string log{};
};

/// The file for stdout and stderr of the agent.
class Log {
public:
    explicit Log(const std::string &chosen) : path_(chosen.empty() ? runtime_directory() + "/agent.log" : chosen)
    {
        fd_ = open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd_ < 0)
            throw Failure{failed, "cannot open the log " + path_ + ": " + std::strerror(errno)};
        begin_ = lseek(fd_, 0, SEEK_END);
    }
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;
    ~Log() { close(fd_); }

    int fd() const { return fd_; }
    const std::string &path() const { return path_; }

    /// The last error message that the agent added, else the last line, else "".
    std::string error() const
    {
        std::ifstream file{path_};
        file.seekg(begin_);
        std::string last;
        std::string message;
        for (std::string line; std::getline(file, line); last = line)
            if (const std::string found = agent_error_in(line); !found.empty())
                message = found;
        return message.empty() ? last : message;
    }

private:
    std::string path_;
    int fd_ = -1;
    off_t begin_ = 0;
};

void require_no_agent()
{
    if (const std::optional<Agent> agent = Agent::if_running())
        throw Failure{failed, "agent " + agent->version() + " already runs as process " + std::to_string(agent->pid()) +
                                  "; stop it with 'korvanectl agent stop'"};
}

/// The agent checks the directory and reports its problems.
void create_runtime_directory()
{
    const std::string path = runtime_directory();
    if (g_mkdir_with_parents(path.c_str(), 0700) != 0)
        throw Failure{failed, "cannot create the runtime directory " + path + ": " + std::strerror(errno) +
                                  "; set KORVANE_RUNTIME_DIR to another directory"};
}

[[noreturn]] void report_failed_start(pid_t pid, const Log &log)
{
    int status = 0;
    waitpid(pid, &status, 0);
    const std::string error = log.error();
    if (WIFEXITED(status) && WEXITSTATUS(status) == agent_wrong_usage)
        throw UsageError{"the agent did not start: " + error};
    throw Failure{failed, "the agent did not start: " + (error.empty() ? status_text(status) : error) +
                              " (log: " + log.path() + ")"};
}

/// Waits until the agent that was just started can be reached.
Agent await_agent(pid_t pid, const Log &log)
{
    const Process process{pid};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds{start_timeout_ms};
    while (std::chrono::steady_clock::now() < deadline) {
        if (process.ends_within(poll_interval_ms))
            report_failed_start(pid, log);
        if (std::optional<Agent> agent = Agent::if_running(); agent && agent->pid() == pid)
            return std::move(*agent);
    }
    kill(pid, SIGKILL);
    throw Failure{failed, "the agent did not become ready within " + std::to_string(start_timeout_ms / 1000) +
                              " s (log: " + log.path() + ")"};
}

int start_agent(const Context &context, const StartOptions &options)
{
    require_no_agent();
    Program program{{required_agent_program(options.program), "--verbose"}};
    create_runtime_directory();
    const Log log{options.log};
    if (!options.version.empty())
        program.words.insert(program.words.end(), {"--agent-version", options.version});
    program.words.insert(program.words.end(), context.program.begin(), context.program.end());
    program.out = log.fd();
    program.err = log.fd();
    program.outlives = true;
    const Agent agent = await_agent(start(program), log);
    Json description = description_of(agent);
    description["log"] = log.path();
    context.out.line("agent " + agent.version() + " runs as process " + std::to_string(agent.pid()) +
                         "; log: " + log.path(),
                     description);
    return done;
}

int stop_agent(const Context &context)
{
    const Agent agent;
    const Process process{agent.pid()};
    agent.run("quit");
    if (!process.ends_within(stop_timeout_ms))
        throw Failure{failed, "the agent, process " + std::to_string(agent.pid()) + ", did not end within " +
                                  std::to_string(stop_timeout_ms / 1000) + " s; end it with 'kill'"};
    context.out.line("agent stopped", {{"running", false}, {"pid", agent.pid()}});
    return done;
}

int print_status(const Context &context)
{
    const std::optional<Agent> agent = Agent::if_running();
    if (!agent) {
        context.out.line("no agent runs in " + runtime_directory(),
                         {{"running", false}, {"runtime_directory", runtime_directory()}});
        return no_agent;
    }
    context.out.line("agent " + agent->version() + " runs as process " + std::to_string(agent->pid()) + " in " +
                         runtime_directory(),
                     description_of(*agent));
    return done;
}

struct AgentOptions {
    std::string action{};
    StartOptions start{};
};

int run_agent_verb(const Context &context, const AgentOptions &options)
{
    if (options.action == "start")
        return start_agent(context, options.start);
    if (!context.program.empty())
        throw UsageError{"only 'agent start' takes options behind '--'"};
    return options.action == "stop" ? stop_agent(context) : print_status(context);
}

std::function<int()> set_up_agent(CLI::App &app, Context &context)
{
    auto options = std::make_shared<AgentOptions>();
    app.add_option("ACTION", options->action, "start, stop or status")->required()->check(one_of(actions));
    app.add_option("--agent-version", options->start.version, "Version of the agent (start)")->type_name("VERSION");
    app.add_option("--agent-program", options->start.program,
                   "Program of the agent (start; default: KORVANE_AGENT, next to korvanectl, PATH)")
        ->type_name("PATH");
    app.add_option("--log", options->start.log, "Log of the agent (start; default: agent.log in the runtime directory)")
        ->type_name("FILE");
    return [&context, options] { return run_agent_verb(context, *options); };
}

std::vector<std::string> complete_agent(const std::vector<std::string> &words)
{
    return words.size() == 1 ? actions : std::vector<std::string>{};
}

} // namespace

const Verb agent_verb{
    .name = "agent",
    .help = "Start the virtual agent in the background, stop it, or print its status",
    .usage = "ACTION [-- AGENT_OPTION...]",
    .examples = "  korvanectl agent start --agent-version 1.2\n"
                "  korvanectl agent start -- --http 8080 --ca-dir ./ca     with options for korvane-agent\n"
                "  korvanectl agent status --json\n"
                "  korvanectl agent stop",
    .set_up = set_up_agent,
    .takes_program = true,
    .complete = complete_agent,
};

} // namespace kv::ctl
