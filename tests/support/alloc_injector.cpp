// SPDX-License-Identifier: Apache-2.0
#include "alloc_injector.hpp"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <vector>

#include <malloc.h>

namespace {

unsigned countdown = 0; // allocations until one fails; 0 if none must fail
bool has_failed = false;
bool fails_always = false;
std::size_t largest_size = 0;

/// Sizes of the blocks. Never destroyed, because blocks are freed until the end of the process.
std::unordered_map<void *, std::size_t> &live()
{
    static auto *blocks = new std::unordered_map<void *, std::size_t>;
    return *blocks;
}

bool reuses_blocks = false;

/// Freed blocks that can be reused, by size.
std::unordered_map<std::size_t, std::vector<void *>> &freed()
{
    static auto *blocks = new std::unordered_map<std::size_t, std::vector<void *>>;
    return *blocks;
}

/// Returns the block of this size that was freed last; null if there is none.
void *reused(std::size_t size)
{
    if (!reuses_blocks)
        return nullptr;
    std::vector<void *> &blocks = freed()[size];
    if (blocks.empty())
        return nullptr;
    void *block = blocks.back();
    blocks.pop_back();
    return block;
}

bool fails(std::size_t size)
{
    largest_size = std::max(largest_size, size);
    if (!fails_always && (countdown == 0 || --countdown != 0))
        return false;
    has_failed = true;
    return true;
}

std::size_t bytes_now = 0;
std::size_t bytes_at_most = 0;

/// What a block takes of the heap: malloc puts its size in front of it.
std::size_t taken_by(void *block)
{
    return malloc_usable_size(block) + sizeof(std::size_t);
}

void *noted(void *block, std::size_t size)
{
    if (block) {
        live()[block] = size;
        bytes_now += taken_by(block);
        bytes_at_most = std::max(bytes_at_most, bytes_now);
    }
    return block;
}

/// The block is about to be freed or moved.
auto forgotten(void *block)
{
    auto known = live().extract(block);
    if (known)
        bytes_now -= taken_by(block);
    return known;
}

} // namespace

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
char *__real_strdup(const char *text);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
void *__wrap_realloc(void *block, std::size_t size);
char *__wrap_strdup(const char *text);
void __wrap_free(void *block);

void *__wrap_malloc(std::size_t size)
{
    if (fails(size))
        return nullptr;
    void *block = reused(size);
    return noted(block ? block : __real_malloc(size), size);
}

void *__wrap_calloc(std::size_t count, std::size_t size)
{
    if (fails(count * size))
        return nullptr;
    void *block = reused(count * size);
    return noted(block ? std::memset(block, 0, count * size) : __real_calloc(count, size), count * size);
}

void *__wrap_realloc(void *block, std::size_t size)
{
    if (fails(size))
        return nullptr;
    const auto known = forgotten(block);
    void *grown = __real_realloc(block, size);
    if (!grown && known && size != 0)
        noted(block, known.mapped());
    return noted(grown, size);
}

char *__wrap_strdup(const char *text)
{
    const std::size_t size = std::strlen(text) + 1;
    if (fails(size))
        return nullptr;
    char *copy = __real_strdup(text);
    noted(copy, size);
    return copy;
}

void __wrap_free(void *block)
{
    const auto known = forgotten(block);
    if (known && reuses_blocks)
        freed()[known.mapped()].push_back(block);
    else
        __real_free(block);
}

} // extern "C"

namespace kv::test::allocs {

namespace {

[[maybe_unused]] const bool json_is_hooked = [] {
    cJSON_Hooks hooks{__wrap_malloc, __wrap_free};
    cJSON_InitHooks(&hooks);
    return true;
}();

} // namespace

void fail_nth(unsigned nth)
{
    has_failed = false;
    countdown = nth;
}

void fail_all()
{
    has_failed = false;
    fails_always = true;
}

void stop_failing()
{
    countdown = 0;
    fails_always = false;
}

bool failed()
{
    return has_failed;
}

std::size_t live_blocks()
{
    return live().size();
}

std::size_t largest()
{
    return largest_size;
}

void reset_largest()
{
    largest_size = 0;
}

std::size_t live_bytes()
{
    return bytes_now;
}

std::size_t peak_bytes()
{
    return bytes_at_most;
}

void reset_peak()
{
    bytes_at_most = bytes_now;
}

ReuseBlocks::ReuseBlocks()
{
    reuses_blocks = true;
}

ReuseBlocks::~ReuseBlocks()
{
    reuses_blocks = false;
    for (auto &[size, blocks] : freed())
        for (void *block : blocks)
            __real_free(block);
    freed().clear();
}

} // namespace kv::test::allocs
