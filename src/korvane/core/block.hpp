// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdlib>
#include <utility>

namespace kv::api {

/// Zero-filled items in a row, as many as are known beforehand; none when there is no memory. It frees the row, not
/// what its items point to.
template <class T>
class Block {
public:
    explicit Block(int count) : items_(static_cast<T *>(calloc(static_cast<std::size_t>(count), sizeof(T)))) {}
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    ~Block() { free(items_); }

    explicit operator bool() const { return items_ != nullptr; }
    T *get() const { return items_; }
    T &operator[](int index) { return items_[index]; }
    T *release() { return std::exchange(items_, nullptr); }

private:
    T *items_;
};

} // namespace kv::api
