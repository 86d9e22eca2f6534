// SPDX-License-Identifier: Apache-2.0
#include "polling.hpp"

#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <chrono>

#include "platform/host/ports/parcels/parcel.hpp"

namespace kv::host {
namespace {

using Clock = std::chrono::steady_clock;

// GLib gives a poll function no data of its own.
std::atomic<int> context_polling_us;

gint poll_then_block(GPollFD *descriptors, guint count, gint timeout_ms)
{
    if (timeout_ms == 0)
        return g_poll(descriptors, count, 0);
    const auto start = Clock::now();
    const auto limit = std::chrono::microseconds{context_polling_us};
    auto waited = Clock::duration::zero();
    do {
        if (const gint ready = g_poll(descriptors, count, 0); ready != 0)
            return ready;
        waited = Clock::now() - start;
        if (timeout_ms > 0 && waited >= std::chrono::milliseconds{timeout_ms})
            return 0;
    } while (waited < limit);
    const auto waited_ms = static_cast<gint>(std::chrono::duration_cast<std::chrono::milliseconds>(waited).count());
    return g_poll(descriptors, count, timeout_ms < 0 ? timeout_ms : timeout_ms - waited_ms);
}

} // namespace

ssize_t receive_polling(const Port *port, Parcel *parcel)
{
    const auto limit = Clock::now() + std::chrono::microseconds{port->polling_us};
    do {
        const ssize_t received = recv(port->fd.get(), parcel->buffer.bytes(), parcel->buffer.capacity(), MSG_DONTWAIT);
        if (received >= 0 || errno != EAGAIN)
            return received;
    } while (Clock::now() < limit);
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
