// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kv::test {

struct SyscallCounts {
    unsigned long sends = 0;
    unsigned long receives = 0;
    unsigned long others = 0;
};

struct TracedCalls {
    SyscallCounts client;
    SyscallCounts server;
};

/// Counts the system calls of korvane-bench-calls between its two stops, and those of its server, also a child of this
/// process. The server stays traced and cannot be used any more. Returns `nullopt` if the system does not permit tracing.
std::optional<TracedCalls> trace(const std::vector<std::string> &client, pid_t server);

} // namespace kv::test
