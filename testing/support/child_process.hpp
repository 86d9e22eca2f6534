// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "file_descriptor.hpp"
#include "wait.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace kv::test {

/// A program to start: its command line, its environment and its streams.
struct Command {
    std::vector<std::string> words;                                  ///< a program, searched in PATH, and its arguments
    std::map<std::string, std::optional<std::string>> environment{}; ///< changes to this process's; no value: unset
    bool shares_streams = false; ///< keeps the standard streams of this process instead of new ones
    bool captures_errors = true; ///< standard error goes into a pipe; otherwise to that of this process
    std::string error_file{};    ///< if not empty, standard error is appended to this file instead
};

/// A child process with its standard input and output connected to this one.
///
/// The process is killed and reaped on destruction. The kernel kills it when the thread that started it ends, so that it
/// does not outlive a test that crashes or is killed. What it starts itself is not covered: see descendants.hpp.
class ChildProcess {
public:
    /// Starts a program, with no signal blocked. Throws std::system_error if it cannot be started.
    explicit ChildProcess(const Command &command);
    /// Runs a function in a copy of this process. Its result is the exit status; destructors of the copied objects and
    /// functions registered with atexit() do not run. Throws std::system_error if there is no process.
    explicit ChildProcess(const std::function<int()> &body);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    ~ChildProcess();

    /// -1 once the process has been reaped.
    pid_t pid() const { return pid_; }
    /// Sends a signal. Does nothing once the process has been reaped.
    void signal(int number) const;

    /// Writes a line to its standard input. Returns false if the process does not read it any more.
    bool write_line(const std::string &line);
    void close_input() { input_.close(); }

    /// Removes the next complete line from output() and returns it without its newline; `nullopt` if none has arrived.
    /// Does not wait.
    std::optional<std::string> read_line();
    /// Waits for the next complete line; `nullopt` if none arrives within the timeout or before the output ends.
    std::optional<std::string> wait_for_line(std::chrono::milliseconds timeout = test_timeout);
    /// Waits until output() contains a text so many times. Returns false if it does not within the timeout or before the
    /// output ends.
    bool wait_for_output(std::string_view text, int times = 1, std::chrono::milliseconds timeout = test_timeout);
    int count_in_output(std::string_view text) const;
    /// Whether standard output has been read to its end.
    bool output_has_ended() const { return !output_pipe_.is_open(); }

    /// What has been read from standard output and not removed by read_line(); complete after wait().
    const std::string &output() const { return output_; }
    const std::string &error_output() const { return error_output_; }

    /// Waits until the process has ended, and reaps it. Returns its exit status, or minus the number of the signal that
    /// ended it; `nullopt` if it does not end within the timeout.
    std::optional<int> wait(std::chrono::milliseconds timeout = test_timeout);
    /// Notes that the caller has reaped the process.
    void set_reaped() { pid_ = -1; }

private:
    struct Streams;

    void watch(Streams streams);
    bool read_some(int timeout_ms);
    void read_all_available();

    pid_t pid_ = -1;
    std::optional<int> exit_status_{};
    FileDescriptor process_{}; // becomes readable when the process ends
    FileDescriptor input_{};
    FileDescriptor output_pipe_{};
    FileDescriptor error_pipe_{};
    std::string output_{};
    std::string error_output_{};
};

/// Runs a command to its end and returns its standard output. Throws std::runtime_error with its standard error unless
/// it ends with exit status 0 within the timeout.
std::string output_of(const Command &command, std::chrono::milliseconds timeout = test_timeout);

/// Waits until a child of this process has ended, without reaping it. Returns its exit status, or minus the number of
/// the signal that ended it; `nullopt` if it does not end within the timeout.
std::optional<int> wait_for_exit(pid_t child, std::chrono::milliseconds timeout = test_timeout);

} // namespace kv::test
