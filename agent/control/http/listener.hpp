// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/files/descriptor.hpp"
#include "agent/loop/source.hpp"

#include <functional>
#include <string>

namespace kv::virtual_agent {

/// Opens a listening Unix socket for its owner only. A socket that no process serves is replaced. Throws
/// std::runtime_error with the reason.
Descriptor listen_on_path(const std::string &path);
/// Opens a listening socket on 127.0.0.1; port 0 selects a free one. Throws std::runtime_error with the reason.
Descriptor listen_on_port(int port);

int port_of(const Descriptor &socket);

/// Accepts the connections of one listening socket. All descriptors are created non-blocking, so no failing call can
/// leave one that blocks the agent.
class Listener {
public:
    /// May throw; the client is then disconnected and the message printed.
    using Accepted = std::function<void(Descriptor client)>;
    Listener(Descriptor socket, Accepted accepted);

private:
    void watch();
    void accept_some();
    void pause();

    Descriptor socket_;
    Accepted accepted_;
    Source source_{};
    bool has_failed_ = false; // the last time, so that a lasting failure is printed once
};

} // namespace kv::virtual_agent
