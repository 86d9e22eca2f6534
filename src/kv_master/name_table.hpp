// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "interface.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The names of methods and delegates in one block of text. A name that ends another one is stored inside it, as
/// "set_pin_cb" in "unset_pin_cb", and a position takes two bytes and no relocation: a third of what pointers cost.
namespace kv::master {

template <std::size_t Size>
class NameTable {
public:
    std::array<char, Size> text{};

    /// The position of a name, for at(). A name that the table does not hold does not compile.
    consteval std::uint16_t offset_of(std::string_view name) const
    {
        std::size_t offset = 0;
        while (!holds_at(offset, name))
            ++offset;
        return static_cast<std::uint16_t>(offset);
    }

    const char *at(std::uint16_t offset) const { return text.data() + offset; }

private:
    consteval bool holds_at(std::size_t offset, std::string_view name) const
    {
        for (std::size_t i = 0; i < name.length(); ++i)
            if (text[offset + i] != name[i])
                return false;
        return text[offset + name.length()] == '\0';
    }
};

namespace detail {

template <class... M, class... D>
consteval auto all_names(describe::List<M...>, describe::List<D...>)
{
    return std::array<std::string_view, sizeof...(M) + sizeof...(D)>{M::name..., D::name...};
}

/// Whether another name ends with this one.
template <std::size_t Count>
consteval bool ends_another(const std::array<std::string_view, Count> &names, std::string_view name)
{
    for (std::string_view other : names)
        if (other.length() > name.length() && other.ends_with(name))
            return true;
    return false;
}

consteval std::size_t size_of_names()
{
    constexpr auto names = all_names(Methods{}, Delegates{});
    std::size_t size = 0;
    for (std::string_view name : names)
        size += ends_another(names, name) ? 0 : name.length() + 1;
    return size;
}

consteval auto make_name_table()
{
    constexpr auto names = all_names(Methods{}, Delegates{});
    NameTable<size_of_names()> table;
    std::size_t at = 0;
    for (std::string_view name : names) {
        if (ends_another(names, name))
            continue;
        for (char letter : name)
            table.text[at++] = letter;
        ++at;
    }
    return table;
}

} // namespace detail

alignas(1) inline constexpr auto names = detail::make_name_table();

} // namespace kv::master
