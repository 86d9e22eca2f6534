// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kv::host {

/// A block of bytes of variable size. A large block is mapped from the system, so that releasing it returns the memory at
/// once: malloc may keep what it has freed.
class Buffer {
public:
    Buffer() = default;
    Buffer(Buffer &&other) noexcept { *this = std::move(other); }
    Buffer &operator=(Buffer &&other) noexcept
    {
        reset();
        bytes_ = std::exchange(other.bytes_, nullptr);
        capacity_ = std::exchange(other.capacity_, 0);
        return *this;
    }
    ~Buffer() { reset(); }

    uint8_t *bytes() const { return bytes_; }
    size_t capacity() const { return capacity_; }

    /// Keeps the content up to the smaller size. False when out of memory; the buffer is then as it was.
    bool resize(size_t capacity);
    void reset();

private:
    uint8_t *bytes_ = nullptr;
    size_t capacity_ = 0;
};

} // namespace kv::host
