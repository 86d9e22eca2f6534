// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace kv {

/// A text as part of a type: a name in the interface description, the format of a log line.
template <std::size_t N>
struct FixedText {
    char text[N]{};

    consteval FixedText(const char (&literal)[N])
    {
        for (std::size_t i = 0; i < N; ++i)
            text[i] = literal[i];
    }
    consteval FixedText() = default;

    static constexpr std::size_t length() { return N - 1; }
};

namespace detail {

template <FixedText... Parts>
consteval auto concatenated()
{
    FixedText<(Parts.length() + ... + 1)> whole;
    std::size_t at = 0;
    auto append = [&](const auto &part) constexpr
    {
        for (std::size_t i = 0; i < part.length(); ++i)
            whole.text[at++] = part.text[i];
    };
    (append(Parts), ...);
    return whole;
}

} // namespace detail

/// Aligned as a text, since compilers round the position of a longer object up.
template <FixedText... Parts>
alignas(1) inline constexpr auto concat = detail::concatenated<Parts...>();

} // namespace kv
