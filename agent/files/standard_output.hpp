// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kv::virtual_agent {

/// Prints a line on standard output at once. Throws std::system_error if it cannot be written.
void print_line(const std::string &line);

} // namespace kv::virtual_agent
