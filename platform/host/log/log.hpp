// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlog.h>

namespace kv::host {

/// Priorities of dlog_print that the platform uses.
enum LogPriority : int { log_debug = 3, log_info = 4, log_warning = 5, log_error = 6 };

/// The tag of the host platform's own lines.
inline constexpr const char *log_tag = "KV_PLATFORM";

} // namespace kv::host
