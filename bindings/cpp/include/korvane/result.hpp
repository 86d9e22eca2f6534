// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_RESULT_HPP
#define KORVANE_RESULT_HPP

#if __cplusplus < 201703L
#error "korvane.hpp needs C++17 or later: compile with -std=c++17"
#endif

#include <korvane.h>
#include <korvane_results.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

/// Results of calls: a value or a code, without exceptions unless value() asks for one.
namespace korvane {

/// The result codes of enum korvane_error, as values of std::error_code. `if (result.error() == korvane::Errc::io_error)`
/// compares with one.
enum class Errc {
    none = KORVANE_ERROR_NONE,
    invalid_parameter = KORVANE_ERROR_INVALID_PARAMETER,
    out_of_memory = KORVANE_ERROR_OUT_OF_MEMORY,
    permission_denied = KORVANE_ERROR_PERMISSION_DENIED,
    io_error = KORVANE_ERROR_IO_ERROR,
    no_data = KORVANE_ERROR_NO_DATA,
    not_supported = KORVANE_ERROR_NOT_SUPPORTED,
    operation_failed = KORVANE_ERROR_OPERATION_FAILED,
    service_unavailable = KORVANE_ERROR_SERVICE_UNAVAILABLE,
    agent_version_lower = KORVANE_ERROR_AGENT_VERSION_LOWER,
};

/// Returns the name of a result code without its prefix, "IO_ERROR"; "unknown code" for any other number.
constexpr const char *code_name(int code) noexcept
{
    switch (static_cast<Errc>(code)) {
#define KORVANE_NAME_CASE(name, cause, remedy)                                                                         \
    case Errc{KORVANE_ERROR_##name}: return #name;
        KORVANE_RESULTS(KORVANE_NAME_CASE)
#undef KORVANE_NAME_CASE
    }
    return "unknown code";
}

/// Returns the cause of a result code as a phrase.
constexpr const char *code_text(int code) noexcept
{
    switch (static_cast<Errc>(code)) {
#define KORVANE_CAUSE_CASE(name, cause, remedy)                                                                        \
    case Errc{KORVANE_ERROR_##name}: return cause;
        KORVANE_RESULTS(KORVANE_CAUSE_CASE)
#undef KORVANE_CAUSE_CASE
    }
    return "unknown code";
}

namespace detail {

class ErrorCategory final : public std::error_category {
public:
    const char *name() const noexcept override { return "korvane"; }
    std::string message(int code) const override { return std::string{code_name(code)} + ": " + code_text(code); }
    std::error_condition default_error_condition(int code) const noexcept override
    {
        switch (code) {
        case KORVANE_ERROR_INVALID_PARAMETER: return std::errc::invalid_argument;
        case KORVANE_ERROR_OUT_OF_MEMORY: return std::errc::not_enough_memory;
        case KORVANE_ERROR_PERMISSION_DENIED: return std::errc::permission_denied;
        case KORVANE_ERROR_IO_ERROR: return std::errc::io_error;
        case KORVANE_ERROR_NOT_SUPPORTED: return std::errc::not_supported;
        default: return {code, *this};
        }
    }
};

} // namespace detail

/// The category of the library's result codes. Where the system has a matching condition, a code equals it:
/// `error == std::errc::io_error`.
inline const std::error_category &error_category() noexcept
{
    static const detail::ErrorCategory category;
    return category;
}

inline std::error_code make_error_code(Errc code) noexcept
{
    return {static_cast<int>(code), error_category()};
}

/// The exception that Result::value() throws. what() is "korvane_start: IO_ERROR: the link to the agent failed during the
/// call".
class Error : public std::system_error {
public:
    Error(int code, std::string_view function)
        : std::system_error(code, error_category(), std::string{function}), function_(function)
    {
    }

    /// The result code, one of enum korvane_error.
    int result() const noexcept { return code().value(); }
    /// The C function that failed.
    std::string_view function() const noexcept { return function_; }

private:
    std::string_view function_; // names have static storage
};

namespace detail {

/// Throws Error; ends the process where exceptions are disabled.
[[noreturn]] inline void fail(int code, std::string_view function)
{
#ifdef __cpp_exceptions
    throw Error(code, function);
#else
    (void)code;
    (void)function;
    std::abort();
#endif
}

/// The part that all results share: the code, and the function that returned it.
class Status {
public:
    Status(int code, std::string_view function) noexcept : code_(code), function_(function) {}

    /// Whether the call succeeded.
    bool ok() const noexcept { return code_ == KORVANE_ERROR_NONE; }
    explicit operator bool() const noexcept { return ok(); }
    /// The result code, one of enum korvane_error.
    int code() const noexcept { return code_; }
    /// The result code for std::error_code; no error if the call succeeded.
    std::error_code error() const noexcept { return {code_, error_category()}; }
    /// The name of the result code: "NONE", "IO_ERROR".
    const char *name() const noexcept { return code_name(code_); }
    /// The C function that returned the code.
    std::string_view function() const noexcept { return function_; }

protected:
    void check() const
    {
        if (!ok())
            fail(code_, function_);
    }

private:
    int code_;
    std::string_view function_;
};

} // namespace detail

/// The value of a call that succeeded, or the code of one that failed.
///
///     if (auto id = device.get_device_id())
///         std::puts(id->c_str());
///     else
///         std::puts(id.name());
template <class T>
class [[nodiscard]] Result : public detail::Status {
public:
    Result(T value, std::string_view function) : Status(KORVANE_ERROR_NONE, function), value_(std::move(value)) {}
    /// A failure; the status is not a success.
    Result(const Status &failure) noexcept : Status(failure) {}

    /// Returns the value, or throws Error. A throw inside a callback ends at the callback: see
    /// set_exception_handler().
    T &value() &
    {
        check();
        return *value_;
    }
    const T &value() const &
    {
        check();
        return *value_;
    }
    T &&value() &&
    {
        check();
        return std::move(*value_);
    }
    /// Returns the value, or `fallback` if the call failed.
    template <class U>
    T value_or(U &&fallback) const &
    {
        return value_.value_or(std::forward<U>(fallback));
    }
    template <class U>
    T value_or(U &&fallback) &&
    {
        return std::move(value_).value_or(std::forward<U>(fallback));
    }

    /// The value of a call that succeeded.
    T &operator*() &noexcept { return *value_; }
    const T &operator*() const &noexcept { return *value_; }
    T &&operator*() &&noexcept { return std::move(*value_); }
    T *operator->() noexcept { return &*value_; }
    const T *operator->() const noexcept { return &*value_; }

private:
    std::optional<T> value_{};
};

/// The outcome of a call without a value.
template <>
class [[nodiscard]] Result<void> : public detail::Status {
public:
    using Status::Status;
    Result(const Status &status) noexcept : Status(status) {}

    /// Returns if the call succeeded, or throws Error.
    void value() const { check(); }
};

} // namespace korvane

template <>
struct std::is_error_code_enum<korvane::Errc> : std::true_type {
};

#endif
