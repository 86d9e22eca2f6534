// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "events.hpp"
#include "peer.hpp"

#include <optional>
#include <tuple>
#include <vector>

namespace kv::virtual_agent {

/// The result for what this agent does not know, or what makes no sense at its moment.
inline constexpr int refused = -1;

class Handlers;

/// What a handler gives back: the agent's result and the out values, which are empty or 0 if nothing is said of them.
template <class M, class Outs = typename M::out>
struct Answer;

template <class M, class... O>
struct Answer<M, describe::Out<O...>> {
    int result = 0;
    std::tuple<typename OutValue<O>::Type...> outs{};
};

/// One request while it is answered.
struct Call {
    Peer &peer;
    std::vector<Event> events{}; // sent after the reply
};

/// How a reply is to differ from what the handler would have said.
struct Deviation {
    std::optional<int> result{}; // given instead of asking the handler
    int kind = master::result;
};

struct Served {
    bool decoded = false;
    Parcel reply{};
};

/// One method as this side serves it.
struct MethodEntry {
    const char *name;
    int id;
    int since;
    int arguments;
    /// Serves a request whose id was read already.
    Served (*serve)(Handlers &handlers, Call &call, rpc_port_parcel_h request, const Deviation &deviation);
    // Requests and replies of this method by name and value, from their first byte and as far as they can be read. Only
    // made when somebody looks: it costs more than serving.
    Json (*show_arguments)(rpc_port_parcel_h request);
    Json (*show_answer)(rpc_port_parcel_h reply);
    // What its arguments and out values are.
    Json (*argument_shapes)();
    Json (*out_shapes)();
};

/// None for an id that the interface does not have.
const MethodEntry *find_method(int id);
const MethodEntry *find_method(const std::string &name);
const std::vector<MethodEntry> &all_methods();

} // namespace kv::virtual_agent
