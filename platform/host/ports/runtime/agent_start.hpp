// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/host/owned.hpp"

namespace kv::host {

/// Starts the executable that the package entry names, detached from this process: it is not a child, has its own
/// session, and inherits neither descriptors nor signal settings. 0 once it runs; -ENOENT if the entry names no
/// executable; another negative code after an error line.
///
/// `process` becomes readable when the agent's process ends; it stays empty on a kernel older than 5.3.
int start_agent(const char *appid, Fd *process);
/// Whether the package entry names an executable.
bool agent_is_startable(const char *appid);

} // namespace kv::host
