// SPDX-License-Identifier: Apache-2.0
#include "log.hpp"

#include "log_config.hpp"
#include "log_sink.hpp"
#include "log_text.hpp"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>

namespace kv::host {

namespace {

// Below every priority until the environment was read, so that the usual case stays one comparison.
constinit std::atomic<int> threshold{INT_MIN};
constinit LogSink sink;
constinit pthread_once_t once = PTHREAD_ONCE_INIT;

void configure()
{
    const LogConfig config = log_config_from_environment();
    sink.open(config);
    threshold.store(config.threshold, std::memory_order_release);
}

// Apart from dlog_print: a line below the level must not pay for the frame that this needs.
[[gnu::noinline]] int print_list(int priority, const char *tag, const char *format, va_list arguments)
{
    // The caller's errno is often what the line is about, and is the caller's to use afterwards.
    const int callers_errno = errno;
    pthread_once(&once, configure);
    int result = 0;
    if (priority >= threshold.load(std::memory_order_relaxed)) {
        LogText message;
        errno = callers_errno;
        message.append_format_list(format, arguments);
        message.drop_trailing_newlines();
        result = sink.write({priority, tag ? tag : "", message.data(), message.size()});
    }
    errno = callers_errno;
    return result;
}

} // namespace

} // namespace kv::host

extern "C" int dlog_print(int priority, const char *tag, const char *format, ...)
{
    using namespace kv::host;
    if (priority < threshold.load(std::memory_order_acquire)) [[likely]]
        return 0;

    va_list arguments;
    va_start(arguments, format);
    const int result = print_list(priority, tag, format, arguments);
    va_end(arguments);
    return result;
}
