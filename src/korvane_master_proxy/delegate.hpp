// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"
#include "src/kv_master/array_codec.hpp"
#include "src/kv_master/interface.hpp"

/// Callbacks that go with requests.
namespace kv::proxy {

/// A function whose type is known elsewhere.
using AnyFunction = void (*)();

/// One callback in the agent's hands. From malloc, and freed with free.
struct Delegate : Parcelable {
    int id = 0;
    int seq_id = 0;
    AnyFunction callback = nullptr; // of the type that the delegate's description says
    bool once = false;
    void *user_data = nullptr;
    bool listed = false; // on the proxy's list, which owns it from then on
};

/// One whose type the compiler knows.
template <class D>
struct TypedDelegate : Delegate {
};

template <class Values>
struct CallbackOf;

template <class... E>
struct CallbackOf<describe::In<E...>> {
    using Type = void (*)(void *user_data, typename Wire<E>::View... values);
};

/// What a delegate calls: the user data, then the event's values.
template <class D>
using DelegateCallback = typename CallbackOf<typename D::values>::Type;

/// By id; log lines show it.
const char *name_of_delegate(int id);

/// Writes id, sequence number and once. The id is that of the type, for the log.
void write_delegate(rpc_port_parcel_h parcel, void *data, int id);
/// Reads the same; an agent does that.
void read_delegate(rpc_port_parcel_h parcel, void *data, int id);

template <class D>
struct DelegateCodec {
    static void to(rpc_port_parcel_h parcel, void *data) { write_delegate(parcel, data, D::id); }
    static void from(rpc_port_parcel_h parcel, void *data) { read_delegate(parcel, data, D::id); }
};

/// A numbered delegate, or none when there is no memory.
Delegate *create_delegate(int id, rpc_port_parcelable_t functions, AnyFunction callback, bool once, void *user_data);

template <class D>
TypedDelegate<D> *create_delegate(DelegateCallback<D> callback, bool once, void *user_data)
{
    // The type adds nothing to what a delegate is.
    return static_cast<TypedDelegate<D> *>(create_delegate(D::id, {DelegateCodec<D>::to, DelegateCodec<D>::from},
                                                           reinterpret_cast<AnyFunction>(callback), once, user_data));
}

/// Takes a delegate of this type from the proxy's list and frees it. -1, silently, for one that is not in the list.
int dispose_delegate(rpc_port_proxy_kv_master_h h, Delegate *delegate, int id);

template <class D>
struct Wire<describe::Callback<D>> {
    static constexpr char letter = letter_of::delegate;
    using Arg = TypedDelegate<D> *;
};

} // namespace kv::proxy
