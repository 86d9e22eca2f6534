// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <endian.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "buffer.hpp"
#include "platform/host/owned.hpp"
#include <rpc_port_frame.h>

namespace kv::host {

/// A frame is the payload's length as a little-endian 32-bit number, then the payload.
inline constexpr size_t frame_header = RPC_PORT_FRAME_HEADER;
inline constexpr size_t max_payload = RPC_PORT_MAX_PAYLOAD;

/// A sequence of values. Its buffer holds the whole frame, header first, so that one system call sends or receives it.
struct Parcel {
    Buffer buffer;
    size_t end = frame_header;      ///< of the written bytes
    size_t position = frame_header; ///< of the next read
    int failure = 0;                ///< result of the first failed write; such a parcel is not sent
    Parcel *next = nullptr;         ///< in the pool
};

/// The unused parcels of one thread. A call takes two parcels and returns two, so it needs no allocation.
struct ParcelPool {
    Parcel *first;
    unsigned free_places; ///< 0 until the thread's end is watched, because the pool must be emptied then
    bool emptied_at_thread_end;
};

/// A parcel with a larger buffer is released instead of kept.
inline constexpr size_t max_kept_capacity = size_t{64} << 10;

[[gnu::tls_model("initial-exec")]] extern constinit thread_local ParcelPool parcel_pool;

Parcel *make_parcel();
void keep_or_destroy_parcel(Parcel *parcel);

/// An empty parcel; null when out of memory.
inline Parcel *take_parcel()
{
    Parcel *parcel = parcel_pool.first;
    if (!parcel) [[unlikely]]
        return make_parcel();
    parcel_pool.first = parcel->next;
    parcel_pool.free_places++;
    parcel->end = frame_header;
    parcel->position = frame_header;
    parcel->failure = 0;
    return parcel;
}

inline void release_parcel(Parcel *parcel)
{
    if (parcel->buffer.capacity() > max_kept_capacity || parcel_pool.free_places == 0) [[unlikely]]
        return keep_or_destroy_parcel(parcel);
    parcel->next = parcel_pool.first;
    parcel_pool.first = parcel;
    parcel_pool.free_places--;
}

/// Makes room for `more` bytes behind the end. False if the parcel would exceed max_payload or memory is short; the
/// parcel keeps the failure.
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
    store_u32(parcel->buffer.bytes(), static_cast<uint32_t>(parcel->end - frame_header));
}

} // namespace kv::host
