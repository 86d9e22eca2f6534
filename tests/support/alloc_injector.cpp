// SPDX-License-Identifier: Apache-2.0
#include "alloc_injector.hpp"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_set>

namespace {

unsigned countdown = 0; // 0: nothing is to fail
bool has_failed = false;
std::size_t largest_size = 0;

/// Never destroyed: blocks are freed until the very end of the process.
std::unordered_set<void *> &live()
{
    static auto *blocks = new std::unordered_set<void *>;
    return *blocks;
}

bool fails(std::size_t size)
{
    largest_size = std::max(largest_size, size);
    if (countdown == 0 || --countdown != 0)
        return false;
    has_failed = true;
    return true;
}

void *noted(void *block)
{
    if (block)
        live().insert(block);
    return block;
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
    return fails(size) ? nullptr : noted(__real_malloc(size));
}

void *__wrap_calloc(std::size_t count, std::size_t size)
{
    return fails(count * size) ? nullptr : noted(__real_calloc(count, size));
}

void *__wrap_realloc(void *block, std::size_t size)
{
    if (fails(size))
        return nullptr;
    const bool known = live().erase(block) != 0;
    void *grown = __real_realloc(block, size);
    if (!grown && known && size != 0)
        live().insert(block);
    return noted(grown);
}

char *__wrap_strdup(const char *text)
{
    if (fails(std::strlen(text) + 1))
        return nullptr;
    char *copy = __real_strdup(text);
    noted(copy);
    return copy;
}

void __wrap_free(void *block)
{
    live().erase(block);
    __real_free(block);
}

} // extern "C"

namespace kvtest::allocs {

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

void stop_failing()
{
    countdown = 0;
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

} // namespace kvtest::allocs
