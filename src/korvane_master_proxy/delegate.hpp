// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"
#include "src/kv_master/array_codec.hpp"
#include "src/kv_master/interface.hpp"
#include "src/kv_master/parcel.hpp"

#include <type_traits>

/// Delegates: what a request gives the agent to send events for.
namespace kv::proxy {

using master::log;
using master::Parcel;
using master::Parcelable;
using master::Wire;

/// A function whose type is known elsewhere.
using AnyFunction = void (*)();

/// Allocated with malloc and released with free; types derived from it have no destructor to run. The sequence number
/// identifies it for the life of the process; an address does not, since memory is used again.
struct Delegate : Parcelable {
    int id = 0;
    int seq_id = 0;
    AnyFunction callback = nullptr; // of the type that the delegate's description demands
    bool once = false;
    void *user_data = nullptr;
};

/// A delegate of one type.
template <class D>
struct TypedDelegate : Delegate {
};

template <class Values>
struct CallbackOf;

template <class... E>
struct CallbackOf<describe::In<E...>> {
    using Type = void (*)(void *user_data, typename Wire<E>::View... values);
};

/// The function that dispatch calls: the user data first, then the event's values.
template <class D>
using DelegateCallback = typename CallbackOf<typename D::values>::Type;

/// The name of a delegate type, for log lines.
const char *name_of_delegate(int id);

/// Initialises a zero-filled delegate with the next sequence number, and logs it. Null stays null and logs why.
Delegate *number_delegate(Delegate *zeroed, int id, AnyFunction callback, bool once, void *user_data);

/// Returns a new delegate, or null without memory.
Delegate *create_delegate(int id, AnyFunction callback, bool once, void *user_data);

template <class D>
TypedDelegate<D> *create_delegate(DelegateCallback<D> callback, bool once, void *user_data)
{
    // The type adds nothing to a delegate.
    return static_cast<TypedDelegate<D> *>(
        create_delegate(D::id, reinterpret_cast<AnyFunction>(callback), once, user_data));
}

/// Returns the delegate of this number on the proxy's list, or null. The types share the numbers.
Delegate *find_delegate(rpc_port_proxy_kv_master_h h, int seq_id);

/// Takes a delegate from the proxy's list and frees it. Returns -1, without a log line, if the list does not hold it.
int dispose_delegate(rpc_port_proxy_kv_master_h h, Delegate *delegate, int id);
int dispose_delegate(rpc_port_proxy_kv_master_h h, int seq_id);

} // namespace kv::proxy
