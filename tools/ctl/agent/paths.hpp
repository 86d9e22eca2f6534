// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kv::ctl {

// Paths that the host platform uses. Each function throws Failure if the environment is wrong.

std::string runtime_directory();
std::string agent_socket();
std::string package_entry();

/// The virtual agent's program: KORVANE_AGENT, else the one next to this program, else the one in PATH; "" if there is
/// none.
std::string agent_program();
/// The same, or `chosen` if it is not empty. Throws Failure if there is none.
std::string required_agent_program(const std::string &chosen);

/// The message in a line that the agent's program writes to stderr when it fails; "" for any other line.
std::string agent_error_in(const std::string &line);
/// The agent's exit status for a wrong command line.
inline constexpr int agent_wrong_usage = 2;

} // namespace kv::ctl
