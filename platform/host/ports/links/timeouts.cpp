// SPDX-License-Identifier: Apache-2.0
#include "timeouts.hpp"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/host/log/log.hpp"

namespace kv::host {
namespace {

int read_milliseconds(const char *variable, int default_value)
{
    const char *text = secure_getenv(variable);
    if (!text || !text[0])
        return default_value;
    char *end = nullptr;
    errno = 0;
    const long value = strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || value < 0 || value > INT_MAX) {
        dlog_print(log_warning, log_tag, "%s='%s' is not a number of milliseconds; using the default, %d", variable,
                   text, default_value);
        return default_value;
    }
    return static_cast<int>(value);
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

} // namespace kv::host
