// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <type_traits>

/// What the mutated code calls. One build contains all mutants; the environment variable KORVANE_MUTANT selects one.
namespace kv::mutant {

inline const int selected = [] {
    const char *number = std::getenv("KORVANE_MUTANT");
    return number ? std::atoi(number) : 0;
}();

inline bool is_selected(int id)
{
    return selected == id;
}

/// Whether a statement that can be removed is executed.
inline bool keeps(int id)
{
    return !is_selected(id);
}

inline bool condition(int id, bool value)
{
    return value != is_selected(id);
}

/// A number, or the next one.
template <class T>
T constant(int id, T value)
{
    if constexpr (std::is_same_v<T, bool>)
        return value != is_selected(id);
    else if constexpr (std::is_enum_v<T>)
        return static_cast<T>(static_cast<std::underlying_type_t<T>>(value) + (is_selected(id) ? 1 : 0));
    else
        return static_cast<T>(value + (is_selected(id) ? 1 : 0));
}

// A comparison has two mutants: its opposite, and its bound moved by one.

template <class A, class B>
bool equal(int id, const A &a, const B &b)
{
    return (a == b) != is_selected(id);
}

template <class A, class B>
bool differs(int id, const A &a, const B &b)
{
    return (a != b) != is_selected(id);
}

template <class A, class B>
bool less(int id, const A &a, const B &b)
{
    return is_selected(id) ? !(a < b) : is_selected(id + 1) ? a <= b : a < b;
}

template <class A, class B>
bool less_or_equal(int id, const A &a, const B &b)
{
    return is_selected(id) ? !(a <= b) : is_selected(id + 1) ? a < b : a <= b;
}

template <class A, class B>
bool greater(int id, const A &a, const B &b)
{
    return is_selected(id) ? !(a > b) : is_selected(id + 1) ? a >= b : a > b;
}

template <class A, class B>
bool greater_or_equal(int id, const A &a, const B &b)
{
    return is_selected(id) ? !(a >= b) : is_selected(id + 1) ? a > b : a >= b;
}

} // namespace kv::mutant
