// SPDX-License-Identifier: Apache-2.0
#include "byte_queue.hpp"

#include <cstdlib>
#include <cstring>

namespace kv::host {
namespace {

constexpr size_t ordinary_capacity = size_t{64} << 10;

} // namespace

void ByteQueue::compact()
{
    if (start == 0 || start < size())
        return;
    memmove(bytes, bytes + start, size());
    end -= start;
    start = 0;
}

bool ByteQueue::reserve(size_t more)
{
    if (room() >= more)
        return true;
    compact();
    if (room() >= more)
        return true;
    size_t wanted = capacity ? capacity * 2 : ordinary_capacity;
    if (wanted < end + more)
        wanted = end + more;
    auto *larger = static_cast<uint8_t *>(realloc(bytes, wanted));
    if (!larger)
        return false;
    bytes = larger;
    capacity = wanted;
    return true;
}

bool ByteQueue::append(const uint8_t *data, size_t count)
{
    if (!reserve(count))
        return false;
    memcpy(bytes + end, data, count);
    end += count;
    return true;
}

void ByteQueue::consume(size_t count)
{
    start += count;
    if (start < end)
        return;
    start = 0;
    end = 0;
    if (capacity > ordinary_capacity)
        clear();
}

void ByteQueue::clear()
{
    free(bytes);
    *this = {};
}

} // namespace kv::host
