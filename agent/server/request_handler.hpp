// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/interface/events.hpp"
#include "agent/interface/methods.hpp"
#include "peer.hpp"

#include <optional>
#include <vector>

namespace kv::virtual_agent {

/// One request while it is served.
struct Call {
    Peer &peer;
    std::vector<Event> events{}; // sent after the reply
};

/// The change that a fault makes to a reply.
struct Deviation {
    std::optional<int> result{}; // replied without serving the request
    int kind = master::result;
};

struct Served {
    bool decoded = false;
    Parcel reply{};
};

/// Serves the requests that the server receives.
class RequestHandler {
public:
    /// Serves a request whose id was read already.
    virtual Served serve(const MethodEntry &method, Call &call, rpc_port_parcel_h request,
                         const Deviation &deviation) = 0;

protected:
    ~RequestHandler() = default;
};

} // namespace kv::virtual_agent
