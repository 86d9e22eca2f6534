// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "event_bus.hpp"

#include <glib.h>

namespace kv::host {

/// A connection to the bus, served by one main context as an event source of it. Those who use it share it; with the
/// last of them it closes.
struct EventConnection {
    GSource source; // first: GLib allocates the source with the rest behind it
    const BusLibrary *library;
    GMainContext *context;
    sd_bus *bus;
    gpointer watch;
    int watched_fd;
    GIOCondition watched_events;
    unsigned users;
    bool is_lost;
    EventConnection *next;

    /// The connection of the calling thread's default context, opened when there is none: 0 or a negative errno with an
    /// error line. Opening waits for nobody: what the bus has to answer arrives in the main loop.
    static int acquire(const BusLibrary &library, EventConnection **connection);
    void release();
};

} // namespace kv::host
