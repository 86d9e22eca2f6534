// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace kv::virtual_agent {

/// Reads a whole file. Only regular files up to `max_size` bytes are read: opening a FIFO would block the agent, and a
/// device such as /dev/zero has no end. Throws std::system_error if the file cannot be
/// opened or read, and std::runtime_error if it is not a regular file or too long.
std::string read_file(const std::string &path, std::size_t max_size);

} // namespace kv::virtual_agent
