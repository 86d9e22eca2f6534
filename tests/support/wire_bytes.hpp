// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Parcels as bytes, typed by hand: bytes(i32(47), i32(3), str("attic")).
namespace kv::test {

using Bytes = std::vector<unsigned char>;

/// An int32, and the count of an array: four bytes, little-endian.
inline Bytes i32(std::int32_t value)
{
    const auto bits = static_cast<std::uint32_t>(value);
    return {static_cast<unsigned char>(bits), static_cast<unsigned char>(bits >> 8),
            static_cast<unsigned char>(bits >> 16), static_cast<unsigned char>(bits >> 24)};
}

inline Bytes count(std::int32_t items)
{
    return i32(items);
}

inline Bytes boolean(bool value)
{
    return {static_cast<unsigned char>(value ? 1 : 0)};
}

/// The length as four bytes, little-endian, then the text without a terminator.
inline Bytes str(std::string_view text)
{
    Bytes result = i32(static_cast<std::int32_t>(text.size()));
    result.resize(4 +
                  text.size()); // not insert(): g++ 12 warns that inserting an empty text writes beyond the four bytes
    std::copy(text.begin(), text.end(), result.begin() + 4);
    return result;
}

template <class... Parts>
Bytes bytes(const Parts &...parts)
{
    Bytes whole;
    (whole.insert(whole.end(), parts.begin(), parts.end()), ...);
    return whole;
}

/// The three values that identify a delegate in requests and events.
inline Bytes delegate(std::int32_t id, std::int32_t seq_id, bool once)
{
    return bytes(i32(id), i32(seq_id), boolean(once));
}

/// A reply: kind 0, the out values, the agent's result.
template <class... Outs>
Bytes reply(std::int32_t result, const Outs &...outs)
{
    return bytes(i32(0), outs..., i32(result));
}

/// An event for a delegate: kind 1, the identity of the delegate, the values.
template <class... Values>
Bytes event(std::int32_t id, std::int32_t seq_id, bool once, const Values &...values)
{
    return bytes(i32(1), delegate(id, seq_id, once), values...);
}

inline Bytes first(const Bytes &whole, std::size_t size)
{
    return {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)};
}

} // namespace kv::test
