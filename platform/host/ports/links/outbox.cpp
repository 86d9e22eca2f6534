// SPDX-License-Identifier: Apache-2.0
//
// The sending of a stub. It never blocks: the peer may be waiting for this process at the same time.
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/parcels/parcel.hpp"
#include "port.hpp"
#include <rpc_port_stub.h>

namespace kv::host {
namespace {

// A peer with more than this in its outbox is disconnected at the next parcel. A single parcel may be larger.
constexpr size_t max_outbox = size_t{4} << 20;
constexpr size_t max_held = size_t{64} << 10;

// The number of bytes sent: 0 if the peer accepts nothing now, negative if the link broke.
ssize_t send_now(Port *port, const uint8_t *bytes, size_t size)
{
    ssize_t sent;
    do {
        sent = send(port->fd.get(), bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    if (sent >= 0)
        return sent;
    if (errno == EAGAIN || errno == EWOULDBLOCK)
        return 0;
    dlog_print(log_info, log_tag, "port %s: cannot send: %s", port->owner, strerror(errno));
    port_break(port);
    return -1;
}

// Watches for room to write only while something waits. Only a change reaches the source, because each wakes its loop.
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
        port->watch = g_source_add_unix_fd(port->source, port->fd.get(), wanted);
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
    if (port->outbox.size() > max_outbox) {
        dlog_print(log_error, log_tag, "peer %s does not read: %zu bytes wait for it; disconnecting it", port->owner,
                   port->outbox.size());
        port_break(port);
        return -ENOBUFS;
    }
    if (!port->outbox.append(bytes + done, size - done)) {
        dlog_print(log_error, log_tag, "peer %s: out of memory for its outbox; disconnecting it", port->owner);
        port_break(port);
        return -ENOMEM;
    }
    if (!port->held) {
        watch_for_room(port);
    } else if (port->outbox.size() >= port->held_until) {
        port_flush(port);
        // A peer that did not accept all of it now will hardly do so at the next parcel.
        port->held_until = port->outbox.size() + max_held;
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

bool is_stub_port(const Port *port)
{
    return port && (port->role == PortRole::server_main || port->role == PortRole::server_callback);
}

} // namespace

extern "C" int rpc_port_stub_hold(rpc_port_h handle)
{
    auto *port = static_cast<Port *>(handle);
    if (!is_stub_port(port))
        return -EINVAL;
    port->held = true;
    port->held_until = port->outbox.size() + max_held;
    watch_for_room(port);
    return 0;
}

extern "C" int rpc_port_stub_flush(rpc_port_h handle)
{
    auto *port = static_cast<Port *>(handle);
    if (!is_stub_port(port))
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
    if (!is_stub_port(port) || (!bytes && size > 0))
        return -EINVAL;
    if (!port->open())
        return -ENOTCONN;
    return size == 0 ? 0 : port_queue_frame(port, static_cast<const uint8_t *>(bytes), size);
}
