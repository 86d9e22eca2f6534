// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "array_codec.hpp"

/// What the named functions of records and arrays do. Each logs as the function in front of it.
namespace kv::proxy {

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
    if (!out) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    return hand_out(RecordCodec<R>::create(), out);
}

template <class T>
int destroy_record(T *record, Caller caller = Caller::here())
{
    if (!record) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    destroy(record);
    return 0;
}

template <FixedText Name>
bool copy_field(const CText &from, CText &to, Caller caller)
{
    to = CText::copy(from.get());
    if (from && !to) {
        log::error(caller)(Format<concat<"Failed to duplicate h->", Name>>{});
        return false;
    }
    return true;
}

template <FixedText>
bool copy_field(int from, int &to, Caller)
{
    to = from;
    return true;
}

template <class R>
int clone_record(typename R::type *source, typename R::type **copy, Caller caller = Caller::here())
{
    if (!source || !copy) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    Owned<typename R::type> clone{RecordCodec<R>::create()};
    if (!clone) {
        log::error(caller)(Format<concat<"Failed to create ", R::text, " handle">>{});
        return -1;
    }
    bool whole = true;
    describe::for_each(typename R::fields{}, [&]<class F>() {
        whole = whole && copy_field<F::element::text>(source->*F::member, clone.get()->*F::member, caller);
    });
    return whole ? hand_out(clone.release(), copy) : -1;
}

template <class T>
int set_text(T *record, CText T::*field, const char *value, Caller caller = Caller::here())
{
    if (!record || !value) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    (record->*field).reset();
    record->*field = CText::copy(value);
    if (record->*field)
        return 0;
    log::error(caller)("Failed to duplicate data"_fmt);
    return -1;
}

template <class T>
int set_number(T *record, int T::*field, int value, Caller caller = Caller::here())
{
    if (!record) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    record->*field = value;
    return 0;
}

template <FixedText Name, class T>
int get_text(T *record, CText T::*field, char **out, Caller caller = Caller::here())
{
    if (!record || !out) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    if (!(record->*field)) {
        log::error(caller)(Format<concat<"Invalid parameter: h->", Name, " is NULL">>{});
        return -1;
    }
    CText copy = CText::copy((record->*field).get());
    if (!copy) {
        log::error(caller)(Format<concat<"Failed to duplicate ", Name>>{});
        return -1;
    }
    *out = copy.release();
    return 0;
}

template <class T>
int get_number(T *record, int T::*field, int *out, Caller caller = Caller::here())
{
    if (!record || !out) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    *out = record->*field;
    return 0;
}

template <class A>
int create_array(ArrayValue<A> **out, Caller caller = Caller::here())
{
    if (!out) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    return hand_out(ArrayCodec<A>::create(), out);
}

template <FixedText Name>
bool clone_item(describe::IntArray<Name>, int item, int &copy, Caller)
{
    copy = item;
    return true;
}

template <FixedText Name, class R>
bool clone_item(describe::RecordArray<Name, R>, typename R::type *item, typename R::type *&copy, Caller caller)
{
    return clone_record<R>(item, &copy, caller) == 0;
}

template <class A>
int set_items(ArrayValue<A> *array, typename ItemCodec<A>::Item const *items, int count, Caller caller = Caller::here())
{
    if (!array || !items || count < 0) {
        log::error(caller)("Invalid parameter"_fmt);
        return -1;
    }
    array->clear();
    array->count = count;
    while (array->present < count) {
        if (!array->reserve_next()) {
            log::error(caller)("Out of memory"_fmt);
            return -1;
        }
        if (!clone_item(A{}, items[array->present], array->items[array->present], caller))
            return -1;
        ++array->present;
    }
    return 0;
}

} // namespace kv::proxy
