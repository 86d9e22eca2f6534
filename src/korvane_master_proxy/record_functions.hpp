// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/array_codec.hpp"

/// The implementation of the named functions of records and arrays. Each logs under the name of its caller.
namespace kv::proxy {

using namespace master;

/// Returns whether a required argument is given, and logs if it is not.
bool is_given(bool given, Caller caller);

template <class T>
int hand_out(T *created, T **out)
{
    if (!created)
        return -1;
    *out = created;
    return 0;
}

template <class R>
int create_record(typename R::type **out, Caller caller = Caller::here())
{
    return is_given(out, caller) ? hand_out(RecordCodec<R>::create(), out) : -1;
}

template <class T>
int destroy_record(T *record, Caller caller = Caller::here())
{
    if (!is_given(record, caller))
        return -1;
    destroy(record);
    return 0;
}

template <class R>
int clone_record(typename R::type *source, typename R::type **copy, Caller caller = Caller::here())
{
    if (!is_given(copy, caller))
        return -1;
    return hand_out(static_cast<typename R::type *>(cloned(source, RecordCodec<R>::shape)), copy);
}

int set_text(Parcelable *record, CText Parcelable::*field, const char *value, Caller caller);
int set_number(Parcelable *record, int Parcelable::*field, int value, Caller caller);
int get_text(Parcelable *record, CText Parcelable::*field, const char *name, char **out, Caller caller);
int get_number(Parcelable *record, int Parcelable::*field, int *out, Caller caller);

template <class T>
int set_text(T *record, CText T::*field, const char *value, Caller caller = Caller::here())
{
    return set_text(record, static_cast<CText Parcelable::*>(field), value, caller);
}

template <class T>
int set_number(T *record, int T::*field, int value, Caller caller = Caller::here())
{
    return set_number(record, static_cast<int Parcelable::*>(field), value, caller);
}

template <class T>
int get_text(T *record, CText T::*field, const char *name, char **out, Caller caller = Caller::here())
{
    return get_text(record, static_cast<CText Parcelable::*>(field), name, out, caller);
}

template <class T>
int get_number(T *record, int T::*field, int *out, Caller caller = Caller::here())
{
    return get_number(record, static_cast<int Parcelable::*>(field), out, caller);
}

template <class A>
int create_array(ArrayValue<A> **out, Caller caller = Caller::here())
{
    return is_given(out, caller) ? hand_out(ArrayCodec<A>::create(), out) : -1;
}

template <FixedText Name>
bool clone_item(describe::IntArray<Name>, int item, int &copy)
{
    copy = item;
    return true;
}

template <FixedText Name, class R>
bool clone_item(describe::RecordArray<Name, R>, typename R::type *item, typename R::type *&copy)
{
    return hand_out(static_cast<typename R::type *>(cloned(item, RecordCodec<R>::shape)), &copy) == 0;
}

/// Appends a copy of the item at the same index of `items`.
using CloneNext = bool (*)(AnyArray &array, const void *items);

int set_items(AnyArray *array, const void *items, int count, const ArrayShape &shape, CloneNext clone_next,
              Caller caller);

template <class A>
int set_items(ArrayValue<A> *array, typename ItemCodec<A>::Item const *items, int count, Caller caller = Caller::here())
{
    using Item = typename ItemCodec<A>::Item;

    return set_items(
        array, items, count, ArrayCodec<A>::shape,
        [](AnyArray &any, const void *from) {
            auto &typed = static_cast<ArrayValue<A> &>(any);
            return clone_item(A{}, static_cast<const Item *>(from)[any.present], typed.items[any.present]);
        },
        caller);
}

} // namespace kv::proxy
