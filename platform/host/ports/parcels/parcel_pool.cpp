// SPDX-License-Identifier: Apache-2.0
#include <pthread.h>

#include <cerrno>
#include <cstdlib>

#include "parcel.hpp"

namespace kv::host {

[[gnu::tls_model("initial-exec")]] constinit thread_local ParcelPool parcel_pool = {};

namespace {

constexpr size_t first_capacity = 4096 - 64; // with malloc's own words, within a page
constexpr unsigned kept_parcels = 8;

// Frees a thread's pool when the thread ends. Without the key, parcels are not kept.
pthread_key_t pool_key;
bool pool_key_made = false;

void free_parcel(Parcel *parcel)
{
    free(parcel->bytes);
    free(parcel);
}

void empty_pool(void *of_thread)
{
    auto *pool = static_cast<ParcelPool *>(of_thread);
    while (pool->first) {
        Parcel *next = pool->first->next;
        free_parcel(pool->first);
        pool->first = next;
    }
    *pool = {};
}

[[gnu::constructor]] void make_pool_key()
{
    pool_key_made = pthread_key_create(&pool_key, empty_pool) == 0;
}

// Keys free nothing for the thread that unloads the library or ends the process.
[[gnu::destructor]] void delete_pool_key()
{
    empty_pool(&parcel_pool);
    if (pool_key_made)
        pthread_key_delete(pool_key);
    pool_key_made = false;
}

} // namespace

Parcel *make_parcel()
{
    auto *parcel = static_cast<Parcel *>(malloc(sizeof(Parcel)));
    if (!parcel)
        return nullptr;
    *parcel = {};
    parcel->bytes = static_cast<uint8_t *>(malloc(first_capacity));
    if (!parcel->bytes) {
        free(parcel);
        return nullptr;
    }
    parcel->capacity = first_capacity;
    parcel->end = frame_header;
    parcel->position = frame_header;
    return parcel;
}

void keep_or_free_parcel(Parcel *parcel)
{
    if (!parcel_pool.freed_at_thread_end && pool_key_made && pthread_setspecific(pool_key, &parcel_pool) == 0) {
        parcel_pool.freed_at_thread_end = true;
        parcel_pool.places = kept_parcels;
    }
    if (parcel->capacity <= kept_capacity && parcel_pool.places > 0)
        release_parcel(parcel);
    else
        free_parcel(parcel);
}

bool grow_parcel(Parcel *parcel, size_t more)
{
    if (parcel->failure)
        return false;
    if (more > payload_limit - (parcel->end - frame_header)) {
        parcel->failure = -EMSGSIZE;
        return false;
    }
    size_t wanted = parcel->capacity * 2;
    if (wanted < parcel->end + more)
        wanted = parcel->end + more;
    if (wanted > frame_header + payload_limit)
        wanted = frame_header + payload_limit; // so that room in the buffer is always within the limit
    auto *bytes = static_cast<uint8_t *>(realloc(parcel->bytes, wanted));
    if (!bytes) {
        parcel->failure = -ENOMEM;
        return false;
    }
    parcel->bytes = bytes;
    parcel->capacity = wanted;
    return true;
}

} // namespace kv::host
