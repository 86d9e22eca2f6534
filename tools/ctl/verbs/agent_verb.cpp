// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr int starting_takes_ms = 15'000;

/// A process, whoever's child it is.
class Process {
public:
    explicit Process(pid_t pid) : fd_(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    /// Waits so long at most.
    bool ends_within(int milliseconds) const
    {
        pollfd ended{fd_, POLLIN, 0};
        return fd_ < 0 || poll(&ended, 1, milliseconds) > 0;
    }

private:
    int fd_;
};

std::string last_line_of(const std::string &path, std::streamoff from)
{
    std::ifstream file{path};
    file.seekg(from);
    std::string last;
    for (std::string line; std::getline(file, line);)
        last = line;
    return last;
}

Json facts_of(const Agent &agent)
{
    return {{"running", true},
            {"pid", agent.pid()},
            {"version", agent.overview()["version"]},
            {"runtime_directory", runtime_directory()}};
}

struct StartOptions {
    std::string version{};
    std::string program{};
    std::string log{};
};

int start(const Context &context, const StartOptions &options)
{
    if (const std::optional<Agent> agent = Agent::if_running())
        throw Failure{failed, "an agent " + agent->overview()["version"].get<std::string>() +
                                  " runs already, process " + std::to_string(agent->pid()) +
                                  "; 'korvanectl agent stop' ends it"};
    const std::string agent_path = options.program.empty() ? agent_program() : options.program;
    if (agent_path.empty())
        throw Failure{failed, "there is no korvane-agent beside this program or in PATH; --agent-program names one"};
    const std::string directory = runtime_directory();
    mkdir(directory.c_str(), 0700); // the agent checks it, and says what is wrong
    const std::string log = options.log.empty() ? directory + "/agent.log" : options.log;
    const int fd = open(log.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0)
        throw Failure{failed, "cannot open the log " + log + ": " + std::strerror(errno)};
    const off_t begin = lseek(fd, 0, SEEK_END);

    Program program{{agent_path, "--verbose"}};
    if (!options.version.empty())
        program.words.insert(program.words.end(), {"--agent-version", options.version});
    program.words.insert(program.words.end(), context.program.begin(), context.program.end());
    program.out = fd;
    program.err = fd;
    program.outlives = true;
    const pid_t pid = start(program);
    close(fd);

    const Process process{pid};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds{starting_takes_ms};
    while (std::chrono::steady_clock::now() < deadline) {
        if (process.ends_within(20)) {
            waitpid(pid, nullptr, 0);
            throw Failure{failed, "the agent did not start: " + last_line_of(log, begin) + " (" + log + ")"};
        }
        const std::optional<Agent> agent = Agent::if_running();
        if (!agent || agent->pid() != pid)
            continue;
        Json facts = facts_of(*agent);
        facts["log"] = log;
        context.out.line("agent " + facts["version"].get<std::string>() + " runs, process " + std::to_string(pid) +
                             "; what it does is written to " + log,
                         facts);
        return done;
    }
    kill(pid, SIGKILL);
    throw Failure{failed, "the agent did not become ready within " + std::to_string(starting_takes_ms / 1000) + " s (" +
                              log + ")"};
}

int stop(const Context &context)
{
    const Agent agent;
    const Process process{agent.pid()};
    agent.run("quit");
    if (agent.pid() > 0 && !process.ends_within(starting_takes_ms))
        throw Failure{failed,
                      "the agent, process " + std::to_string(agent.pid()) + ", was told to stop but still runs"};
    context.out.line("agent stopped", {{"running", false}, {"pid", agent.pid()}});
    return done;
}

int status(const Context &context)
{
    const std::optional<Agent> agent = Agent::if_running();
    if (!agent) {
        context.out.line("no agent runs in " + runtime_directory(),
                         {{"running", false}, {"runtime_directory", runtime_directory()}});
        return no_agent;
    }
    const Json facts = facts_of(*agent);
    context.out.line("agent " + facts["version"].get<std::string>() + " runs, process " + std::to_string(agent->pid()) +
                         ", in " + runtime_directory(),
                     facts);
    return done;
}

std::function<int()> set_up_agent(CLI::App &app, Context &context)
{
    struct Options {
        std::string what{};
        StartOptions start{};
    };
    auto options = std::make_shared<Options>();
    app.add_option("WHAT", options->what, "start, stop or status")
        ->required()
        ->check(CLI::IsMember({"start", "stop", "status"}));
    app.add_option("--agent-version", options->start.version, "which version to be (start)")->type_name("V");
    app.add_option("--agent-program", options->start.program,
                   "the agent's program (default: KORVANE_AGENT, beside this program, PATH)")
        ->type_name("PATH");
    app.add_option("--log", options->start.log, "where to write what it does (default: agent.log among its sockets)")
        ->type_name("FILE");
    return [&context, options] {
        if (options->what == "start")
            return start(context, options->start);
        if (!context.program.empty())
            throw UsageError{"only 'agent start' passes options on"};
        return options->what == "stop" ? stop(context) : status(context);
    };
}

} // namespace

const Verb agent_verb{
    "agent", "starts the virtual agent in the background, stops it, or says whether it runs",
    "  korvanectl agent start --agent-version 1.2\n"
    "  korvanectl agent start -- --http 8080 --ca-dir ./ca     what stands behind -- goes to the agent\n"
    "  korvanectl agent status --json\n"
    "  korvanectl agent stop",
    set_up_agent, true};

} // namespace kv::ctl
