// SPDX-License-Identifier: Apache-2.0
//
// The encoding of values. A number is little-endian. A bool is one byte, 0 or 1. A string is its length and its bytes
// without a terminator. An array is its count, then its elements. A structured value is its fields, with no header.
#include "parcel.hpp"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include <rpc_port.h>
#include <rpc_port_stub.h>

using namespace kv::host;

namespace {

// Reserves `size` bytes at the end and returns them; null if that fails.
uint8_t *append(Parcel *parcel, size_t size)
{
    if (parcel->buffer.capacity() - parcel->end < size) [[unlikely]]
        if (!grow_parcel(parcel, size))
            return nullptr;
    uint8_t *place = parcel->buffer.bytes() + parcel->end;
    parcel->end += size;
    return place;
}

size_t remaining(const Parcel *parcel)
{
    return parcel->end - parcel->position;
}

// After a failed write every further write fails, so that a parcel with a missing value is never sent.
bool writable(const Parcel *parcel)
{
    return parcel && parcel->failure == 0;
}

int write_failure(const Parcel *parcel)
{
    return parcel ? parcel->failure : -EINVAL;
}

[[gnu::noinline]] int write_number_slowly(Parcel *parcel, uint32_t value, size_t size)
{
    if (!writable(parcel))
        return write_failure(parcel);
    uint8_t *place = append(parcel, size);
    if (!place)
        return parcel->failure;
    memcpy(place, &value, size);
    return 0;
}

// Writes the low bytes of a number. A list writes hundreds: the slow case is a separate function, so that this one
// needs no stack frame.
template <size_t Size>
int write_number(Parcel *parcel, uint32_t value)
{
    value = htole32(value);
    if (!writable(parcel) || parcel->buffer.capacity() - parcel->end < Size) [[unlikely]]
        return write_number_slowly(parcel, value, Size);
    memcpy(parcel->buffer.bytes() + parcel->end, &value, Size);
    parcel->end += Size;
    return 0;
}

// The caller has made room. A list writes hundreds of texts; with checked buffer functions the compiler takes this one for
// too large to be part of its callers.
[[gnu::always_inline]] inline int put_string(Parcel *parcel, const char *value, size_t length)
{
    uint8_t *place = parcel->buffer.bytes() + parcel->end;
    parcel->end += 4 + length;
    store_u32(place, static_cast<uint32_t>(length));
    if (length > 0)
        memcpy(place + 4, value, length); // NOLINT(bugprone-not-null-terminated-result): the length precedes it
    return 0;
}

[[gnu::noinline]] int write_string_slowly(Parcel *parcel, const char *value, size_t length)
{
    if (!writable(parcel))
        return write_failure(parcel);
    if (length > max_payload)
        return parcel->failure = -EMSGSIZE;
    if (!grow_parcel(parcel, 4 + length))
        return parcel->failure;
    return put_string(parcel, value, length);
}

} // namespace

extern "C" {

int rpc_port_parcel_create(rpc_port_parcel_h *out)
{
    if (!out)
        return -EINVAL;
    Parcel *parcel = take_parcel();
    if (!parcel)
        return -ENOMEM;
    *out = parcel;
    return 0;
}

int rpc_port_parcel_destroy(rpc_port_parcel_h handle)
{
    if (!handle)
        return -EINVAL;
    release_parcel(static_cast<Parcel *>(handle));
    return 0;
}

int rpc_port_parcel_write_int32(rpc_port_parcel_h handle, int value)
{
    return write_number<4>(static_cast<Parcel *>(handle), static_cast<uint32_t>(value));
}

int rpc_port_parcel_write_bool(rpc_port_parcel_h handle, bool value)
{
    return write_number<1>(static_cast<Parcel *>(handle), value ? 1 : 0);
}

int rpc_port_parcel_write_string(rpc_port_parcel_h handle, const char *value)
{
    auto *parcel = static_cast<Parcel *>(handle);
    const size_t length = value ? strlen(value) : 0;
    if (!writable(parcel) || parcel->buffer.capacity() - parcel->end < 4 + length) [[unlikely]]
        return write_string_slowly(parcel, value, length);
    return put_string(parcel, value, length);
}

int rpc_port_parcel_write_array_count(rpc_port_parcel_h handle, int count)
{
    return rpc_port_parcel_write_int32(handle, count);
}

int rpc_port_parcel_write(rpc_port_parcel_h handle, rpc_port_parcelable_t *parcelable, void *data)
{
    if (!handle || !parcelable || !parcelable->to)
        return -EINVAL;
    parcelable->to(handle, data);
    return static_cast<Parcel *>(handle)->failure;
}

int rpc_port_parcel_read_int32(rpc_port_parcel_h handle, int *value)
{
    auto *parcel = static_cast<Parcel *>(handle);
    if (!parcel || !value)
        return -EINVAL;
    if (remaining(parcel) < 4)
        return -ENODATA;
    *value = static_cast<int>(load_u32(parcel->buffer.bytes() + parcel->position));
    parcel->position += 4;
    return 0;
}

int rpc_port_parcel_read_bool(rpc_port_parcel_h handle, bool *value)
{
    auto *parcel = static_cast<Parcel *>(handle);
    if (!parcel || !value)
        return -EINVAL;
    if (remaining(parcel) < 1)
        return -ENODATA;
    const uint8_t byte = parcel->buffer.bytes()[parcel->position];
    if (byte > 1)
        return -EBADMSG;
    *value = byte == 1;
    parcel->position += 1;
    return 0;
}

int rpc_port_parcel_read_string(rpc_port_parcel_h handle, char **value)
{
    auto *parcel = static_cast<Parcel *>(handle);
    if (!parcel || !value)
        return -EINVAL;
    if (remaining(parcel) < 4)
        return -ENODATA;
    const size_t length = load_u32(parcel->buffer.bytes() + parcel->position);
    if (length > remaining(parcel) - 4)
        return -ENODATA;
    const uint8_t *bytes = parcel->buffer.bytes() + parcel->position + 4;
    if (length > 0 && memchr(bytes, 0, length))
        return -EBADMSG;                                  // a C string would end there
    auto *text = static_cast<char *>(malloc(length + 1)); // the caller's from here on
    if (!text)
        return -ENOMEM;
    memcpy(text, bytes, length);
    text[length] = '\0';
    *value = text;
    parcel->position += 4 + length;
    return 0;
}

int rpc_port_parcel_read_array_count(rpc_port_parcel_h handle, int *count)
{
    auto *parcel = static_cast<Parcel *>(handle);
    if (!parcel || !count)
        return -EINVAL;
    if (remaining(parcel) < 4)
        return -ENODATA;
    const uint32_t value = load_u32(parcel->buffer.bytes() + parcel->position);
    // An element has at least one byte. A negative count is a huge unsigned one.
    if (value > remaining(parcel) - 4)
        return -EBADMSG;
    *count = static_cast<int>(value);
    parcel->position += 4;
    return 0;
}

int rpc_port_parcel_read(rpc_port_parcel_h handle, rpc_port_parcelable_t *parcelable, void *data)
{
    if (!handle || !parcelable || !parcelable->from)
        return -EINVAL;
    parcelable->from(handle, data);
    return 0;
}

int rpc_port_parcel_get_raw(rpc_port_parcel_h handle, const void **bytes, size_t *size)
{
    const auto *parcel = static_cast<Parcel *>(handle);
    if (!parcel || !bytes || !size)
        return -EINVAL;
    *bytes = parcel->buffer.bytes() + frame_header;
    *size = parcel->end - frame_header;
    return 0;
}

int rpc_port_parcel_create_from_raw(rpc_port_parcel_h *out, const void *bytes, size_t size)
{
    if (!out || (!bytes && size > 0))
        return -EINVAL;
    if (size > max_payload)
        return -EMSGSIZE;
    Parcel *parcel = take_parcel();
    if (!parcel)
        return -ENOMEM;
    uint8_t *place = append(parcel, size);
    if (!place) {
        release_parcel(parcel);
        return -ENOMEM;
    }
    if (size > 0)
        memcpy(place, bytes, size);
    *out = parcel;
    return 0;
}

int rpc_port_parcel_rewind(rpc_port_parcel_h handle)
{
    if (!handle)
        return -EINVAL;
    static_cast<Parcel *>(handle)->position = frame_header;
    return 0;
}

} // extern "C"
