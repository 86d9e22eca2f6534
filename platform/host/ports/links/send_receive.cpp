// SPDX-License-Identifier: Apache-2.0
//
// Sending and receiving one parcel. The usual call is one send and one receive; port.cpp handles the other cases.
#include "port.hpp"

#include <cerrno>
#include <ctime>
#include <sys/socket.h>

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
    port->reply_due = false;
    return code;
}

// The peer accepts a long parcel in pieces, or not at all.
[[gnu::noinline]] int send_rest(Port *port, const Parcel *parcel, ssize_t sent)
{
    const int64_t started = coarse_now_ms();
    size_t done = 0;
    for (;;) {
        if (sent > 0)
            done += static_cast<size_t>(sent);
        if (done == parcel->end)
            break;
        const bool expired = port->timeout_ms > 0 && coarse_now_ms() - started >= port->timeout_ms;
        if (sent < 0 && errno != EINTR) {
            const bool timed_out = errno == EAGAIN || errno == EWOULDBLOCK;
            dlog_print(log_error, log_tag, "port %s: cannot send a parcel of %zu bytes: %s; closing the link",
                       port->owner, parcel->end, timed_out ? "the peer does not accept it" : strerror(errno));
            port_break(port);
            return refuse_send(port, timed_out ? -ETIMEDOUT : -EPIPE);
        }
        if (expired) {
            dlog_print(log_error, log_tag,
                       "port %s: the peer did not accept a parcel of %zu bytes within %d ms; closing the link",
                       port->owner, parcel->end, port->timeout_ms);
            port_break(port);
            return refuse_send(port, -ETIMEDOUT);
        }
        sent = send(port->fd.get(), parcel->buffer.bytes() + done, parcel->end - done, MSG_NOSIGNAL);
    }
    return 0;
}

int caller_send(Port *port, Parcel *parcel)
{
    const ssize_t sent = send(port->fd.get(), parcel->buffer.bytes(), parcel->end, MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(parcel->end)) [[unlikely]] {
        const int result = send_rest(port, parcel, sent);
        if (result != 0)
            return result;
    }
    port->sent_at_ms = coarse_now_ms();
    port->reply_due = true;
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
