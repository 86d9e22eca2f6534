// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_EXCEPTIONS_HPP
#define KORVANE_EXCEPTIONS_HPP

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

/// Exceptions that leave a callback. Nothing can unwind through the library, so they end at the callback: a handler of the
/// application receives them, or the process ends with a message.
namespace korvane {

#ifdef __cpp_exceptions

/// Receives an exception that left a callback. `callback` is the C function that registered it, for instance
/// "korvane_set_status_changed_cb".
using ExceptionHandler = void (*)(std::string_view callback, std::exception_ptr exception);

/// The default: prints a message to stderr and calls std::terminate().
[[noreturn]] inline void terminate_with_message(std::string_view callback, std::exception_ptr exception) noexcept
{
    const int length = static_cast<int>(callback.size());
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "korvane: an exception left the callback of %.*s: %s\n", length, callback.data(),
                     error.what());
    } catch (...) {
        std::fprintf(stderr, "korvane: an exception left the callback of %.*s\n", length, callback.data());
    }
    std::terminate();
}

namespace detail {

inline ExceptionHandler &exception_handler() noexcept
{
    static ExceptionHandler handler = terminate_with_message;
    return handler;
}

/// Runs an application's function. No exception leaves it.
template <class Run>
void guarded(std::string_view callback, Run &&run) noexcept
{
    try {
        run();
    } catch (...) {
        exception_handler()(callback, std::current_exception());
    }
}

} // namespace detail

/// Sets the function that receives the exceptions of all callbacks, and returns the earlier one. With a handler that
/// returns, the application continues as if the callback had returned. A handler that throws ends the process. nullptr
/// restores the default, terminate_with_message().
inline ExceptionHandler set_exception_handler(ExceptionHandler handler) noexcept
{
    return std::exchange(detail::exception_handler(), handler ? handler : terminate_with_message);
}

#else

namespace detail {

template <class Run>
void guarded(std::string_view, Run &&run) noexcept
{
    run();
}

} // namespace detail

#endif

} // namespace korvane

#endif
