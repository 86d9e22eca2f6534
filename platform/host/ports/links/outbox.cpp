// SPDX-License-Identifier: Apache-2.0
//
// What a serving side sends: never blocking, since the peer may be waiting for this side at the same time.
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/parcels/parcel.hpp"
#include "port.hpp"
#include <rpc_port_stub.h>

namespace kv::host {
namespace {

// A peer may let this much wait before the parcel that is one too many; a single parcel may be larger.
constexpr size_t outbox_limit = size_t{4} << 20;
constexpr size_t held_limit = size_t{64} << 10;

// Bytes that went out, 0 when the peer takes nothing now, negative when the link broke.
ssize_t send_now(Port *port, const uint8_t *bytes, size_t size)
{
    ssize_t sent;
    do {
        sent = send(port->fd, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    if (sent >= 0)
        return sent;
    if (errno == EAGAIN || errno == EWOULDBLOCK)
        return 0;
    dlog_print(log_info, log_tag, "port %s: cannot send: %s", port->owner, strerror(errno));
    port_break(port);
    return -1;
}

// The owner's source looks for room to write only while something waits. Told only of changes: each wakes its loop.
void watch_for_room(Port *port)
{
    const bool waits = port->outbox.size() > 0 && !port->held && port->open();
    if (!port->source || waits == port->waits_for_room)
        return;
    port->waits_for_room = waits;
    const bool reads = port->role == PortRole::server_main;
    const auto wanted = static_cast<GIOCondition>((reads ? G_IO_IN : 0) | (waits ? G_IO_OUT : 0));
    if (port->watch && wanted == 0) {
        g_source_remove_unix_fd(port->source, port->watch);
        port->watch = nullptr;
    } else if (port->watch) {
        g_source_modify_unix_fd(port->source, port->watch, wanted);
    } else if (wanted != 0) {
        port->watch = g_source_add_unix_fd(port->source, port->fd, wanted);
    }
}

} // namespace

int port_queue_frame(Port *port, const uint8_t *bytes, size_t size)
{
    size_t done = 0;
    if (port->outbox.size() == 0 && !port->held) {
        const ssize_t sent = send_now(port, bytes, size);
        if (sent < 0)
            return -EPIPE;
        done = static_cast<size_t>(sent);
        if (done == size) [[likely]]
            return 0;
    }
    if (port->outbox.size() > outbox_limit) {
        dlog_print(log_error, log_tag, "peer %s does not read: %zu bytes wait for it already; it is disconnected",
                   port->owner, port->outbox.size());
        port_break(port);
        return -ENOBUFS;
    }
    if (!port->outbox.append(bytes + done, size - done)) {
        dlog_print(log_error, log_tag, "peer %s: out of memory for what waits for it; it is disconnected", port->owner);
        port_break(port);
        return -ENOMEM;
    }
    if (!port->held) {
        watch_for_room(port);
    } else if (port->outbox.size() >= port->held_until) {
        port_flush(port);
        // What the peer did not take now it will hardly take with the next parcel.
        port->held_until = port->outbox.size() + held_limit;
    }
    return 0;
}

void port_flush(Port *port)
{
    if (!port->open())
        return;
    if (port->outbox.size() > 0) {
        const ssize_t sent = send_now(port, port->outbox.front(), port->outbox.size());
        if (sent < 0)
            return;
        port->outbox.consume(static_cast<size_t>(sent));
    }
    watch_for_room(port);
}

} // namespace kv::host

using namespace kv::host;

namespace {

bool serves(const Port *port)
{
    return port && (port->role == PortRole::server_main || port->role == PortRole::server_callback);
}

} // namespace

extern "C" int rpc_port_stub_hold(rpc_port_h handle)
{
    auto *port = static_cast<Port *>(handle);
    if (!serves(port))
        return -EINVAL;
    port->held = true;
    port->held_until = port->outbox.size() + held_limit;
    watch_for_room(port);
    return 0;
}

extern "C" int rpc_port_stub_flush(rpc_port_h handle)
{
    auto *port = static_cast<Port *>(handle);
    if (!serves(port))
        return -EINVAL;
    port->held = false;
    if (!port->open())
        return -ENOTCONN;
    port_flush(port);
    return port->open() ? 0 : -EPIPE;
}

extern "C" int rpc_port_stub_send_raw(rpc_port_h handle, const void *bytes, size_t size)
{
    auto *port = static_cast<Port *>(handle);
    if (!serves(port) || (!bytes && size > 0))
        return -EINVAL;
    if (!port->open())
        return -ENOTCONN;
    return size == 0 ? 0 : port_queue_frame(port, static_cast<const uint8_t *>(bytes), size);
}
