// SPDX-License-Identifier: Apache-2.0
#include "planted.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace kv::test {

namespace {

constexpr std::size_t min_length = 31;

std::size_t index_of(const Planted &one)
{
    return static_cast<std::size_t>(&one - planted);
}

} // namespace

/// Letters that look random, so that no part of a value appears anywhere by chance.
std::string Planted::value() const
{
    std::string text;
    auto seed = static_cast<std::uint32_t>(index_of(*this) + 1) * 2654435761U;
    while (text.size() < min_length + index_of(*this)) {
        seed = seed * 1664525U + 1013904223U;
        text += static_cast<char>('a' + (seed >> 16) % 26);
    }
    return text;
}

std::string Planted::sent() const
{
    return member ? std::string{R"({")"} + member + R"(":")" + value() + R"("})" : value();
}

std::string Planted::mask() const
{
    return "<secret, " + std::to_string(sent().size()) + " bytes>";
}

std::string value_of(const std::string &name)
{
    for (const Planted &one : planted)
        if (name == one.name)
            return one.value();
    std::fprintf(stderr, "no planted secret is named %s\n", name.c_str());
    std::abort();
}

} // namespace kv::test
