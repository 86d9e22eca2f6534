// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::host {

enum class LogDestination { standard_error, journal, file };

/// What the environment asks of the log.
struct LogConfig {
    int threshold;
    LogDestination destination;
    const char *file;     ///< of the environment; for LogDestination::file only
    const char *rejected; ///< the value of KORVANE_LOG when it made no sense and the defaults stand, else NULL
};

LogConfig log_config_from_environment();

} // namespace kv::host
