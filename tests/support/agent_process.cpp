// SPDX-License-Identifier: Apache-2.0
#include "agent_process.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kv::test {

namespace {

using Clock = std::chrono::steady_clock;

int milliseconds_until(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

struct Pipe {
    int read = -1;
    int write = -1;

    Pipe()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error{"no pipe"};
        read = ends[0];
        write = ends[1];
    }
};

/// Starts the agent with its standard descriptors as given; -1 leaves one as it is. The child dies with the test.
pid_t start(std::vector<std::string> arguments, int in, int out, int err)
{
    arguments.insert(arguments.begin(), KORVANE_AGENT_PATH);
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    const pid_t test = ::getpid();
    const pid_t pid = ::fork();
    if (pid != 0)
        return pid;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != test)
        ::_exit(126);
    const int wanted[] = {in, out, err};
    for (int fd = 0; fd < 3; ++fd)
        if (wanted[fd] >= 0)
            ::dup2(wanted[fd], fd);
    ::execv(argv[0], argv.data());
    ::_exit(127);
}

/// The agent that a journal's line says was ready; -1 for other lines.
pid_t agent_of(const std::string &line)
{
    const std::string member = R"("pid":)";
    const std::size_t at = line.find(member);
    return at == std::string::npos ? -1 : std::atoi(line.c_str() + at + member.size());
}

/// Whether the process is an agent that was started with this place in its arguments.
bool is_agent_of(pid_t pid, const std::filesystem::path &place)
{
    std::ifstream file{"/proc/" + std::to_string(pid) + "/cmdline"};
    const std::string arguments{std::istreambuf_iterator<char>{file}, {}};
    return arguments.find(place.string() + "/") != std::string::npos;
}

int ended_with(int status)
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

} // namespace

AgentHome::AgentHome()
{
    std::string pattern = std::filesystem::temp_directory_path() / "korvane-test-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error{"no temporary directory"};
    root_ = pattern;
    ::setenv("KORVANE_PACKAGE_DIR", packages().c_str(), 1);
    ::setenv("KORVANE_RUNTIME_DIR", runtime().c_str(), 1);
}

AgentHome::~AgentHome()
{
    // Agents that were started on demand are nobody's children: one that a failed test has left behind ends here.
    for (const std::string &line : journal())
        if (const pid_t pid = agent_of(line); pid > 0 && is_agent_of(pid, root_))
            ::kill(pid, SIGKILL);
    ::unsetenv("KORVANE_PACKAGE_DIR");
    ::unsetenv("KORVANE_RUNTIME_DIR");
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

std::vector<std::string> AgentHome::journal() const
{
    std::vector<std::string> lines;
    std::ifstream file{log()};
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

int AgentHome::journalled(const std::vector<std::string> &texts) const
{
    int count = 0;
    for (const std::string &line : journal()) {
        bool all = true;
        for (const std::string &text : texts)
            all = all && line.find(text) != std::string::npos;
        count += all ? 1 : 0;
    }
    return count;
}

pid_t AgentHome::latest_agent() const
{
    pid_t latest = -1;
    for (const std::string &line : journal())
        if (const pid_t pid = agent_of(line); pid > 0)
            latest = pid;
    return latest;
}

AgentProcess::AgentProcess(const AgentHome &home, std::vector<std::string> arguments)
{
    arguments.insert(arguments.end(), {"--commands", "--log", home.log()});
    Pipe to;
    Pipe from;
    pid_ = start(std::move(arguments), to.read, from.write, -1);
    ::close(to.read);
    ::close(from.write);
    to_ = to.write;
    from_ = from.read;
    greeting_ = read_line();
    if (greeting_.find("ready") == std::string::npos)
        throw std::runtime_error{"the agent did not become ready"};
}

AgentProcess::~AgentProcess()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    ::close(to_);
    ::close(from_);
}

std::string AgentProcess::read_line()
{
    const auto deadline = Clock::now() + std::chrono::milliseconds{deadline_ms};
    for (;;) {
        if (const std::size_t end = pending_.find('\n'); end != std::string::npos) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return line;
        }
        pollfd wait{from_, POLLIN, 0};
        char bytes[4096];
        if (::poll(&wait, 1, milliseconds_until(deadline)) <= 0)
            return {};
        const ssize_t count = ::read(from_, bytes, sizeof bytes);
        if (count <= 0)
            return {};
        pending_.append(bytes, static_cast<std::size_t>(count));
    }
}

std::string AgentProcess::command(const std::string &line)
{
    const std::string whole = line + "\n";
    EXPECT_EQ(::write(to_, whole.data(), whole.size()), static_cast<ssize_t>(whole.size()));
    std::string answer = read_line();
    EXPECT_NE(answer, "") << "no answer to: " << line;
    return answer;
}

void AgentProcess::tell(const std::string &line, const char *file, int at)
{
    const std::string answer = command(line);
    if (answer.find(R"("ok":true)") == std::string::npos)
        ADD_FAILURE_AT(file, at) << line << ": " << answer;
}

void AgentProcess::signal(int number) const
{
    ::kill(pid_, number);
}

int AgentProcess::wait()
{
    // Its output ends with it, which can be waited for with a deadline.
    while (!read_line().empty()) {
    }
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) {
        pollfd closed{from_, 0, 0};
        ::poll(&closed, 1, deadline_ms);
        if (!(closed.revents & POLLHUP)) {
            ADD_FAILURE() << "the agent does not end";
            return -1;
        }
        ::waitpid(pid_, &status, 0);
    }
    pid_ = -1;
    return ended_with(status);
}

Finished run_agent(const std::vector<std::string> &arguments)
{
    Pipe out;
    Pipe err;
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t pid = start(arguments, nothing, out.write, err.write);
    ::close(nothing);
    ::close(out.write);
    ::close(err.write);

    Finished finished;
    const auto deadline = Clock::now() + std::chrono::milliseconds{deadline_ms};
    std::pair<int, std::string *> streams[] = {{out.read, &finished.out}, {err.read, &finished.err}};
    for (auto &[fd, text] : streams) {
        for (;;) {
            pollfd wait{fd, POLLIN, 0};
            char bytes[4096];
            if (::poll(&wait, 1, milliseconds_until(deadline)) <= 0) {
                ADD_FAILURE() << "the agent does not end";
                ::kill(pid, SIGKILL);
                break;
            }
            const ssize_t count = ::read(fd, bytes, sizeof bytes);
            if (count <= 0)
                break;
            text->append(bytes, static_cast<std::size_t>(count));
        }
        ::close(fd);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    finished.status = ended_with(status);
    return finished;
}

} // namespace kv::test
