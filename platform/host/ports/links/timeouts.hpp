// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::host {

/// Milliseconds for connecting, the start of the agent included (KORVANE_CONNECT_TIMEOUT_MS).
int connect_timeout_ms();
/// Milliseconds from the start of a call's send to its reply (KORVANE_REPLY_TIMEOUT_MS); 0 means no limit.
int reply_timeout_ms();

} // namespace kv::host
