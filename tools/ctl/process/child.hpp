// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kv::ctl {

/// A program that is to be run.
struct Program {
    std::vector<std::string> words;                   // its name, looked for in PATH, and its arguments
    std::map<std::string, std::string> environment{}; // set in addition to this process's
    int out = -1; // its standard output and error, where they are not this process's
    int err = -1;
    int passed = -1;            // one more descriptor that it gets, under the same number
    bool out_to_error = false;  // its standard output goes to this process's standard error
    bool in_foreground = false; // shares this process's standard input and terminal signals
    bool outlives = false;      // stays when this process ends
};

/// Starts it. Throws Failure when it cannot be run.
pid_t start(const Program &program);

/// "exit status 3", "signal 11 (Segmentation fault)".
std::string shown_status(int status);

/// A process that was started, which is ended with this object if it still runs.
class Child {
public:
    Child() = default;
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child();

    void start(const Program &program, std::function<void()> ended);
    bool runs() const { return pid_ > 0; }
    void signal(int number) const;
    /// As waitpid tells it, of one that has ended.
    int status() const { return status_; }

private:
    pid_t pid_ = -1;
    unsigned watch_ = 0;
    int status_ = 0;
    std::function<void()> ended_;
};

/// Takes in every process whose parents below this one have gone, so that end_descendants() finds all of them.
void adopt_descendants();
/// Ends every process below this one, and waits until they have ended. Gives back how many there were.
int end_descendants();

/// The main loop, until one of its callbacks ends it.
class Loop {
public:
    Loop();
    Loop(const Loop &) = delete;
    Loop &operator=(const Loop &) = delete;
    ~Loop();

    void run();
    void quit();
    /// Instead of the end of this process. The callback runs as often as the signal comes.
    void on_signal(int number, std::function<void()> heard);
    /// Once, after that time; 0 for the next turn.
    void after_ms(unsigned milliseconds, std::function<void()> then);
    /// Whenever something can be read or is at its end; until the callback gives back false.
    void on_readable(int fd, std::function<bool()> read);

private:
    unsigned add(unsigned source);

    void *loop_;
    std::vector<unsigned> sources_{};
};

} // namespace kv::ctl
