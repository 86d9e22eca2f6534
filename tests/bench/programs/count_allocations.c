/* SPDX-License-Identifier: Apache-2.0 */
/* A library to preload: counts every allocation of the process. */

#include <stddef.h>

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);

void *malloc(size_t size);
void *calloc(size_t count, size_t size);
void *realloc(void *block, size_t size);
unsigned long bench_allocations(void);

static unsigned long count;

__attribute__((visibility("default"))) unsigned long bench_allocations(void)
{
    return __atomic_load_n(&count, __ATOMIC_RELAXED);
}

static void note(void)
{
    __atomic_fetch_add(&count, 1, __ATOMIC_RELAXED);
}

__attribute__((visibility("default"))) void *malloc(size_t size)
{
    note();
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void *calloc(size_t items, size_t size)
{
    note();
    return __libc_calloc(items, size);
}

__attribute__((visibility("default"))) void *realloc(void *block, size_t size)
{
    note();
    return __libc_realloc(block, size);
}
