// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"
#include "authority.hpp"

namespace kv::virtual_agent {

/// A token that proves the identity of a device: an object with a JSON Web Token, signed by the authority (ES256), and
/// its server and lifetime. `request_data` becomes the claim of that name unless it is null.
Json new_token(Authority &authority, const std::string &device_id, const Json &request_data);

} // namespace kv::virtual_agent
