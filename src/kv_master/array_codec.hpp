// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire.hpp"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace kv::master {

/// The part of an array that does not depend on the type of its items.
struct AnyArray : Parcelable {
    int count = 0;   // the count on the wire, or the count that was set
    int present = 0; // the number of items: less than count after a read that failed

protected:
    /// Returns the memory of the items with room for one more, or null, with the memory unchanged, without memory. It
    /// grows in steps, so that a false count from a peer costs no more than the items that follow it.
    void *with_room(void *items, std::size_t item_size);

    int capacity_ = 0;
};

/// An array. Item is int, or a pointer to a record that the array owns.
template <class Item>
struct Array : AnyArray {
    Item *items = nullptr;

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

    bool reserve_next()
    {
        void *memory = with_room(items, sizeof(Item));
        if (memory)
            items = static_cast<Item *>(memory);
        return memory != nullptr;
    }
};

/// Writes, reads and creates an item of a described array.
template <class A>
struct ItemCodec;

template <FixedText Name, class R>
struct ItemCodec<describe::RecordArray<Name, R>> {
    using Item = typename R::type *;

    static bool write(rpc_port_parcel_h parcel, Item item) { return write_parcelable(parcel, item); }
    static bool read(rpc_port_parcel_h parcel, Item item) { return read_parcelable(parcel, item); }
    /// Creates an item to read into. Returns false without memory.
    static bool make(Item &item)
    {
        item = RecordCodec<R>::create();
        return item != nullptr;
    }
};

template <FixedText Name>
struct ItemCodec<describe::IntArray<Name>> {
    using Item = int;

    static bool write(rpc_port_parcel_h parcel, int item) { return IntWire::write(parcel, item); }
    static bool read(rpc_port_parcel_h parcel, int &item) { return IntWire::read(parcel, item); }
    static bool make(int &item)
    {
        item = -1;
        return true;
    }
};

template <class A>
using ArrayValue = Array<typename ItemCodec<A>::Item>;

/// An array type as data.
struct ArrayShape {
    const char *name;
    rpc_port_parcelable_t functions;
    bool (*write)(rpc_port_parcel_h parcel, const AnyArray &array, int index);
    void (*clear)(AnyArray &array);
    bool (*reserve_next)(AnyArray &array);
    /// Creates the item after those present. There is room for it.
    bool (*make_next)(AnyArray &array);
    bool (*read)(rpc_port_parcel_h parcel, AnyArray &array, int index);
};

void write_array(rpc_port_parcel_h parcel, void *data, const ArrayShape &shape);
void read_array(rpc_port_parcel_h parcel, void *data, const ArrayShape &shape);
/// Sets the functions of a new array. Null stays null and is logged as a lack of memory.
AnyArray *prepared(AnyArray *array, const ArrayShape &shape);

template <class A>
struct ArrayCodec {
    using Type = ArrayValue<A>;
    using Codec = ItemCodec<A>;

    static void to(rpc_port_parcel_h parcel, void *data) { write_array(parcel, data, shape); }
    static void from(rpc_port_parcel_h parcel, void *data) { read_array(parcel, data, shape); }
    static Type *create() { return static_cast<Type *>(prepared(make_zeroed<Type>(), shape)); }
    static Type &typed(AnyArray &array) { return static_cast<Type &>(array); }

    static constexpr ArrayShape shape{A::name,
                                      {to, from},
                                      [](rpc_port_parcel_h parcel, const AnyArray &array, int index) {
                                          return Codec::write(parcel, static_cast<const Type &>(array).items[index]);
                                      },
                                      [](AnyArray &array) { typed(array).clear(); },
                                      [](AnyArray &array) { return typed(array).reserve_next(); },
                                      [](AnyArray &array) { return Codec::make(typed(array).items[array.present]); },
                                      [](rpc_port_parcel_h parcel, AnyArray &array, int index) {
                                          return Codec::read(parcel, typed(array).items[index]);
                                      }};
};

template <class A, FixedText Name>
struct Wire<describe::Arr<A, Name>> {
    using Shared = Wire;
    using Arg = ArrayValue<A> *;
    using Received = Owned<ArrayValue<A>>;
    using View = ArrayValue<A> *;

    static bool write(rpc_port_parcel_h parcel, Arg array) { return write_parcelable(parcel, array); }
    static bool read(rpc_port_parcel_h parcel, Received &array)
    {
        array.reset(ArrayCodec<A>::create());
        return array && read_parcelable(parcel, array.get());
    }
    static View view(const Received &received) { return received.get(); }
};

} // namespace kv::master
