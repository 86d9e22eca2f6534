// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <korvane_test.hpp>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

/// Virtual agents as processes of their own, for tests.
namespace kv::test {

/// A package and a runtime directory of this test's own, which the platform of this process and its children uses while
/// it lives. Both are made by whoever needs them first.
class AgentHome {
public:
    AgentHome();
    AgentHome(const AgentHome &) = delete;
    AgentHome &operator=(const AgentHome &) = delete;
    ~AgentHome();

    const std::filesystem::path &root() const { return root_; }
    std::filesystem::path packages() const { return root_ / "packages"; }
    std::filesystem::path runtime() const { return root_ / "run"; }
    std::filesystem::path log() const { return root_ / "agent.log"; }

    /// The agent's journal so far, a line of JSON each.
    std::vector<std::string> journal() const;
    /// How many of its lines contain all of the texts.
    int journalled(const std::vector<std::string> &texts) const;
    /// The process that has most lately become ready; -1 when none has.
    pid_t latest_agent() const;

private:
    std::filesystem::path root_;
};

/// One agent, as applications' own tests have it, in a home where others may have been or may follow. It is ready when
/// the constructor returns, and gone when the destructor does.
class AgentProcess {
public:
    /// With its journal in the home's log file. Throws when it does not become ready.
    explicit AgentProcess(const AgentHome &home, const std::vector<std::string> &arguments = {});

    pid_t pid() const { return agent_->pid(); }

    /// Carries out a command and returns the answer, or why it was refused. The main loop runs meanwhile.
    std::string command(const std::string &line);
    /// The same for one that must go well.
    void tell(const std::string &line, const char *file = __builtin_FILE(), int at = __builtin_LINE());

    void signal(int number) const;
    /// Waits until it has ended, and says how: the exit status, or minus the signal's number. It must have been told
    /// to end.
    int wait() const;

private:
    std::optional<korvane::test::Agent> agent_{};
};

struct Finished {
    int status = -1; // exit status, or minus a signal's number
    std::string out;
    std::string err;
};

/// Runs the agent program to its end, which must come within the deadline of every wait.
Finished run_agent(const std::vector<std::string> &arguments);

/// Milliseconds after which whatever a test waits for has failed to come.
inline constexpr int deadline_ms = 10'000;

} // namespace kv::test
