// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "name_table.hpp"

#include <cstdint>

/// A method as data: one routine walks such rows, so that a method costs the library a row and no code.
namespace kv::master {

/// The type of an argument or an out value. Out values come after all arguments.
enum class ValueType : std::uint8_t {
    end, // no more values
    int32,
    boolean,
    string,
    parcelable, // a record or an array
    delegate,
    out_int32,
    out_boolean,
    out_string,
};

constexpr bool is_argument(ValueType type)
{
    return type != ValueType::end && type <= ValueType::delegate;
}

/// The lowest agent version as gates compare it. 1.0 is the first: an agent whose version cannot be read passes, too.
template <class Method>
inline constexpr int minimum_version = Method::since > since(1, 0) ? Method::since : any_agent;

inline constexpr int max_values = 4;

/// Rows hold no pointers, so that the loader has nothing to relocate in them.
struct MethodRow {
    std::uint16_t name_offset;
    std::uint8_t id;
    ValueType values[max_values + 1]{}; // ends with ValueType::end

    const char *name() const;
};

template <FixedText Name>
constexpr ValueType value_type(describe::Int32<Name>)
{
    return ValueType::int32;
}

template <FixedText Name>
constexpr ValueType value_type(describe::Bool<Name>)
{
    return ValueType::boolean;
}

template <FixedText Name>
constexpr ValueType value_type(describe::String<Name>)
{
    return ValueType::string;
}

template <class Record, FixedText Name>
constexpr ValueType value_type(describe::Rec<Record, Name>)
{
    return ValueType::parcelable;
}

template <class Array, FixedText Name>
constexpr ValueType value_type(describe::Arr<Array, Name>)
{
    return ValueType::parcelable;
}

template <class Delegate>
constexpr ValueType value_type(describe::Callback<Delegate>)
{
    return ValueType::delegate;
}

void no_reply_has_such_an_out_value(); // not constexpr, so that a call of it does not compile

/// The type as an out value. Only scalars are out values; an element of another type does not compile.
template <class Element>
consteval ValueType out_type(Element element)
{
    switch (value_type(element)) {
    case ValueType::int32: return ValueType::out_int32;
    case ValueType::boolean: return ValueType::out_boolean;
    case ValueType::string: return ValueType::out_string;
    default: no_reply_has_such_an_out_value(); return ValueType::end;
    }
}

namespace detail {

template <class Method, class... I, class... O>
consteval MethodRow method_row(describe::In<I...>, describe::Out<O...>)
{
    static_assert(sizeof...(I) + sizeof...(O) <= max_values);
    static_assert(Method::id > 0 && Method::id <= UINT8_MAX);
    return {names.offset_of(Method::name), Method::id, {value_type(I{})..., out_type(O{})...}};
}

} // namespace detail

inline const char *MethodRow::name() const
{
    return names.at(name_offset);
}

template <class Method>
inline constexpr MethodRow row_of = detail::method_row<Method>(typename Method::in{}, typename Method::out{});

} // namespace kv::master
