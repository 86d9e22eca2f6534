// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_COROUTINE_HPP
#define KORVANE_COROUTINE_HPP

#include "session.hpp"

#if defined(__cpp_impl_coroutine) && __has_include(<coroutine>)
#define KORVANE_HAS_COROUTINES 1

#include <coroutine>

/// One-shot requests that a coroutine awaits on the application's GLib main loop (C++20).
namespace korvane {

/// The return type of a coroutine that runs by itself. It starts at once and runs on the main loop after its first
/// co_await. An exception that leaves it is handled like one that leaves a callback.
///
///     korvane::Task join_group(korvane::Device &device)
///     {
///         korvane::Result<std::string> group = co_await device.get_group_id();
///         if (group)
///             std::puts(group->c_str());
///     }
struct Task {
    struct promise_type {
        Task get_return_object() const noexcept { return {}; }
        std::suspend_never initial_suspend() const noexcept { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        void unhandled_exception() const noexcept
        {
#ifdef __cpp_exceptions
            detail::exception_handler()("a korvane::Task", std::current_exception());
#endif
        }
    };
};

/// The reply to Device::create_hdr_certificate().
struct CreatedCertificate {
    int result = 0;     ///< 0 if the certificate was created, otherwise agent-defined
    std::string text{}; ///< the certificate and its data, or the reason of a failure
};

/// The reply to Device::get_hdr_certificate().
struct FoundCertificate {
    int result = 0;      ///< 0 if the certificate was found, otherwise agent-defined
    std::string text1{}; ///< agent-defined. `korvane-agent`: the certificate in PEM
    std::string text2{}; ///< agent-defined. `korvane-agent`: the chain in PEM
};

/// The reply to Device::create_hdr_token_info() and Device::create_hdr_token_info_custom().
struct CreatedToken {
    int result = 0;                  ///< 0 if there is a token, otherwise agent-defined
    std::optional<HdrToken> token{}; ///< no value if the agent's data could not be read
};

namespace detail {

/// The state that a coroutine and its pending request share. It lives until both are destroyed.
template <class T>
struct Awaited {
    std::optional<Result<T>> result{};
    std::coroutine_handle<> suspended{};
};

/// The handler of an awaited request: stores the values and resumes the coroutine.
template <class T, class Convert>
struct Resume {
    std::shared_ptr<Awaited<T>> awaited;
    Convert convert;
    std::string_view function;

    template <class... Values>
    void operator()(const Values &...values)
    {
        finish(Result<T>{convert(values...), function});
    }
    /// The session ended before the reply.
    void cancel() noexcept { finish(Result<T>{Result<void>{KORVANE_ERROR_OPERATION_FAILED, function}}); }

private:
    void finish(Result<T> result)
    {
        const std::shared_ptr<Awaited<T>> kept = awaited; // the coroutine may destroy this handler
        if (kept->result)
            return;
        kept->result = std::move(result);
        if (const auto suspended = std::exchange(kept->suspended, nullptr))
            suspended.resume();
    }
};

} // namespace detail

/// A one-shot request to be awaited; co_await makes it and returns its Result. The Result is the failure of the request if
/// it was not accepted, and Errc::operation_failed if the session ends before the reply: then the coroutine continues inside
/// the call that ended the session. A coroutine that is destroyed while it waits is not resumed.
template <class T, class Start, class Convert>
class [[nodiscard]] Awaitable {
public:
    Awaitable(Start start, Convert convert, std::string_view function)
        : start_(std::move(start)), convert_(std::move(convert)), function_(function)
    {
    }
    Awaitable(const Awaitable &) = delete;
    Awaitable &operator=(const Awaitable &) = delete;
    ~Awaitable()
    {
        if (awaited_)
            awaited_->suspended = nullptr;
    }

    bool await_ready() const noexcept { return false; }
    /// Returns false, so that the coroutine continues at once, if the request failed or was completed inside the call.
    bool await_suspend(std::coroutine_handle<> coroutine)
    {
        const auto awaited = awaited_ = std::make_shared<detail::Awaited<T>>();
        const Result<void> started = start_(detail::Resume<T, Convert>{awaited, std::move(convert_), function_});
        if (!awaited->result && !started)
            awaited->result = Result<T>{started};
        if (awaited->result)
            return false;
        awaited->suspended = coroutine;
        return true;
    }
    Result<T> await_resume() { return std::move(*awaited_->result); }

private:
    Start start_;
    Convert convert_;
    std::string_view function_;
    std::shared_ptr<detail::Awaited<T>> awaited_{};
};

namespace detail {

inline CreatedToken created_token(int result, const HdrTokenInfo &info)
{
    return {result, info ? std::optional{copy_of(info)} : std::nullopt};
}

/// Returns the awaitable of a one-shot request. `convert` makes the value of the result from the values of the reply.
template <class T, auto Request, class Convert, class... Args>
auto await(const std::shared_ptr<Session> &session, Convert convert, Args... args)
{
    auto start = [session, args...](auto resume) { return request<Request>(session, std::move(resume), args...); };
    return Awaitable<T, decltype(start), Convert>{std::move(start), std::move(convert), name_of<Request>()};
}

} // namespace detail
} // namespace korvane

#endif
#endif
