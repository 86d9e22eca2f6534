// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kv::test {

/// Returns the content of a file; an empty string if it cannot be read.
std::string read_file(const std::filesystem::path &path);

} // namespace kv::test
