// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

/// A child process with its standard input and output in pipes. It is killed and reaped with this object.
class Child {
public:
    /// Each entry of the environment is NAME=VALUE and stands before what is inherited.
    explicit Child(const std::vector<std::string> &command, const std::vector<std::string> &environment = {});
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child();

    pid_t pid() const { return pid_; }
    void write_line(const std::string &line);
    /// The next line of its output; throws when none comes within the time that anything here may take.
    std::string read_line();
    /// Reads to the end of its output and waits; throws unless it ended with status 0.
    std::string finish();
    /// Someone else has waited for it.
    void reaped() { pid_ = -1; }

private:
    bool read_more();

    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string buffered_;
};

/// Runs a command to its end and returns its output; throws unless it ended with status 0.
std::string run(const std::vector<std::string> &command, const std::vector<std::string> &environment = {});

/// A folder of its own below the system's temporary one, removed with all it holds.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder();

    const std::string &path() const { return path_; }

private:
    std::string path_;
};

/// While it lives, this process and the children it makes run on one CPU.
class OnOneCpu {
public:
    OnOneCpu();
    OnOneCpu(const OnOneCpu &) = delete;
    OnOneCpu &operator=(const OnOneCpu &) = delete;
    ~OnOneCpu();

private:
    std::vector<unsigned char> before_;
};

} // namespace bench
