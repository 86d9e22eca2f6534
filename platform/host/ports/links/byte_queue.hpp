// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace kv::host {

/// Bytes in order: what a link has received and nobody has read, or what it could not yet send.
/// All zero is the empty queue; memory is held only while it is used, but for one block of ordinary size.
struct ByteQueue {
    uint8_t *bytes;
    size_t start;
    size_t end;
    size_t capacity;

    size_t size() const { return end - start; }
    const uint8_t *front() const { return bytes + start; }
    size_t room() const { return capacity - end; }

    /// Moves what is there to the front if that frees at least as much as is moved: many small steps must not cost a long
    /// move each.
    void compact();
    /// Room for at least so many bytes behind the end; false when out of memory.
    bool reserve(size_t more);
    bool append(const uint8_t *data, size_t count);
    void consume(size_t count);
    void clear();
};

} // namespace kv::host
