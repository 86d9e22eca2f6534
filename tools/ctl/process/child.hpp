// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kv::ctl {

/// A program to start.
struct Program {
    std::vector<std::string> words;                   // its name, which is looked up in PATH, and its arguments
    std::map<std::string, std::string> environment{}; // added to this process's environment
    int out = -1;                                     // descriptor for its standard output; -1 for that of this process
    int err = -1;                                     // the same for its standard error
    int inherited = -1;                               // one more descriptor that it inherits under the same number
    bool out_to_error = false;                        // send its standard output to this process's standard error
    bool in_foreground = false;                       // share this process's standard input and terminal signals
    bool outlives = false;                            // keep it running when this process ends
};

/// Starts a program. Throws Failure if it cannot be executed.
pid_t start(const Program &program);

/// The output of a program, and its status as waitpid() returns it.
struct Captured {
    std::string out;
    std::string err;
    int status;
};

/// Runs a program to its end. Throws Failure if it cannot be executed.
Captured capture(const std::vector<std::string> &words);

/// Describes the status that waitpid() returns: "exit status 3", "signal 11 (Segmentation fault)".
std::string status_text(int status);

/// A child process, which is killed if it still runs when the object is destroyed.
class Child {
public:
    Child() = default;
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child();

    /// Starts the program. `on_exit` runs in the main loop when it has ended.
    void start(const Program &program, std::function<void()> on_exit);
    bool runs() const { return pid_ > 0; }
    /// Sends a signal; does nothing if the child has ended.
    void signal(int number) const;
    /// The status from waitpid() of a child that has ended.
    int status() const { return status_; }

private:
    pid_t pid_ = -1;
    unsigned watch_ = 0;
    int status_ = 0;
    std::function<void()> on_exit_;
};

/// Makes this process the parent of every descendant whose own parent ends, so that end_descendants() finds all.
void adopt_descendants();
/// Ends every descendant of this process, first with SIGTERM, then with SIGKILL, and waits until they have ended.
void end_descendants();

} // namespace kv::ctl
