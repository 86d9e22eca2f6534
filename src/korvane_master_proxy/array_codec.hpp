// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire.hpp"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace kv::proxy {

/// An array as it is sent and read. Item is int, or a pointer to a record that the array owns.
template <class Item>
struct Array : Parcelable {
    Item *items = nullptr;
    int count = 0;   // as it stood on the wire, or as it was set
    int present = 0; // how many items there are: fewer than count when a read stopped early

    Array() = default;
    Array(const Array &) = delete;
    Array &operator=(const Array &) = delete;
    ~Array() { clear(); }

    void clear()
    {
        if constexpr (std::is_pointer_v<Item>)
            std::for_each(items, items + present, [](Item item) { destroy(item); });
        free(items);
        items = nullptr;
        count = present = capacity_ = 0;
    }

    /// Room for one more, made in growing steps: a count from outside is believed only as far as items follow it.
    bool reserve_next()
    {
        if (present < capacity_)
            return true;
        constexpr long first_step = 1024;
        const long wanted = std::min<long>(count, capacity_ > 0 ? 2L * capacity_ : first_step);
        void *grown = realloc(items, static_cast<std::size_t>(wanted) * sizeof(Item));
        if (!grown)
            return false;
        items = static_cast<Item *>(grown);
        capacity_ = static_cast<int>(wanted);
        return true;
    }

private:
    int capacity_ = 0;
};

/// What the items of an array are, by its description: how one is written, read and made again.
template <class A>
struct ItemCodec;

template <FixedText Name, class R>
struct ItemCodec<describe::RecordArray<Name, R>> {
    using Item = typename R::type *;

    static bool write(rpc_port_parcel_h parcel, Item item) { return write_parcelable(parcel, item); }
    static bool read(rpc_port_parcel_h parcel, Item item) { return read_parcelable(parcel, item); }
    /// An item to be read into; none when there is no memory.
    static bool make(Item &item, Caller caller)
    {
        item = RecordCodec<R>::create();
        if (!item)
            log::error(caller)("Failed to create handle"_fmt);
        return item != nullptr;
    }
};

template <FixedText Name>
struct ItemCodec<describe::IntArray<Name>> {
    using Item = int;

    static bool write(rpc_port_parcel_h parcel, int item) { return rpc_port_parcel_write_int32(parcel, item) == 0; }
    static bool read(rpc_port_parcel_h parcel, int &item) { return rpc_port_parcel_read_int32(parcel, &item) == 0; }
    static bool make(int &item, Caller)
    {
        item = -1;
        return true;
    }
};

template <class A>
using ArrayValue = Array<typename ItemCodec<A>::Item>;

template <class A>
struct ArrayCodec {
    using Type = ArrayValue<A>;
    using Codec = ItemCodec<A>;

    static void to(rpc_port_parcel_h parcel, void *data)
    {
        if (!parcel || !data) {
            log::error({concat<"__", A::text, "_to">.text, __LINE__})("Invalid parameter"_fmt);
            return;
        }
        auto &array = *static_cast<Type *>(data);
        array.complete = rpc_port_parcel_write_array_count(parcel, array.present) == 0;
        for (int i = 0; array.complete && i < array.present; ++i)
            array.complete = Codec::write(parcel, array.items[i]);
    }

    static void from(rpc_port_parcel_h parcel, void *data)
    {
        constexpr Caller self{concat<"__", A::text, "_from">.text, __LINE__};
        if (!parcel || !data) {
            log::error(self)("Invalid parameter"_fmt);
            return;
        }
        auto &array = *static_cast<Type *>(data);
        array.clear();
        array.complete = rpc_port_parcel_read_array_count(parcel, &array.count) == 0 && array.count >= 0;
        while (array.complete && array.present < array.count)
            array.complete = read_next(parcel, array, self);
    }

    static Type *create()
    {
        auto *array = make_zeroed<Type>();
        if (array)
            array->functions = {to, from};
        else
            log::error({concat<"rpc_port_", A::text, "_create">.text, __LINE__})("Out of memory"_fmt);
        return array;
    }

private:
    static bool read_next(rpc_port_parcel_h parcel, Type &array, Caller self)
    {
        if (!array.reserve_next()) {
            log::error(self)("Out of memory"_fmt);
            return false;
        }
        if (!Codec::make(array.items[array.present], self))
            return false;
        // Counted before it is read, so that a half-read item is released with the others.
        return Codec::read(parcel, array.items[array.present++]);
    }
};

template <class A, FixedText Name>
struct Wire<describe::Arr<A, Name>> {
    static constexpr char letter = letter_of::parcelable;
    using Arg = ArrayValue<A> *;
    using Held = Owned<ArrayValue<A>>;
    using View = ArrayValue<A> *;

    static bool write(rpc_port_parcel_h parcel, Arg array) { return write_parcelable(parcel, array); }
    static bool read(rpc_port_parcel_h parcel, Held &array)
    {
        array.reset(ArrayCodec<A>::create());
        return array && read_parcelable(parcel, array.get());
    }
    static View view(const Held &held) { return held.get(); }
};

} // namespace kv::proxy
