// SPDX-License-Identifier: Apache-2.0
#include "buffer.hpp"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>

namespace kv::host {
namespace {

constexpr size_t min_mapped = size_t{256} << 10;

bool is_mapped(size_t capacity)
{
    return capacity >= min_mapped;
}

void *or_null(void *mapped)
{
    return mapped == MAP_FAILED ? nullptr : mapped;
}

} // namespace

bool Buffer::resize(size_t capacity)
{
    void *grown = nullptr;
    if (is_mapped(capacity_)) {
        grown = or_null(mremap(bytes_, capacity_, capacity, MREMAP_MAYMOVE));
    } else if (!is_mapped(capacity)) {
        grown = realloc(bytes_, capacity);
    } else {
        grown = or_null(mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (grown) {
            if (bytes_)
                memcpy(grown, bytes_, capacity_);
            free(bytes_);
        }
    }
    if (!grown)
        return false;
    bytes_ = static_cast<uint8_t *>(grown);
    capacity_ = capacity;
    return true;
}

void Buffer::reset()
{
    if (is_mapped(capacity_))
        munmap(bytes_, capacity_);
    else
        free(bytes_);
    bytes_ = nullptr;
    capacity_ = 0;
}

} // namespace kv::host
