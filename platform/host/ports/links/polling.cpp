// SPDX-License-Identifier: Apache-2.0
#include "polling.hpp"

#include <sys/socket.h>

#include <atomic>
#include <cerrno>

#include "platform/host/ports/parcels/parcel.hpp"

namespace kv::host {
namespace {

// GLib gives a poll function no data of its own.
std::atomic<int> context_polling_us;

gint poll_then_block(GPollFD *descriptors, guint count, gint timeout_ms)
{
    if (timeout_ms == 0)
        return g_poll(descriptors, count, 0);
    const gint64 start = g_get_monotonic_time();
    const gint64 limit_us = context_polling_us;
    gint64 waited_us = 0;
    do {
        if (const gint ready = g_poll(descriptors, count, 0); ready != 0)
            return ready;
        waited_us = g_get_monotonic_time() - start;
        if (timeout_ms > 0 && waited_us >= gint64{1000} * timeout_ms)
            return 0;
    } while (waited_us < limit_us);
    return g_poll(descriptors, count, timeout_ms < 0 ? timeout_ms : timeout_ms - static_cast<gint>(waited_us / 1000));
}

} // namespace

ssize_t receive_polling(const Port *port, Parcel *parcel)
{
    const gint64 limit = g_get_monotonic_time() + port->polling_us;
    do {
        const ssize_t received = recv(port->fd.get(), parcel->buffer.bytes(), parcel->buffer.capacity(), MSG_DONTWAIT);
        if (received >= 0 || errno != EAGAIN)
            return received;
    } while (g_get_monotonic_time() < limit);
    return recv(port->fd.get(), parcel->buffer.bytes(), parcel->buffer.capacity(), 0);
}

void poll_in_context(GMainContext *context, int polling_us)
{
    if (polling_us == 0 || g_main_context_get_poll_func(context) != g_poll)
        return;
    context_polling_us = polling_us;
    g_main_context_set_poll_func(context, poll_then_block);
}

} // namespace kv::host
