// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdlib>
#include <utility>

namespace kv::api {

/// Owns an array of zero-filled items, or null without memory. It frees the array, not what its items point to.
template <class T>
class ZeroedArray {
public:
    explicit ZeroedArray(int count) : items_(static_cast<T *>(calloc(static_cast<std::size_t>(count), sizeof(T)))) {}
    ZeroedArray(const ZeroedArray &) = delete;
    ZeroedArray &operator=(const ZeroedArray &) = delete;
    ~ZeroedArray() { free(items_); }

    explicit operator bool() const { return items_ != nullptr; }
    T *get() const { return items_; }
    T &operator[](int index) { return items_[index]; }
    T *release() { return std::exchange(items_, nullptr); }

private:
    T *items_;
};

} // namespace kv::api
