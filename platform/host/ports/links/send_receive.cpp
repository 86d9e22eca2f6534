// SPDX-License-Identifier: Apache-2.0
//
// Sending and receiving one parcel. The usual call is one send and one receive; port.cpp handles the other cases.
#include "port.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/parcels/parcel.hpp"
#include "trace.hpp"
#include <rpc_port.h>

using namespace kv::host;

namespace {

[[gnu::noinline]] int refuse_send(Port *port, int code)
{
    // The next read must not wait for a reply to a request that was never sent.
    port->no_waiting = true;
    port->may_block_in_receive = false;
    return code;
}

int fail_send(Port *port, const Parcel *parcel, int error)
{
    dlog_print(log_error, log_tag, "port %s: cannot send a parcel of %zu bytes: %s; closing the link", port->owner,
               parcel->end, strerror(error));
    port_break(port);
    return refuse_send(port, -EPIPE);
}

int fail_send_at_deadline(Port *port, const Parcel *parcel)
{
    dlog_print(
        log_error, log_tag,
        "port %s: the peer did not accept a parcel of %zu bytes within %d ms (KORVANE_REPLY_TIMEOUT_MS); closing "
        "the link",
        port->owner, parcel->end, port->timeout_ms);
    port_break(port);
    return refuse_send(port, -ETIMEDOUT);
}

/// Whether a send with this error, or with 0, can be repeated.
bool can_be_repeated(int error)
{
    return error == 0 || error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

/// Waits until the peer accepts more of the parcel. 0, or the error of the failed send.
int wait_for_room(Port *port, const Parcel *parcel)
{
    const int remaining = port_remaining_ms(port);
    if (remaining == 0)
        return fail_send_at_deadline(port, parcel);
    pollfd writable{port->fd.get(), POLLOUT, 0};
    if (poll(&writable, 1, remaining) < 0 && errno != EINTR)
        return fail_send(port, parcel, errno);
    return 0;
}

// Sends the rest of a parcel that the peer accepts in pieces, or not at all. No send blocks, because the system would count
// a timeout of its own for each piece.
[[gnu::noinline]] int send_rest(Port *port, const Parcel *parcel, ssize_t sent)
{
    size_t done = 0;
    for (;;) {
        if (sent > 0)
            done += static_cast<size_t>(sent);
        if (done == parcel->end)
            return 0;
        const int error = sent < 0 ? errno : 0;
        if (!can_be_repeated(error))
            return fail_send(port, parcel, error);
        if (const int failure = wait_for_room(port, parcel); failure != 0)
            return failure;
        sent = send(port->fd.get(), parcel->buffer.bytes() + done, parcel->end - done, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
}

int caller_send(Port *port, Parcel *parcel)
{
    port->sent_at_ms = coarse_now_ms();
    const ssize_t sent = send(port->fd.get(), parcel->buffer.bytes(), parcel->end, MSG_NOSIGNAL | MSG_DONTWAIT);
    bool at_once = true;
    if (sent != static_cast<ssize_t>(parcel->end)) [[unlikely]] {
        const int result = send_rest(port, parcel, sent);
        if (result != 0)
            return result;
        at_once = false; // the send has used a part of the call's time, which a blocking receive would not count
    }
    port->may_block_in_receive = at_once;
    port->no_waiting = false;
    return 0;
}

} // namespace

int64_t kv::host::coarse_now_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

extern "C" int rpc_port_parcel_send(rpc_port_parcel_h parcel_handle, rpc_port_h port_handle)
{
    auto *parcel = static_cast<Parcel *>(parcel_handle);
    auto *port = static_cast<Port *>(port_handle);
    if (!port)
        return -EINVAL;
    if (!parcel || parcel->failure != 0)
        return refuse_send(port, parcel ? parcel->failure : -EINVAL);
    if (!port->open())
        return refuse_send(port, -ENOTCONN);
    store_frame_header(parcel);
    trace(port, true, parcel);
    if (port->role == PortRole::caller_main) [[likely]]
        return caller_send(port, parcel);
    if (port->role == PortRole::caller_callback)
        return -EINVAL; // the agent does not read that link
    return port_queue_frame(port, parcel->buffer.bytes(), parcel->end);
}

extern "C" int rpc_port_parcel_create_from_port(rpc_port_parcel_h *out, rpc_port_h port_handle)
{
    auto *port = static_cast<Port *>(port_handle);
    if (!out || !port)
        return -EINVAL;
    Parcel *parcel = take_parcel();
    if (!parcel)
        return -ENOMEM;
    const int result = port_receive(port, parcel);
    if (result != 0) [[unlikely]] {
        release_parcel(parcel);
        return result;
    }
    trace(port, false, parcel);
    *out = parcel;
    return 0;
}
