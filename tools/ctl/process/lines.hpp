// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace kv::ctl {

/// A pipe that is closed on exec and never blocks. Its user closes the descriptors.
struct Pipe {
    int read = -1;
    int write = -1;

    /// Throws Failure.
    Pipe();
};

/// Reads complete lines from a non-blocking descriptor, which it owns.
class Lines {
public:
    explicit Lines(int fd) : fd_(fd) {}
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;
    ~Lines();

    int fd() const { return fd_; }
    /// Reads what has arrived and passes on each complete line. Returns false at the end of the input.
    bool read_some(const std::function<void(const std::string &line)> &take);

private:
    int fd_;
    std::string pending_{};
};

} // namespace kv::ctl
