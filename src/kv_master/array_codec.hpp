// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire.hpp"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace kv::proxy {

/// What all arrays have, whatever their items.
struct AnyArray : Parcelable {
    int count = 0;   // as it stood on the wire, or as it was set
    int present = 0; // how many items there are: fewer than count when a read stopped early

protected:
    /// The items' memory, with room for one more, made in growing steps: a count from outside is believed only as far as
    /// items follow it. None, with the memory left as it is, when there is no more.
    void *with_room(void *items, std::size_t item_size);

    int capacity_ = 0;
};

/// An array as it is sent and read. Item is int, or a pointer to a record that the array owns.
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

/// What the items of an array are, by its description: how one is written, read and made again.
template <class A>
struct ItemCodec;

template <FixedText Name, class R>
struct ItemCodec<describe::RecordArray<Name, R>> {
    using Item = typename R::type *;

    static bool write(rpc_port_parcel_h parcel, Item item) { return write_parcelable(parcel, item); }
    static bool read(rpc_port_parcel_h parcel, Item item) { return read_parcelable(parcel, item); }
    /// An item to be read into; none when there is no memory.
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

/// What differs from array to array.
struct ArrayShape {
    const char *name;
    rpc_port_parcelable_t functions;
    bool (*write)(rpc_port_parcel_h parcel, const AnyArray &array, int index);
    void (*clear)(AnyArray &array);
    bool (*reserve_next)(AnyArray &array);
    /// Makes the item behind those that are present; there is room for it.
    bool (*make_next)(AnyArray &array);
    bool (*read)(rpc_port_parcel_h parcel, AnyArray &array, int index);
};

void write_array(rpc_port_parcel_h parcel, void *data, const ArrayShape &shape);
void read_array(rpc_port_parcel_h parcel, void *data, const ArrayShape &shape);
/// Gives a new array its functions; there is none when there was no memory, which is logged.
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
