// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log_config.hpp"

#include <atomic>
#include <cstddef>

namespace kv::host {

/// One line to write. The message is formatted and has no newline at its end.
struct LogLine {
    int priority;
    const char *tag;
    const char *message;
    std::size_t size;
};

/// The destination of the log. After open() any thread uses it without a lock: each line is one write, which the kernel
/// does not mix with others. Lines that the destination does not accept are written to stderr, after one line with the
/// reason.
class LogSink {
public:
    void open(const LogConfig &config);
    int write(const LogLine &line);

private:
    int write_to_stderr(const LogLine &line) const;
    void report_once(const char *what, const char *name, int error);

    LogDestination destination_ = LogDestination::standard_error;
    const char *name_ = nullptr; ///< of the file or of the journal's socket
    int descriptor_ = -1;
    bool coloured_ = false;
    std::atomic<int> reported_{0}; ///< not bool: RISC-V exchanges a byte only by a function of libatomic
};

} // namespace kv::host
