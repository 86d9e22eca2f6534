// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::host {

/// Starts the executable that the package entry names, detached from this process: no parent to wait for it, a session
/// of its own, no descriptor and no signal setting of ours. 0 once it runs; -ENOENT when the entry names none; another
/// negative code after an error line.
int start_agent(const char *appid);
/// Whether there is anything to start.
bool agent_is_startable(const char *appid);

} // namespace kv::host
