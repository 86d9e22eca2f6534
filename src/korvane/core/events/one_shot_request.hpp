// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane/core/session/agent_call.hpp"
#include "src/korvane/core/session/session.hpp"
#include "trampoline.hpp"

#include <tuple>

/// Sending one-shot requests, and handling the events that complete them.
namespace kv::api {

/// A kind of one-shot request: its method, its delegate, and what handles the delegate's event.
struct OneShotKind {
    const master::MethodRow &method;
    int delegate_id;
    TrampolineOf trampoline;
};

/// Calls the method with a new delegate, which is stored at `delegate_value` among the values. Its event may arrive, and
/// the callback run, before this returns. A request that fails leaves nothing behind.
int request_once(ReadyCall &call, const OneShotKind &kind, AnyFunction callback, void *user_data,
                 const proxy::Value *values, proxy::Value &delegate_value);

/// The last argument of a method.
template <class Ins>
struct LastOf;

template <class... E>
struct LastOf<describe::In<E...>> {
    using Type = std::tuple_element_t<sizeof...(E) - 1, std::tuple<E...>>;
};

/// Calls a method whose last argument is the delegate of the completing event; the trampoline handles that event.
template <class Method, auto Trampoline, class Callback, class... Values>
int request_once(ReadyCall &call, Callback callback, void *user_data, Values... values)
{
    using D = typename LastOf<typename Method::in>::Type::delegate;
    static constexpr OneShotKind kind{master::row_of<Method>, D::id, trampoline_of<D, Trampoline>};

    proxy::Arguments<Method> arguments{values..., nullptr};
    return request_once(call, kind, reinterpret_cast<AnyFunction>(callback), user_data, arguments.values.data(),
                        arguments.values.back());
}

/// A one-shot request while its callback runs. It has left the session's list by then, so it is released once, whatever
/// the callback does.
class CompletedRequest {
public:
    /// `user_data` is that of the delegate. Logs as the trampoline.
    explicit CompletedRequest(void *user_data, Caller caller = Caller::here());
    CompletedRequest(const CompletedRequest &) = delete;
    CompletedRequest &operator=(const CompletedRequest &) = delete;

    /// Calls the application. Logs the event's first value; the others may be secret.
    template <class Callback, FixedText First, class Value, class... Values>
    void deliver(Value first, Values... values)
    {
        if (!record_ || !record_->callback)
            return;
        log::info(caller_)(Format<concat<"callback to app, ", First>>{}, first);
        reinterpret_cast<Callback>(record_->callback)(record_->handle, first, values..., record_->user_data);
    }

private:
    Owned<kv_cb_info> record_;
    Caller caller_;
};

} // namespace kv::api
