// SPDX-License-Identifier: Apache-2.0
#include "record_shape.hpp"

#include "wire.hpp"

namespace kv::master {

namespace {

Caller named(const RecordShape &shape, int line = __builtin_LINE())
{
    return {shape.name, line};
}

template <FixedText Suffix>
[[gnu::noinline, gnu::cold]] void refuse(const RecordShape &shape)
{
    LogOf<"__", Suffix>::error(named(shape))("Invalid parameter"_fmt);
}

bool write_fields(rpc_port_parcel_h parcel, const Parcelable &record, const RecordShape &shape)
{
    for (const FieldShape *field = shape.fields, *const end = field + shape.count; field != end; ++field)
        if (!(field->text ? TextWire::write(parcel, record.*field->text)
                          : IntWire::write(parcel, record.*field->number)))
            return false;
    return true;
}

bool read_fields(rpc_port_parcel_h parcel, Parcelable &record, const RecordShape &shape)
{
    for (const FieldShape *field = shape.fields, *const end = field + shape.count; field != end; ++field)
        if (!(field->text ? TextWire::read(parcel, record.*field->text) : IntWire::read(parcel, record.*field->number)))
            return false;
    return true;
}

} // namespace

void write_record(rpc_port_parcel_h parcel, void *data, const RecordShape &shape)
{
    if (!parcel)
        return refuse<"_to">(shape);
    if (!data) // asked for together, both would cost each record more
        return refuse<"_to">(shape);
    auto &record = *static_cast<Parcelable *>(data);
    record.complete = write_fields(parcel, record, shape);
}

void read_record(rpc_port_parcel_h parcel, void *data, const RecordShape &shape)
{
    if (!parcel)
        return refuse<"_from">(shape);
    if (!data) // asked for together, both would cost each record more
        return refuse<"_from">(shape);
    auto &record = *static_cast<Parcelable *>(data);
    record.complete = read_fields(parcel, record, shape);
}

Parcelable *prepared(Parcelable *record, const RecordShape &shape)
{
    if (record)
        record->functions = shape.functions;
    else
        LogOf<"rpc_port_", "_create">::error(named(shape))("Out of memory"_fmt);
    return record;
}

namespace {

using clone_log = LogOf<"rpc_port_", "_clone">;

bool copy_fields(const Parcelable &from, Parcelable &to, const RecordShape &shape)
{
    for (const FieldShape *field = shape.fields, *const end = field + shape.count; field != end; ++field) {
        if (!field->text) {
            to.*field->number = from.*field->number;
            continue;
        }
        const char *text = (from.*field->text).get();
        if (!text)
            continue;
        (to.*field->text).fill(strdup(text)); // a new record has no texts
        if (!(to.*field->text)) {
            clone_log::error(named(shape))("Failed to duplicate h->%s"_fmt, field->name);
            return false;
        }
    }
    return true;
}

} // namespace

Parcelable *cloned(const Parcelable *source, const RecordShape &shape)
{
    if (!source) {
        clone_log::error(named(shape))("Invalid parameter"_fmt);
        return nullptr;
    }
    Parcelable *clone = shape.create();
    if (!clone) {
        clone_log::error(named(shape))("Failed to create %s handle"_fmt, shape.name);
        return nullptr;
    }
    if (copy_fields(*source, *clone, shape))
        return clone;
    shape.destroy(clone);
    return nullptr;
}

} // namespace kv::master
