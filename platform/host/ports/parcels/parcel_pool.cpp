// SPDX-License-Identifier: Apache-2.0
#include <pthread.h>

#include <cerrno>

#include "parcel.hpp"

namespace kv::host {

[[gnu::tls_model("initial-exec")]] constinit thread_local ParcelPool parcel_pool = {};

namespace {

constexpr size_t first_capacity = 4096 - 64; // fits a page together with malloc's own data
constexpr unsigned max_kept_parcels = 8;

// Empties a thread's pool when the thread ends. Without the key no parcel is kept.
pthread_key_t pool_key;
bool has_pool_key = false;

void empty_pool(void *pool_of_thread)
{
    auto *pool = static_cast<ParcelPool *>(pool_of_thread);
    while (pool->first) {
        const Owned<Parcel> parcel{pool->first};
        pool->first = parcel->next;
    }
    *pool = {};
}

[[gnu::constructor]] void create_pool_key()
{
    has_pool_key = pthread_key_create(&pool_key, empty_pool) == 0;
}

// A key's destructor does not run for the thread that unloads the library or ends the process.
[[gnu::destructor]] void delete_pool_key()
{
    empty_pool(&parcel_pool);
    if (has_pool_key)
        pthread_key_delete(pool_key);
    has_pool_key = false;
}

} // namespace

Parcel *make_parcel()
{
    Owned<Parcel> parcel = make<Parcel>();
    return parcel && parcel->buffer.resize(first_capacity) ? parcel.release() : nullptr;
}

void keep_or_destroy_parcel(Parcel *parcel)
{
    if (!parcel_pool.emptied_at_thread_end && has_pool_key && pthread_setspecific(pool_key, &parcel_pool) == 0) {
        parcel_pool.emptied_at_thread_end = true;
        parcel_pool.free_places = max_kept_parcels;
    }
    if (parcel->buffer.capacity() <= max_kept_capacity && parcel_pool.free_places > 0)
        release_parcel(parcel);
    else
        Destroy{}(parcel);
}

bool grow_parcel(Parcel *parcel, size_t more)
{
    if (parcel->failure)
        return false;
    if (more > max_payload - (parcel->end - frame_header)) {
        parcel->failure = -EMSGSIZE;
        return false;
    }
    size_t wanted = parcel->buffer.capacity() * 2;
    if (wanted < parcel->end + more)
        wanted = parcel->end + more;
    if (wanted > frame_header + max_payload)
        wanted = frame_header + max_payload; // writes check only the capacity, so it must respect the limit
    if (!parcel->buffer.resize(wanted)) {
        parcel->failure = -ENOMEM;
        return false;
    }
    return true;
}

} // namespace kv::host
