// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "event_bus.hpp"

#include <glib.h>

namespace kv::host {

/// A connection to the bus, and the source that serves it in one main context. The handlers of that context share it;
/// the last release() closes it.
struct EventConnection {
    GSource source; // first, because GLib allocates it together with the rest
    const BusLibrary *library;
    GMainContext *context;
    sd_bus *bus;
    gpointer watch;
    int watched_fd;
    GIOCondition watched_events;
    unsigned users;
    bool is_lost;
    EventConnection *next;

    /// Finds or opens the connection of the calling thread's default context. 0, or a negative errno after an error
    /// line. Opening does not wait: the replies of the bus arrive in the main loop.
    static int acquire(const BusLibrary &library, EventConnection **connection);
    void release();
};

} // namespace kv::host
