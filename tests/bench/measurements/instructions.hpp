// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/setting.hpp"

#include <string>

namespace kv::test {

/// Compares the instructions per call with the figures of a file, "NAME COUNT" in each line, and prints both. Returns
/// false if one differs by more than 2 %.
bool compare_instructions(const Setting &setting, const std::string &file);
/// Writes the figures of this build to the file.
void store_instructions(const Setting &setting, const std::string &file);

} // namespace kv::test
