// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "testing/support/child_process.hpp"

#include <string>
#include <vector>

namespace kv::test {

/// A program whose output a test reads while it runs. A wait that fails is a failure of the test, at the caller's line.
class Program {
public:
    explicit Program(const std::string &path, const std::vector<std::string> &arguments = {});

    pid_t pid() const { return process_.pid(); }
    void signal(int number) const { process_.signal(number); }

    /// Waits until the output contains the text so many times. Returns false if it does not before the program ends or
    /// the test times out.
    bool wait_for_output(const std::string &text, int times = 1, const char *file = __builtin_FILE(),
                         int line = __builtin_LINE());
    int count_in_output(const std::string &text) const { return process_.count_in_output(text); }

    /// Waits for the end of the program. Returns the exit status, or minus the number of a signal.
    int wait(const char *file = __builtin_FILE(), int line = __builtin_LINE());

    /// What has been read so far; complete after wait().
    const std::string &output() const { return process_.output(); }
    const std::string &error_output() const { return process_.error_output(); }

private:
    ChildProcess process_;
};

} // namespace kv::test
