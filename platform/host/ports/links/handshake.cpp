// SPDX-License-Identifier: Apache-2.0
#include "handshake.hpp"

#include <cstring>

#include "platform/host/ports/parcels/parcel.hpp"

namespace kv::host {
namespace {

constexpr uint32_t hello_mark = 0x4c504b56;  // "VKPL" as it lies in memory
constexpr uint32_t answer_mark = 0x52504b56; // "VKPR"

} // namespace

size_t write_hello(uint8_t *bytes, const Hello &hello)
{
    const size_t length = strlen(hello.sender);
    const size_t size = hello_head + length;
    store_u32(bytes, static_cast<uint32_t>(size - frame_header));
    store_u32(bytes + 4, hello_mark);
    store_u32(bytes + 8, hello.version);
    bytes[12] = hello.link;
    memcpy(bytes + 13, hello.token, token_size);
    store_u32(bytes + 13 + token_size, static_cast<uint32_t>(length));
    memcpy(bytes + hello_head, hello.sender, length);
    return size;
}

Parsed read_hello(const uint8_t *bytes, size_t size, Hello *hello)
{
    if (size < frame_header)
        return Parsed::incomplete;
    const size_t whole = frame_header + size_t{load_u32(bytes)};
    if (whole < hello_head || whole > longest_hello || size > whole)
        return Parsed::malformed;
    if (size >= 8 && load_u32(bytes + 4) != hello_mark)
        return Parsed::malformed;
    if (size < whole)
        return Parsed::incomplete;
    const size_t length = load_u32(bytes + 13 + token_size);
    if (length != whole - hello_head || memchr(bytes + hello_head, 0, length) || bytes[12] > 1)
        return Parsed::malformed;
    hello->version = load_u32(bytes + 8);
    hello->link = bytes[12];
    memcpy(hello->token, bytes + 13, token_size);
    memcpy(hello->sender, bytes + hello_head, length);
    hello->sender[length] = '\0';
    return Parsed::whole;
}

void write_answer(uint8_t *bytes, const Answer &answer)
{
    store_u32(bytes, answer_size - frame_header);
    store_u32(bytes + 4, answer_mark);
    store_u32(bytes + 8, answer.version);
    store_u32(bytes + 12, static_cast<uint32_t>(answer.code));
}

Parsed read_answer(const uint8_t *bytes, size_t size, Answer *answer)
{
    if ((size >= 4 && load_u32(bytes) != answer_size - frame_header) ||
        (size >= 8 && load_u32(bytes + 4) != answer_mark))
        return Parsed::malformed;
    if (size < answer_size)
        return Parsed::incomplete;
    answer->version = load_u32(bytes + 8);
    answer->code = static_cast<int32_t>(load_u32(bytes + 12));
    return Parsed::whole;
}

} // namespace kv::host
