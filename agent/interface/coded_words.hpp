// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

namespace kv::virtual_agent {

/// The values of a method or an event in words, numbers with the names that they have: status 4 (done), result 0.
std::string in_words(const Json &values, const char *owner);

} // namespace kv::virtual_agent
