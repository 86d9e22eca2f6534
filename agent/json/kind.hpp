// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

namespace kv::virtual_agent {

/// The kind of a value for an error message that must not repeat the value, which may be a secret: "a text", "missing".
std::string kind_of(const cJSON *value);
/// The same where a number is expected, which is no secret: a number is shown.
std::string number_or_kind_of(const cJSON *value);

} // namespace kv::virtual_agent
