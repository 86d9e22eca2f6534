// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "delegate.hpp"
#include "src/kv_master/method_row.hpp"

#include <array>

/// One request to the agent and the wait for its reply.
namespace kv::proxy {

/// An argument of a call, or where an out value is stored. The method's row determines which member is used.
union Value {
    constexpr Value(int value) : number(value) {}
    constexpr Value(bool value) : flag(value) {}
    constexpr Value(const char *value) : text(value) {}
    constexpr Value(Parcelable *value) : parcelable(value) {}
    constexpr Value(Owned<Delegate> *value) : delegate(value) {}
    constexpr Value(void *value) : out(value) {}

    int number;
    bool flag;
    const char *text;
    Parcelable *parcelable;
    Owned<Delegate> *delegate; // moved to the proxy once the request holds it
    void *out;
};

/// The outcome of an exchange.
struct Outcome {
    int result;           // of the agent; -1 without a whole reply
    bool proxy_destroyed; // by a callback that ran inside the exchange: nothing of the proxy may be used any more
};

/// Sends a request and waits for its reply. Out values are stored only with a result of 0; texts among them are the
/// caller's to free. Without a reply the thread's last result is -5 if the link failed, and 0 otherwise.
Outcome exchange(rpc_port_proxy_kv_master_h handle, const master::MethodRow &method, const Value *values);

/// The C++ type in which a caller passes an element.
template <class Element>
struct ArgumentOf {
    using Type = typename Wire<Element>::Arg;
};

template <class D>
struct ArgumentOf<describe::Callback<D>> {
    using Type = Owned<Delegate> *;
};

/// The values of a call, checked by the compiler against the method's description.
template <class M, class Ins = typename M::in, class Outs = typename M::out>
struct Arguments;

template <class M, class... I, class... O>
struct Arguments<M, describe::In<I...>, describe::Out<O...>> {
    Arguments(typename ArgumentOf<I>::Type... args, typename Wire<O>::Released *...outs) : values{args..., outs...} {}

    std::array<Value, sizeof...(I) + sizeof...(O)> values;
};

/// Calls a method with the arguments that its description demands, and pointers for its out values.
template <class M, class... Values>
Outcome exchange(rpc_port_proxy_kv_master_h handle, Values... values)
{
    return exchange(handle, master::row_of<M>, Arguments<M>{values...}.values.data());
}

} // namespace kv::proxy
