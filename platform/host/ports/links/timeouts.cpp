// SPDX-License-Identifier: Apache-2.0
#include "timeouts.hpp"

#include <sched.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/host/log/log.hpp"

namespace kv::host {
namespace {

int read_duration(const char *variable, const char *unit, int max_value, int default_value)
{
    const char *text = secure_getenv(variable);
    if (!text || !text[0])
        return default_value;
    char *end = nullptr;
    errno = 0;
    const long value = strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || value < 0 || value > max_value) {
        dlog_print(log_warning, log_tag, "%s='%s' is not a number of %s up to %d; using the default, %d", variable,
                   text, unit, max_value, default_value);
        return default_value;
    }
    return static_cast<int>(value);
}

int read_milliseconds(const char *variable, int default_value)
{
    return read_duration(variable, "milliseconds", INT_MAX, default_value);
}

} // namespace

int connect_timeout_ms()
{
    const int value = read_milliseconds("KORVANE_CONNECT_TIMEOUT_MS", 10000);
    return value > 0 ? value : 1;
}

int reply_timeout_ms()
{
    return read_milliseconds("KORVANE_REPLY_TIMEOUT_MS", 10000);
}

int polling_time_us()
{
    cpu_set_t processors;
    // Without a second processor the peer could not run while this process polls.
    if (sched_getaffinity(0, sizeof processors, &processors) == 0 && CPU_COUNT(&processors) == 1)
        return 0;
    return read_duration("KORVANE_POLL_US", "microseconds", 10000, 0);
}

} // namespace kv::host
