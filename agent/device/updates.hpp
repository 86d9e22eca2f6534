// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/server/server.hpp"
#include "package.hpp"

namespace kv::virtual_agent {

/// The agent's being replaced by another version, as applications see it: the service manager announces each step, and
/// while the new program is put in place there is no agent. The steps say whether they could be announced; without a
/// message bus they happen all the same.
class Updates {
public:
    Updates(State &state, Server &server, Package &package, Journal &journal)
        : state_(state), server_(server), package_(package), journal_(journal)
    {
    }
    Updates(const Updates &) = delete;
    Updates &operator=(const Updates &) = delete;
    ~Updates();

    bool start();
    /// Announces the installation and shortly afterwards disconnects everyone and serves no longer.
    bool install();
    /// Serves again, as the new version; the old one knows nothing any more but the device.
    bool complete(const Version &version);
    /// Serves again as before.
    bool fail(int code);

private:
    void leave();
    void come_back();
    bool announce(const char *step, struct bundle_s *data);

    State &state_;
    Server &server_;
    Package &package_;
    Journal &journal_;
    unsigned leaving_ = 0; // the source that will take the agent away
    bool away_ = false;
};

} // namespace kv::virtual_agent
