// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "array_codec.hpp"
#include "connection.hpp"
#include "interface.hpp"

/// Callbacks that go with requests.
namespace kv::proxy {

/// One callback in the agent's hands. From malloc, and freed with free.
struct Delegate : Parcelable {
    int id = 0;
    int seq_id = 0;
    void (*callback)() = nullptr; // of the type that the delegate's description says
    bool once = false;
    void *user_data = nullptr;
    bool listed = false; // on the proxy's list, which owns it from then on
};

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

/// Writes id, sequence number and once.
void write_delegate(rpc_port_parcel_h parcel, void *data, Caller caller);
/// Reads the same; an agent does that.
void read_delegate(rpc_port_parcel_h parcel, void *data, Caller caller);

template <class D>
struct DelegateCodec {
    static void to(rpc_port_parcel_h parcel, void *data)
    {
        write_delegate(parcel, data, {concat<"__kv_master_", D::text, "_to">.text, __LINE__});
    }
    static void from(rpc_port_parcel_h parcel, void *data)
    {
        read_delegate(parcel, data, {concat<"__kv_master_", D::text, "_from">.text, __LINE__});
    }
};

/// Numbers the new delegate and logs it.
void register_delegate(Delegate &delegate, int id, Caller caller);

template <class D>
TypedDelegate<D> *create_delegate(DelegateCallback<D> callback, bool once, void *user_data,
                                  Caller caller = Caller::here())
{
    auto *delegate = make_zeroed<TypedDelegate<D>>();
    if (!delegate) {
        log::error(caller)("Out of memory"_fmt);
        return nullptr;
    }
    delegate->functions = {DelegateCodec<D>::to, DelegateCodec<D>::from};
    delegate->callback = reinterpret_cast<void (*)()>(callback);
    delegate->once = once;
    delegate->user_data = user_data;
    register_delegate(*delegate, D::id, caller);
    return delegate;
}

int dispose_delegate(rpc_port_proxy_kv_master_h h, Delegate *delegate, Caller caller = Caller::here());

template <class D>
struct Wire<describe::Callback<D>> {
    using Arg = TypedDelegate<D> *;

    static bool valid(Arg delegate) { return delegate != nullptr; }
    static bool write(rpc_port_parcel_h parcel, Arg delegate) { return write_parcelable(parcel, delegate); }
};

} // namespace kv::proxy
