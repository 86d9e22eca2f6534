// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kv::ctl {

/// The result of a check.
struct Finding {
    std::string text;
    std::string remedy{}; // what to do; empty if nothing is wrong
};

// Each checks one condition for applications to reach an agent. Those that need a path throw Failure if the environment
// is wrong.

Finding check_library();
Finding check_program();
Finding check_package();
Finding check_executable();
Finding check_runtime_directory();
Finding check_port();
Finding check_locks();
Finding check_bus();

/// The value of a key in the agent's package entry; "" if it is missing.
std::string package_value(const char *key);

} // namespace kv::ctl
