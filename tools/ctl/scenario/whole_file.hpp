// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <sys/types.h>

namespace kv::ctl {

/// Writes a file completely or not at all: it writes a temporary file and then renames it. A file that is
/// not a regular one, such as a device, is written directly.
class WholeFile {
public:
    /// Throws Failure if the file cannot be created. `consequence` ends the message if it cannot be written.
    explicit WholeFile(std::string path, mode_t mode, std::string consequence);
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    ~WholeFile();

    /// Throws Failure.
    void write(const std::string &text);

private:
    bool in_place() const { return temporary_ == path_; }
    void write_all(const std::string &text) const;
    [[noreturn]] void fail() const;

    std::string path_;
    std::string temporary_;
    std::string consequence_;
    int fd_ = -1;
};

} // namespace kv::ctl
