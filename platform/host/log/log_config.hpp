// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::host {

enum class LogDestination { standard_error, journal, file };

/// The settings of the log, from the environment.
struct LogConfig {
    int threshold;
    LogDestination destination;
    const char *file;     ///< for LogDestination::file; part of the environment
    const char *rejected; ///< an invalid value of KORVANE_LOG, for which the defaults are used; else NULL
};

LogConfig log_config_from_environment();

} // namespace kv::host
