// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "testing/support/temporary_directory.hpp"

#include <korvane_test.hpp>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kv::test {

/// A package directory and a runtime directory for one test. The platform of this process and of its children uses them
/// while the object exists. The first process that needs a directory makes it.
class AgentHome {
public:
    AgentHome();
    AgentHome(const AgentHome &) = delete;
    AgentHome &operator=(const AgentHome &) = delete;
    /// Kills agents that were started on demand and still run.
    ~AgentHome();

    const std::filesystem::path &root() const { return root_.path(); }
    std::filesystem::path packages() const { return root_ / "packages"; }
    std::filesystem::path runtime() const { return root_ / "run"; }
    std::filesystem::path log() const { return root_ / "agent.log"; }

    /// The journals of the agents so far, one line of JSON per entry.
    std::vector<std::string> journal() const;
    /// The number of entries that contain all of the texts.
    int count_in_journal(const std::vector<std::string> &texts) const;
    /// The process id of the agent that became ready last; -1 if none did.
    pid_t latest_agent() const;

private:
    TemporaryDirectory root_;
};

/// A running virtual agent, started by korvane-test. A home can have several one after another. The agent is ready when
/// the constructor returns, and is killed by the destructor.
class AgentProcess {
public:
    /// Throws std::runtime_error if the agent does not become ready.
    explicit AgentProcess(const AgentHome &home, const std::vector<std::string> &arguments = {});

    pid_t pid() const { return agent_->pid(); }

    /// Sends a command and returns the reply, or the reason if the command fails. The main loop runs meanwhile.
    std::string reply_to(const std::string &command);
    /// Sends a command that must succeed.
    void run_command(const std::string &command, const char *file = __builtin_FILE(), int line = __builtin_LINE());

    void signal(int number) const;
    /// Waits until the agent has ended. Returns its exit status, or minus the number of a signal.
    int wait() const;

private:
    std::optional<korvane::test::Agent> agent_{};
};

/// Exit statuses of the agent's program.
namespace agent_exit {
inline constexpr int stopped = 0;
inline constexpr int failed = 1;
inline constexpr int wrong_usage = 2;
inline constexpr int port_in_use = 3;
} // namespace agent_exit

struct ProgramResult {
    int exit_status = -1; ///< or minus the number of a signal
    std::string output;
    std::string error_output;
};

/// Runs the agent's program to its end.
ProgramResult run_agent(const std::vector<std::string> &arguments);

} // namespace kv::test
