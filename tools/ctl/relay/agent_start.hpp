// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace kv::ctl {

/// Has the host platform connect to the agent's port once, which starts the agent if its package entry names a program:
/// with the lock that makes one process of all start it, and with the timeout of a connection.
class AgentStart {
public:
    AgentStart() = default;
    AgentStart(const AgentStart &) = delete;
    AgentStart &operator=(const AgentStart &) = delete;
    ~AgentStart();

    /// Calls `on_result` later, from the main loop, with whether an agent listens. One attempt at a time.
    void begin(std::function<void(bool listens)> on_result);
    bool runs() const { return proxy_ != nullptr; }

private:
    void end(bool listens);

    void *proxy_ = nullptr;
    unsigned failure_ = 0; // source of an attempt that failed at once
    std::function<void(bool)> on_result_{};
};

} // namespace kv::ctl
