// SPDX-License-Identifier: Apache-2.0
#include "agent_process.hpp"

#include "program.hpp"
#include "testing/support/read_file.hpp"
#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace kv::test {

namespace {

/// The process id in an entry that reports an agent as ready; -1 in other entries.
pid_t agent_of(const std::string &entry)
{
    const std::string member = R"("pid":)";
    const std::size_t at = entry.find(member);
    return at == std::string::npos ? -1 : std::atoi(entry.c_str() + at + member.size());
}

/// Whether the process has a path below the directory among its arguments. The id of an agent that has ended may belong
/// to another process by now.
bool has_argument_below(pid_t pid, const std::filesystem::path &directory)
{
    const std::string arguments = read_file("/proc/" + std::to_string(pid) + "/cmdline");
    return arguments.find(directory.string() + "/") != std::string::npos;
}

} // namespace

AgentHome::AgentHome()
{
    ::setenv("KORVANE_PACKAGE_DIR", packages().c_str(), 1);
    ::setenv("KORVANE_RUNTIME_DIR", runtime().c_str(), 1);
    // On a busy machine an agent may take long to start.
    ::setenv("KORVANE_CONNECT_TIMEOUT_MS", std::to_string(test_timeout.count()).c_str(), 0);
}

AgentHome::~AgentHome()
{
    // An agent that the platform started on demand is not a child of this process.
    for (const std::string &entry : journal())
        if (const pid_t pid = agent_of(entry); pid > 0 && has_argument_below(pid, root()))
            ::kill(pid, SIGKILL);
    ::unsetenv("KORVANE_PACKAGE_DIR");
    ::unsetenv("KORVANE_RUNTIME_DIR");
}

std::vector<std::string> AgentHome::journal() const
{
    std::vector<std::string> entries;
    std::istringstream lines{read_file(log())};
    for (std::string line; std::getline(lines, line);)
        entries.push_back(line);
    return entries;
}

int AgentHome::count_in_journal(const std::vector<std::string> &texts) const
{
    const std::vector<std::string> entries = journal();
    const auto contains_all = [&](const std::string &entry) {
        return std::all_of(texts.begin(), texts.end(),
                           [&](const std::string &text) { return entry.find(text) != std::string::npos; });
    };
    return static_cast<int>(std::count_if(entries.begin(), entries.end(), contains_all));
}

pid_t AgentHome::latest_agent() const
{
    pid_t latest = -1;
    for (const std::string &entry : journal())
        if (const pid_t pid = agent_of(entry); pid > 0)
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

std::string AgentProcess::reply_to(const std::string &command)
{
    try {
        return agent_->ask(command);
    } catch (const std::runtime_error &failure) {
        return failure.what();
    }
}

void AgentProcess::run_command(const std::string &command, const char *file, int line)
{
    try {
        agent_->tell(command);
    } catch (const std::runtime_error &failure) {
        ADD_FAILURE_AT(file, line) << command << ": " << failure.what();
    }
}

void AgentProcess::signal(int number) const
{
    ::kill(pid(), number);
}

int AgentProcess::wait() const
{
    const std::optional<int> status = wait_for_exit(pid());
    if (!status)
        ADD_FAILURE() << "the agent does not end";
    return status.value_or(-1);
}

ProgramResult run_agent(const std::vector<std::string> &arguments)
{
    Program agent{KORVANE_AGENT_PATH, arguments};
    const int status = agent.wait();
    return {status, agent.output(), agent.error_output()};
}

} // namespace kv::test
