// SPDX-License-Identifier: Apache-2.0
#include "array_codec.hpp"

namespace kv::master {

namespace {

using reader_log = LogOf<"__", "_from">;

/// A longer array is not read. An empty item takes 4 bytes in a parcel and some 100 in memory, so the longest parcel could
/// make an array of 400 MB.
constexpr int max_items_read = 65'536;

Caller named(const ArrayShape &shape, int line = __builtin_LINE())
{
    return {shape.name, line};
}

bool read_next(rpc_port_parcel_h parcel, AnyArray &array, const ArrayShape &shape)
{
    if (!shape.reserve_next(array)) {
        reader_log::error(named(shape))("Out of memory"_fmt);
        return false;
    }
    if (!shape.make_next(array)) {
        reader_log::error(named(shape))("Failed to create handle"_fmt);
        return false;
    }
    // The item counts before it is read, so that the array releases it also after a failed read.
    return shape.read(parcel, array, array.present++);
}

} // namespace

void *AnyArray::with_room(void *items, std::size_t item_size)
{
    if (present < capacity_)
        return items;
    constexpr long first_step = 1024;
    const long wanted = std::min<long>(count, capacity_ > 0 ? 2L * capacity_ : first_step);
    void *grown = realloc(items, static_cast<std::size_t>(wanted) * item_size);
    if (grown)
        capacity_ = static_cast<int>(wanted);
    return grown;
}

void write_array(rpc_port_parcel_h parcel, void *data, const ArrayShape &shape)
{
    if (!parcel || !data) {
        LogOf<"__", "_to">::error(named(shape))("Invalid parameter"_fmt);
        return;
    }
    auto &array = *static_cast<AnyArray *>(data);
    array.complete = rpc_port_parcel_write_array_count(parcel, array.present) == 0;
    for (int i = 0; array.complete && i < array.present; ++i)
        array.complete = shape.write(parcel, array, i);
}

void read_array(rpc_port_parcel_h parcel, void *data, const ArrayShape &shape)
{
    if (!parcel || !data) {
        reader_log::error(named(shape))("Invalid parameter"_fmt);
        return;
    }
    auto &array = *static_cast<AnyArray *>(data);
    shape.clear(array);
    array.complete = rpc_port_parcel_read_array_count(parcel, &array.count) == 0 && array.count >= 0 &&
                     array.count <= max_items_read;
    while (array.complete && array.present < array.count)
        array.complete = read_next(parcel, array, shape);
}

AnyArray *prepared(AnyArray *array, const ArrayShape &shape)
{
    if (array)
        array->functions = shape.functions;
    else
        LogOf<"rpc_port_", "_create">::error(named(shape))("Out of memory"_fmt);
    return array;
}

} // namespace kv::master
