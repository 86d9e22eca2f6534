// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"

#include <tuple>

namespace kv::api {

/// A kind of such requests: its method, and how its delegate is made, with the record as user data.
struct OneShotKind {
    const char *method_text;
    int delegate_id;
    proxy::Delegate *(*create_delegate)(kv_cb_info *record);
};

/// Calls the method with these values and the delegate, whose place among them is told. Once the request is under way,
/// record and delegate wait for the answer; else both are taken back.
int request_once(AgentCall &call, const OneShotKind &kind, AnyFunction callback, void *user_data,
                 const proxy::Value *values, proxy::Value &delegate);

/// The last argument of a method.
template <class Ins>
struct LastOf;

template <class... E>
struct LastOf<describe::In<E...>> {
    using Type = std::tuple_element_t<sizeof...(E) - 1, std::tuple<E...>>;
};

/// Calls a method whose last argument is the delegate that the answer comes by; the trampoline takes the answer.
template <class Method, auto Trampoline, class Callback, class... Values>
int request_once(AgentCall &call, Callback callback, void *user_data, Values... values)
{
    using D = typename LastOf<typename Method::in>::Type::delegate;
    static constexpr OneShotKind kind{
        proxy::text_of_method<Method>.text, D::id,
        [](kv_cb_info *record) -> proxy::Delegate * { return proxy::create_delegate<D>(Trampoline, true, record); }};

    proxy::Arguments<Method> arguments{values..., nullptr};
    return request_once(call, kind, reinterpret_cast<AnyFunction>(callback), user_data, arguments.values.data(),
                        arguments.values.back());
}

} // namespace kv::api
