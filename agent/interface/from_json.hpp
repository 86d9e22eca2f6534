// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/arguments.hpp"
#include "agent/json/kind.hpp"
#include "parcel.hpp"

#include <optional>
#include <stdexcept>

/// Reads described values from JSON. All functions throw std::invalid_argument with the name of the value and what it
/// must be.
namespace kv::virtual_agent {

[[noreturn]] inline void wrong_value(const char *name, const char *wanted, const std::string &kind)
{
    throw std::invalid_argument{std::string{name} + " must be " + wanted + ", not " + kind};
}

template <FixedText Name>
int from_json(describe::Int32<Name>, const cJSON *value)
{
    if (const std::optional<int> number = whole_number(value))
        return *number;
    wrong_value(Name.text, "a whole number of 32 bits", number_or_kind_of(value));
}

template <FixedText Name>
bool from_json(describe::Bool<Name>, const cJSON *value)
{
    if (!cJSON_IsBool(value))
        wrong_value(Name.text, "true or false", kind_of(value));
    return cJSON_IsTrue(value);
}

/// Some events carry JSON inside a string, so an object or an array is accepted and read as its text.
template <FixedText Name>
CText from_json(describe::String<Name>, const cJSON *value)
{
    if (cJSON_IsString(value))
        return CText::copy(value->valuestring);
    if (cJSON_IsObject(value) || cJSON_IsArray(value))
        return CText::copy(text_of(value).c_str());
    wrong_value(Name.text, "a text", kind_of(value));
}

template <class R>
Owned<typename R::type> record_from_json(const char *name, const cJSON *value)
{
    if (!cJSON_IsObject(value))
        wrong_value(name, "an object", kind_of(value));
    Owned<typename R::type> record{master::RecordCodec<R>::create()};
    if (!record)
        throw std::bad_alloc{};
    int known = 0;
    describe::for_each(typename R::fields{}, [&]<class F>() {
        // A missing field stays 0 or empty.
        if (const cJSON *field = cJSON_GetObjectItemCaseSensitive(value, F::element::name)) {
            record.get()->*F::member = from_json(typename F::element{}, field);
            ++known;
        }
    });
    if (known != cJSON_GetArraySize(value))
        wrong_value(name, "an object with that record's fields only", "one with others");
    return record;
}

template <class R, FixedText Name>
Owned<typename R::type> from_json(describe::Rec<R, Name>, const cJSON *value)
{
    return record_from_json<R>(Name.text, value);
}

template <FixedText Name, class R>
typename R::type *item_from_json(describe::RecordArray<Name, R>, const char *name, const cJSON *value)
{
    return record_from_json<R>(name, value).release();
}
template <FixedText Name>
int item_from_json(describe::IntArray<Name>, const char *, const cJSON *value)
{
    return from_json(describe::Int32<Name>{}, value);
}

template <class A, FixedText Name>
Owned<master::ArrayValue<A>> from_json(describe::Arr<A, Name>, const cJSON *value)
{
    if (!cJSON_IsArray(value))
        wrong_value(Name.text, "an array", kind_of(value));
    Owned<master::ArrayValue<A>> array{master::ArrayCodec<A>::create()};
    if (!array)
        throw std::bad_alloc{};
    array->count = cJSON_GetArraySize(value);
    for (const cJSON *item = value->child; item; item = item->next) {
        if (!array->reserve_next())
            throw std::bad_alloc{};
        array->items[array->present] = item_from_json(A{}, Name.text, item);
        ++array->present;
    }
    return array;
}

} // namespace kv::virtual_agent
