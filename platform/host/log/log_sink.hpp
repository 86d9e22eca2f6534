// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log_config.hpp"

#include <atomic>
#include <cstddef>

namespace kv::host {

/// One line on its way out. The message is as its writer formatted it, without the newline at its end.
struct LogLine {
    int priority;
    const char *tag;
    const char *message;
    std::size_t size;
};

/// Where lines go. Opened once, then used by any thread without a lock: each line is one write, which the kernel keeps
/// whole. What the chosen destination does not take goes to stderr, after one line there that says why.
class LogSink {
public:
    void open(const LogConfig &config);
    int write(const LogLine &line);

private:
    int write_to_stderr(const LogLine &line) const;
    void complain_once(const char *what, const char *name, int error);

    LogDestination destination_ = LogDestination::standard_error;
    const char *name_ = nullptr; // of the file or of the journal's socket
    int descriptor_ = -1;
    bool coloured_ = false;
    std::atomic<bool> complained_{false};
};

} // namespace kv::host
