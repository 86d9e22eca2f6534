// SPDX-License-Identifier: Apache-2.0
#include "byte_queue.hpp"

#include <cstring>

namespace kv::host {
namespace {

constexpr size_t ordinary_capacity = size_t{64} << 10;

} // namespace

void ByteQueue::compact()
{
    if (start_ == 0 || start_ < size())
        return;
    memmove(buffer_.bytes(), front(), size());
    end_ -= start_;
    start_ = 0;
}

bool ByteQueue::reserve(size_t more)
{
    if (room() >= more)
        return true;
    compact();
    if (room() >= more)
        return true;
    size_t wanted = buffer_.capacity() ? buffer_.capacity() * 2 : ordinary_capacity;
    if (wanted < end_ + more)
        wanted = end_ + more;
    return buffer_.resize(wanted);
}

bool ByteQueue::append(const uint8_t *data, size_t count)
{
    if (!reserve(count))
        return false;
    memcpy(back(), data, count);
    end_ += count;
    return true;
}

void ByteQueue::consume(size_t count)
{
    start_ += count;
    if (start_ < end_)
        return;
    start_ = 0;
    end_ = 0;
    if (buffer_.capacity() > ordinary_capacity)
        buffer_.reset();
}

bool ByteQueue::take_buffer(size_t count, Buffer *taken)
{
    if (start_ != 0)
        return false;
    ByteQueue rest;
    if (end_ > count && !rest.append(front() + count, end_ - count))
        return false;
    *taken = std::move(buffer_);
    *this = std::move(rest);
    return true;
}

void ByteQueue::clear()
{
    buffer_.reset();
    start_ = 0;
    end_ = 0;
}

} // namespace kv::host
