// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"

#include <tuple>

namespace kv::api {

/// A request of this kind while it is being made: its record and its delegate. Both are taken back unless the request
/// turns out to be under way.
class OneShotRequest {
public:
    /// The delegate is the one that such requests carry, with the record as its user data.
    OneShotRequest(AgentCall &call, AnyFunction callback, void *user_data, int delegate_id,
                   proxy::Delegate *(*create_delegate)(kv_cb_info *record));
    OneShotRequest(const OneShotRequest &) = delete;
    OneShotRequest &operator=(const OneShotRequest &) = delete;
    ~OneShotRequest();

    explicit operator bool() const { return delegate_ != nullptr; }
    proxy::Delegate *delegate() const { return delegate_; }

    /// The result of the call that carried the delegate. Once under way, record and delegate wait for the answer.
    int settle(int result);

private:
    AgentCall &call_;
    proxy::Owned<kv_cb_info> record_;
    proxy::Delegate *delegate_ = nullptr;
};

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

    OneShotRequest request{
        call, reinterpret_cast<AnyFunction>(callback), user_data, D::id,
        [](kv_cb_info *record) -> proxy::Delegate * { return proxy::create_delegate<D>(Trampoline, true, record); }};
    if (!request)
        return call.result();
    return request.settle(call.invoke<Method>(values..., static_cast<proxy::TypedDelegate<D> *>(request.delegate())));
}

} // namespace kv::api
