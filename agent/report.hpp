// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <string>

namespace kv::virtual_agent {

/// Prints a line on standard output: a sentence if a person reads it on a terminal, otherwise a JSON object for the
/// program that does. Throws std::system_error if it cannot be written.
void report(const Json &facts, const std::string &sentence);

} // namespace kv::virtual_agent
