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

// Lower than every priority until the environment is read, so that the usual case is one comparison.
constinit std::atomic<int> threshold{INT_MIN};
constinit LogSink sink;
constinit pthread_once_t once = PTHREAD_ONCE_INIT;

void configure()
{
    const LogConfig config = log_config_from_environment();
    sink.open(config);
    threshold.store(config.threshold, std::memory_order_release);
}

// Separate from dlog_print, so that a line below the level does not pay for this stack frame.
[[gnu::noinline]] int print_list(int priority, const char *tag, const char *format, va_list arguments)
{
    // The line may print errno with %m, and the caller may use it afterwards.
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
