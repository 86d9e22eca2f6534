// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "delegate.hpp"

#include <array>

/// The description lowered to what one routine walks: a method costs the device one short text and no code.
namespace kv::proxy {

/// An argument of a call, or where an out value goes. Which of them it is, the method's signature tells.
union Value {
    constexpr Value(int value) : number(value) {}
    constexpr Value(bool value) : flag(value) {}
    constexpr Value(const char *value) : text(value) {}
    constexpr Value(Parcelable *value) : parcelable(value) {}
    constexpr Value(void *value) : out(value) {}

    int number;
    bool flag;
    const char *text;
    Parcelable *parcelable;
    void *out;
};

/// In a signature the arguments are small letters, the out values the same in capitals after them.
constexpr bool is_argument(char letter)
{
    return letter >= 'a';
}

constexpr char argument_letter(char out_letter)
{
    return static_cast<char>(out_letter - 'A' + 'a');
}

template <class M, class... I, class... O>
constexpr auto method_text(describe::In<I...>, describe::Out<O...>)
{
    FixedText<1 + sizeof...(I) + sizeof...(O) + 1 + M::text.length() + 1> text;
    char *at = text.text;
    *at++ = static_cast<char>(M::id);
    ((*at++ = Wire<I>::letter), ...);
    ((*at++ = static_cast<char>(Wire<O>::letter - 'a' + 'A')), ...);
    ++at;
    for (const char *name = M::name; *name; ++name)
        *at++ = *name;
    return text;
}

/// A method as one text: its id as a character, its signature, a NUL, its name.
template <class M>
alignas(1) inline constexpr auto text_of_method = method_text<M>(typename M::in{}, typename M::out{});

/// What a call of a method takes, checked against the description and laid out in the signature's order.
template <class M, class Ins = typename M::in, class Outs = typename M::out>
struct Arguments;

template <class M, class... I, class... O>
struct Arguments<M, describe::In<I...>, describe::Out<O...>> {
    Arguments(typename Wire<I>::Arg... args, typename Wire<O>::Released *...outs) : values{args..., outs...} {}

    std::array<Value, sizeof...(I) + sizeof...(O)> values;
};

} // namespace kv::proxy
