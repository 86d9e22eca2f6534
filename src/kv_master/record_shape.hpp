// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "describe.hpp"
#include "log.hpp"
#include "record_types.hpp"

/// Records as tables of fields, so that one routine of each kind serves all records.
namespace kv::master {

/// One field, as a member of the base of all records. It is a text or a number; the other pointer is null.
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
    /// Returns an empty record, or null with a log line without memory.
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

/// Write and read the fields in wire order. Afterwards the record's `complete` is true if all were transferred.
void write_record(rpc_port_parcel_h parcel, void *data, const RecordShape &shape);
void read_record(rpc_port_parcel_h parcel, void *data, const RecordShape &shape);

/// Sets the functions of a new record. Null stays null and is logged as a lack of memory.
Parcelable *prepared(Parcelable *record, const RecordShape &shape);

/// Returns a copy. Returns null, with a log line of the record's clone function, if there is no source or no memory.
Parcelable *cloned(const Parcelable *source, const RecordShape &shape);

} // namespace kv::master
