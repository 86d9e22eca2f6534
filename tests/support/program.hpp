// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// Programs whose lines a test reads while they run.
namespace kv::test {

/// One program. It dies with the object, and with the test.
class Program {
public:
    Program(std::string path, std::vector<std::string> arguments);
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    ~Program();

    /// Waits until its output contains the text so many times; false, failing the test, when it ends or the deadline
    /// passes before.
    bool says(const std::string &text, int times = 1, const char *file = __builtin_FILE(), int at = __builtin_LINE());
    /// How often its output so far contains the text.
    int said(const std::string &text) const;

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    /// Waits for its end and says how that came: the exit status, or minus the signal's number.
    int wait(const char *file = __builtin_FILE(), int at = __builtin_LINE());

    /// All it has written that was read so far; complete after wait().
    const std::string &out() const { return out_; }
    const std::string &err() const { return err_; }

private:
    bool read_some(int milliseconds);

    pid_t pid_ = -1;
    int out_fd_ = -1;
    int err_fd_ = -1;
    std::string out_;
    std::string err_;
};

} // namespace kv::test
