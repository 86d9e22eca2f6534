// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::host {

/// Milliseconds for connecting, the start of the agent included (KORVANE_CONNECT_TIMEOUT_MS).
int connect_timeout_ms();
/// Milliseconds from the start of a call's send to its reply (KORVANE_REPLY_TIMEOUT_MS); 0 means no limit.
int reply_timeout_ms();
/// Microseconds for which a process polls before it blocks (KORVANE_POLL_US); 0 on a single processor.
int polling_time_us();

} // namespace kv::host
