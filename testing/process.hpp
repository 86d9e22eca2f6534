// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kv::testing_agent {

/// A program that takes lines on standard input and answers with lines on standard output. Gone with its object.
class Process {
public:
    /// Throws std::runtime_error when it cannot be started. What it says on standard error goes into the file.
    Process(const std::vector<std::string> &arguments, const std::string &error_file);
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process();

    pid_t pid() const { return pid_; }

    /// False when nobody takes it any more.
    bool write_line(const std::string &line);
    /// A whole line that has come; none as long as there is none. Does not wait.
    std::optional<std::string> read_line();
    /// Whether it has closed its output, which it does by ending.
    bool ended() const { return ended_; }

private:
    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
    std::string pending_{};
    bool ended_ = false;
};

/// Runs the main context of this thread until something is so. Looks again whenever anything has happened, and every few
/// milliseconds, since not all that is waited for is an event of that context.
template <class Condition>
bool run_until(Condition so, int within_ms);

void iterate_once();
long long now_ms();

template <class Condition>
bool run_until(Condition so, int within_ms)
{
    const long long end = now_ms() + within_ms;
    while (!so()) {
        if (now_ms() >= end)
            return false;
        iterate_once();
    }
    return true;
}

} // namespace kv::testing_agent
