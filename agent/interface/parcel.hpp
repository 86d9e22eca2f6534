// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/array_codec.hpp"
#include "src/kv_master/delegate_codec.hpp"
#include "src/kv_master/interface.hpp"

#include <rpc_port_stub.h>

#include <memory>
#include <string>
#include <string_view>

/// Parcels as the agent reads and writes them.
namespace kv::virtual_agent {

using master::AnyDelegate;
using master::DelegateOf;
using master::Wire;

struct DestroyParcel {
    using pointer = rpc_port_parcel_h;
    void operator()(rpc_port_parcel_h parcel) const { rpc_port_parcel_destroy(parcel); }
};
using Parcel = std::unique_ptr<void, DestroyParcel>;

/// An empty parcel. Throws std::bad_alloc.
inline Parcel new_parcel()
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create(&parcel) != 0)
        throw std::bad_alloc{};
    return Parcel{parcel};
}

/// A parcel with the given bytes. Throws std::bad_alloc.
inline Parcel parcel_of(const std::string &bytes)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_raw(&parcel, bytes.data(), bytes.size()) != 0)
        throw std::bad_alloc{};
    return Parcel{parcel};
}

/// The bytes of a parcel, owned by it.
inline std::string_view bytes_of(rpc_port_parcel_h parcel)
{
    const void *bytes = nullptr;
    std::size_t size = 0;
    if (rpc_port_parcel_get_raw(parcel, &bytes, &size) != 0)
        return {};
    return {static_cast<const char *>(bytes), size};
}

/// The type in which a handler returns an out value.
template <class Element>
struct OutValue {
    using Type = typename Wire<Element>::Received;
    static typename Wire<Element>::Arg arg(Type value) { return value; }
};

template <FixedText Name>
struct OutValue<describe::String<Name>> {
    using Type = std::string;
    static const char *arg(const std::string &value) { return value.c_str(); }
};

template <FixedText Name>
struct OutValue<describe::Secret<Name>> : OutValue<describe::String<Name>> {
};

template <const auto &Documents, FixedText Name>
struct OutValue<describe::DocumentText<Documents, Name>> : OutValue<describe::String<Name>> {
};

} // namespace kv::virtual_agent
