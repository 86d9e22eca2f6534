// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <endian.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kv::host {

/// On a link every parcel is a frame: the payload's length as a little-endian 32-bit number, then the payload.
inline constexpr size_t frame_header = 4;
inline constexpr size_t payload_limit = size_t{16} << 20;

/// The header's place is kept in front of the payload, so that a parcel is sent and received as it lies in memory.
struct Parcel {
    uint8_t *bytes;
    size_t capacity;
    size_t end;      ///< of what is written
    size_t position; ///< of the next read
    int failure;     ///< of the first write that failed; such a parcel is not sent
    Parcel *next;    ///< while it waits to be used again
};

/// Parcels are used again: a call takes two and gives two back, so each thread keeps a few with their buffers.
struct ParcelPool {
    Parcel *first;
    unsigned places; ///< free ones; none before the thread has seen to it that its pool is freed at its end
    bool freed_at_thread_end;
};

inline constexpr size_t kept_capacity = size_t{64} << 10;

[[gnu::tls_model("initial-exec")]] extern constinit thread_local ParcelPool parcel_pool;

Parcel *make_parcel();
void keep_or_free_parcel(Parcel *parcel);

/// An empty parcel; nullptr when out of memory.
inline Parcel *take_parcel()
{
    Parcel *parcel = parcel_pool.first;
    if (!parcel) [[unlikely]]
        return make_parcel();
    parcel_pool.first = parcel->next;
    parcel_pool.places++;
    parcel->end = frame_header;
    parcel->position = frame_header;
    parcel->failure = 0;
    return parcel;
}

inline void release_parcel(Parcel *parcel)
{
    if (parcel->capacity > kept_capacity || parcel_pool.places == 0) [[unlikely]]
        return keep_or_free_parcel(parcel);
    parcel->next = parcel_pool.first;
    parcel_pool.first = parcel;
    parcel_pool.places--;
}

/// Makes room behind the end. False, with the failure remembered, over the limit or out of memory.
bool grow_parcel(Parcel *parcel, size_t more);

inline uint32_t load_u32(const uint8_t *bytes)
{
    uint32_t value;
    memcpy(&value, bytes, sizeof value);
    return le32toh(value);
}

inline void store_u32(uint8_t *bytes, uint32_t value)
{
    value = htole32(value);
    memcpy(bytes, &value, sizeof value);
}

inline void store_frame_header(Parcel *parcel)
{
    store_u32(parcel->bytes, static_cast<uint32_t>(parcel->end - frame_header));
}

} // namespace kv::host
