// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/host/owned.hpp"

namespace kv::host {

/// A block of bytes that can grow.
class Buffer {
public:
    uint8_t *bytes() const { return bytes_.get(); }
    size_t capacity() const { return capacity_; }

    /// Keeps the content. False when out of memory; the buffer is then as it was.
    bool grow(size_t capacity)
    {
        auto *bytes = static_cast<uint8_t *>(realloc(bytes_.get(), capacity));
        if (!bytes)
            return false;
        (void)bytes_.release(); // realloc has released it
        bytes_.reset(bytes);
        capacity_ = capacity;
        return true;
    }

    void reset()
    {
        bytes_.reset();
        capacity_ = 0;
    }

private:
    Allocated<uint8_t> bytes_;
    size_t capacity_ = 0;
};

} // namespace kv::host
