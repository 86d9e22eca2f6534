// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"
#include "parcel.hpp"

#include <vector>

namespace kv::virtual_agent {

/// The result of a request that the agent does not know, or that makes no sense in its state.
inline constexpr int refused = -1;

/// A decoded array of empty texts takes 20 times its bytes. A longer request with an array is not decoded.
inline constexpr std::size_t max_array_request = 256 << 10;

/// One method of the interface: its name, version and types, and how its calls are shown.
struct MethodEntry {
    const char *name;
    int id;
    int since;
    int arguments;
    bool has_array; // among its arguments

    bool is_too_long(std::size_t request_size) const { return has_array && request_size > max_array_request; }
    // Requests and replies of this method by name and value, from their first byte and as far as they can be decoded.
    // Decoding costs more than serving, so it is done when a journal entry is read.
    Json (*show_arguments)(rpc_port_parcel_h request);
    Json (*show_reply)(rpc_port_parcel_h reply);
    // The types of its arguments and out values.
    Json (*argument_shapes)();
    Json (*out_shapes)();
};

/// Null for an id or a name that the interface does not have.
const MethodEntry *find_method(int id);
const MethodEntry *find_method(const std::string &name);
const std::vector<MethodEntry> &all_methods();

} // namespace kv::virtual_agent
