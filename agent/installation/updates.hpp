// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/server/server.hpp"
#include "package.hpp"

namespace kv::virtual_agent {

/// The replacement of the agent by another version, as applications see it: each step is announced on the message bus,
/// and there is no agent while the new program is installed. The steps return whether they were announced; they take
/// effect without a message bus, too. A step throws std::runtime_error if it cannot write the package entry or open the
/// port; the agent then keeps its version, and a later step can repeat the change.
class Updates {
public:
    Updates(State &state, Server &server, Package &package, Journal &journal)
        : state_(state), server_(server), package_(package), journal_(journal)
    {
    }
    Updates(const Updates &) = delete;
    Updates &operator=(const Updates &) = delete;

    bool start();
    /// Announces the installation, and 100 ms later disconnects all applications and stops serving.
    bool install();
    /// Serves again as the new version, which is not started and not waiting for an update.
    bool complete(const Version &version);
    /// Serves again as the same version and announces the failure.
    bool fail(int code);

    /// Cuts every connection, as the end of the agent's process does, and serves nothing until restart().
    void kill();
    /// Serves again, with the service not started, as an agent that was started anew; cuts every connection before.
    void restart();

private:
    void leave();
    void come_back(const Version &version);
    bool announce(const char *step, struct bundle_s *data);

    State &state_;
    Server &server_;
    Package &package_;
    Journal &journal_;
    Source leaving_{}; // until the agent stops serving
    bool away_ = false;
};

} // namespace kv::virtual_agent
