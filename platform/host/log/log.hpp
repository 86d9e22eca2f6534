// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlog.h>

namespace kv::host {

/// Priorities of dlog_print, those that the platform itself uses and the one below.
enum LogPriority : int { log_debug = 3, log_info = 4, log_warning = 5, log_error = 6 };

/// The tag of what the host platform says on its own account.
inline constexpr const char *log_tag = "KV_PLATFORM";

} // namespace kv::host
