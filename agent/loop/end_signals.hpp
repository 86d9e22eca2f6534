// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "source.hpp"

namespace kv::virtual_agent {

/// Receives SIGTERM and SIGINT in the main loop. GLib would receive them in a thread that wakes the loop by a write; if the
/// system refuses that write, the process cannot be ended. Must exist before other threads, which inherit the blocked signals.
class EndSignals {
public:
    /// Calls `end` for each signal. Throws std::system_error without a descriptor.
    explicit EndSignals(std::function<void()> end);
    EndSignals(const EndSignals &) = delete;
    EndSignals &operator=(const EndSignals &) = delete;
    ~EndSignals();

private:
    int descriptor_;
    Source source_;
};

} // namespace kv::virtual_agent
