// SPDX-License-Identifier: Apache-2.0
#include "agent_process.hpp"

#include "program.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <sys/wait.h>

namespace kv::test {

namespace {

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

AgentProcess::AgentProcess(const AgentHome &home, const std::vector<std::string> &arguments)
{
    std::vector<const char *> words;
    for (const std::string &argument : arguments)
        words.push_back(argument.c_str());
    words.push_back(nullptr);
    agent_.emplace(korvane_test_options{nullptr, KORVANE_AGENT_PATH, words.data(), home.root().c_str()});
}

std::string AgentProcess::command(const std::string &line)
{
    try {
        return agent_->ask(line);
    } catch (const std::runtime_error &refusal) {
        return refusal.what();
    }
}

void AgentProcess::tell(const std::string &line, const char *file, int at)
{
    try {
        agent_->tell(line);
    } catch (const std::runtime_error &refusal) {
        ADD_FAILURE_AT(file, at) << line << ": " << refusal.what();
    }
}

void AgentProcess::signal(int number) const
{
    ::kill(pid(), number);
}

int AgentProcess::wait() const
{
    siginfo_t end{};
    const auto has_ended = [&] {
        return ::waitid(P_PID, static_cast<id_t>(pid()), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid != 0;
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds{deadline_ms};
    while (!has_ended()) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "the agent does not end";
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{2});
    }
    return end.si_code == CLD_EXITED ? end.si_status : -end.si_status;
}

Finished run_agent(const std::vector<std::string> &arguments)
{
    Program agent{KORVANE_AGENT_PATH, arguments};
    const int status = agent.wait();
    return {status, agent.out(), agent.err()};
}

} // namespace kv::test
