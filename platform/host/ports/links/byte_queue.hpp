// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/host/ports/parcels/buffer.hpp"

namespace kv::host {

/// A first-in, first-out queue of bytes: what a link has received and the owner has not read, or what waits to be sent.
/// An empty queue keeps at most one block of ordinary size.
class ByteQueue {
public:
    size_t size() const { return end_ - start_; }
    const uint8_t *front() const { return buffer_.bytes() + start_; }
    /// Free bytes behind the end.
    size_t room() const { return buffer_.capacity() - end_; }

    /// Moves the content to the front of the buffer if that frees at least as many bytes as it moves. Otherwise many
    /// small reads would each cost a long move.
    void compact();
    /// Makes room for `more` bytes; false when out of memory.
    bool reserve(size_t more);
    /// Where the owner writes bytes before it calls added().
    uint8_t *back() { return buffer_.bytes() + end_; }
    void added(size_t count) { end_ += count; }
    /// False when out of memory.
    bool append(const uint8_t *data, size_t count);
    /// Removes bytes from the front.
    void consume(size_t count);
    /// Moves the buffer to `taken` if the first `count` bytes are at its start, and copies the bytes behind them to a
    /// new one. False if they are not at its start, or when out of memory.
    bool take_buffer(size_t count, Buffer *taken);
    /// Keeps the first `count` bytes.
    void truncate(size_t count) { end_ = start_ + count; }
    void clear();

private:
    Buffer buffer_;
    size_t start_ = 0;
    size_t end_ = 0;
};

} // namespace kv::host
