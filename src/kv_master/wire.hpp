// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "describe.hpp"
#include "record_shape.hpp"
#include "record_types.hpp"

#include <rpc_port.h>

/// Writes values of described elements to parcels, and reads them.
namespace kv::master {

/// The C++ types of an element: Arg is passed to a call that sends it, Received owns it after it is read, View is passed to a
/// callback, Released is stored in an out argument. Elements of the same type share one instance, Shared: the name makes
/// no difference.
template <class Element>
struct Wire;

struct IntWire {
    using Shared = IntWire;
    using Arg = int;
    using Received = int;
    using View = int;
    using Released = int;

    static bool write(rpc_port_parcel_h parcel, int value) { return rpc_port_parcel_write_int32(parcel, value) == 0; }
    static bool read(rpc_port_parcel_h parcel, int &value) { return rpc_port_parcel_read_int32(parcel, &value) == 0; }
    static int view(int received) { return received; }
};

struct BoolWire {
    using Shared = BoolWire;
    using Arg = bool;
    using Received = bool;
    using View = bool;
    using Released = bool;

    static bool write(rpc_port_parcel_h parcel, bool value) { return rpc_port_parcel_write_bool(parcel, value) == 0; }
    static bool read(rpc_port_parcel_h parcel, bool &value) { return rpc_port_parcel_read_bool(parcel, &value) == 0; }
    static bool view(bool received) { return received; }
};

struct TextWire {
    using Shared = TextWire;
    using Arg = const char *;
    using Received = CText;
    using View = const char *;
    using Released = char *;

    // Null is written as the empty text.
    static bool write(rpc_port_parcel_h parcel, const char *value)
    {
        return rpc_port_parcel_write_string(parcel, value ? value : "") == 0;
    }
    static bool write(rpc_port_parcel_h parcel, const CText &value) { return write(parcel, value.get()); }
    static bool read(rpc_port_parcel_h parcel, CText &value)
    {
        return rpc_port_parcel_read_string(parcel, value.out()) == 0;
    }
    static const char *view(const CText &received) { return received.get(); }
};

template <FixedText Name>
struct Wire<describe::Int32<Name>> : IntWire {
};

template <FixedText Name>
struct Wire<describe::Bool<Name>> : BoolWire {
};

template <FixedText Name>
struct Wire<describe::String<Name>> : TextWire {
};

template <FixedText Name>
struct Wire<describe::Secret<Name>> : TextWire {
};

template <const auto &Documents, FixedText Name>
struct Wire<describe::DocumentText<Documents, Name>> : TextWire {
};

inline bool write_parcelable(rpc_port_parcel_h parcel, Parcelable *value)
{
    return rpc_port_parcel_write(parcel, &value->functions, value) == 0 && value->complete;
}

inline bool read_parcelable(rpc_port_parcel_h parcel, Parcelable *value)
{
    return rpc_port_parcel_read(parcel, &value->functions, value) == 0 && value->complete;
}

/// Writes, reads and creates records of one type.
template <class R>
struct RecordCodec {
    using Type = typename R::type;

    static void to(rpc_port_parcel_h parcel, void *data) { write_record(parcel, data, shape); }
    static void from(rpc_port_parcel_h parcel, void *data) { read_record(parcel, data, shape); }
    static Parcelable *make() { return prepared(make_zeroed<Type>(), shape); }
    static void unmake(Parcelable *record) { destroy(static_cast<Type *>(record)); }
    static Type *create() { return static_cast<Type *>(make()); }

    static constexpr RecordShape shape{R::name,          {to, from}, FieldTable<typename R::fields>::rows,
                                       R::fields::count, make,       unmake};
};

template <class R, FixedText Name>
struct Wire<describe::Rec<R, Name>> {
    using Shared = Wire;
    using Arg = typename R::type *;
    using Received = Owned<typename R::type>;
    using View = typename R::type *;

    static bool write(rpc_port_parcel_h parcel, Arg record) { return write_parcelable(parcel, record); }
    static bool read(rpc_port_parcel_h parcel, Received &record)
    {
        record.reset(RecordCodec<R>::create());
        return record && read_parcelable(parcel, record.get());
    }
    static View view(const Received &received) { return received.get(); }
};

} // namespace kv::master
