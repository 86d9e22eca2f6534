// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kv::ctl {

// Where things are, as the host platform sees them. Each throws Failure when it cannot be said.

std::string runtime_directory();
std::string agent_socket();
std::string package_entry();

/// The virtual agent's program: KORVANE_AGENT, else the one beside this program, else by PATH. Empty when there is
/// none.
std::string agent_program();

} // namespace kv::ctl
