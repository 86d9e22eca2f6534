// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"
#include "authority.hpp"

namespace kv::virtual_agent {

/// A token with which a device shows who it is: a JSON Web Token that the authority has signed (ES256), and what else is
/// told of it. Request data become a claim of that name; null when there are none.
Json new_token(Authority &authority, const std::string &device_id, const Json &request_data);

} // namespace kv::virtual_agent
