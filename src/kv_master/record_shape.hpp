// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "describe.hpp"
#include "log.hpp"
#include "record_types.hpp"

/// Records lowered to tables of fields, so that what is done with a record is written once for all of them.
namespace kv::proxy {

/// One field, in the terms of what every record derives from. It is a text or a number; the other pointer is none.
struct FieldShape {
    const char *name;
    CText Parcelable::*text;
    int Parcelable::*number;
};

struct RecordShape {
    const char *name;
    rpc_port_parcelable_t functions;
    const FieldShape *fields;
    int count;
    /// An empty record; none, with a line, when there is no memory.
    Parcelable *(*create)();
    void (*destroy)(Parcelable *record);
};

template <class T>
constexpr FieldShape field_shape(const char *name, CText T::*member)
{
    return {name, static_cast<CText Parcelable::*>(member), nullptr};
}

template <class T>
constexpr FieldShape field_shape(const char *name, int T::*member)
{
    return {name, nullptr, static_cast<int Parcelable::*>(member)};
}

template <class Fields>
struct FieldTable;

template <class... F>
struct FieldTable<describe::List<F...>> {
    static constexpr FieldShape rows[] = {field_shape(F::element::name, F::member)...};
};

/// The fields in wire order; the record remembers whether all of them crossed.
void write_record(rpc_port_parcel_h parcel, void *data, const RecordShape &shape);
void read_record(rpc_port_parcel_h parcel, void *data, const RecordShape &shape);

/// Gives a new record its functions; there is none when there was no memory, which is logged.
Parcelable *prepared(Parcelable *record, const RecordShape &shape);

/// A copy of its own; none, with the reason logged, when there is no memory.
Parcelable *cloned(const Parcelable &source, const RecordShape &shape, Caller caller);

} // namespace kv::proxy
