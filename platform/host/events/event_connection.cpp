// SPDX-License-Identifier: Apache-2.0
#include "event_connection.hpp"

#include "platform/host/log/log.hpp"
#include "platform/host/owned.hpp"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

namespace kv::host {

namespace {

// One per main context, so usually one. All threads share the list; a connection belongs to the thread of its context.
constinit EventConnection *connections = nullptr;
constinit pthread_mutex_t connections_mutex = PTHREAD_MUTEX_INITIALIZER;

EventConnection *connection_of(GSource *source)
{
    return reinterpret_cast<EventConnection *>(source);
}

void forget(EventConnection *connection)
{
    const Lock lock(&connections_mutex);
    for (EventConnection **link = &connections; *link; link = &(*link)->next) {
        if (*link == connection) {
            *link = connection->next;
            return;
        }
    }
}

/// Makes the main loop watch what the bus waits for. Only a change reaches the source, because each wakes the loop.
int update_watch(EventConnection *connection)
{
    const int fd = connection->library->get_fd(connection->bus);
    const int events = connection->library->get_events(connection->bus);
    if (fd < 0 || events < 0)
        return fd < 0 ? fd : events;
    const auto wanted = static_cast<GIOCondition>(events);
    if (fd != connection->watched_fd) {
        if (connection->watch)
            g_source_remove_unix_fd(&connection->source, connection->watch);
        connection->watch = g_source_add_unix_fd(&connection->source, fd, wanted);
    } else if (wanted != connection->watched_events) {
        g_source_modify_unix_fd(&connection->source, connection->watch, wanted);
    }
    connection->watched_fd = fd;
    connection->watched_events = wanted;
    return 0;
}

/// Milliseconds until the bus needs to run: 0 for now, -1 for when data arrives.
int time_left(const EventConnection *connection)
{
    std::uint64_t due = 0;
    if (connection->library->get_timeout(connection->bus, &due) < 0)
        return 0; // the connection is broken; dispatch() handles that
    if (due == UINT64_MAX)
        return -1;
    const auto now = static_cast<std::uint64_t>(g_get_monotonic_time());
    if (due <= now)
        return 0;
    return static_cast<int>(std::min<std::uint64_t>((due - now + 999) / 1000, INT_MAX));
}

gboolean prepare(GSource *source, gint *timeout)
{
    EventConnection *connection = connection_of(source);
    *timeout = update_watch(connection) < 0 ? 0 : time_left(connection);
    return *timeout == 0;
}

gboolean check(GSource *source)
{
    EventConnection *connection = connection_of(source);
    return g_source_query_unix_fd(source, connection->watch) != 0 || time_left(connection) == 0;
}

gboolean dispatch(GSource *source, GSourceFunc, gpointer)
{
    constexpr int max_messages = 64; // leaves room for the loop's other sources during a flood of events
    EventConnection *connection = connection_of(source);
    int result = 1;
    for (int i = 0; i < max_messages && result > 0; ++i) {
        result = connection->library->process(connection->bus, nullptr);
        if (g_source_is_destroyed(source)) // the last handler removed itself
            return G_SOURCE_REMOVE;
    }
    if (result >= 0)
        return G_SOURCE_CONTINUE;

    dlog_print(log_error, log_tag, "lost the connection to the message bus, so no more application events arrive: %s",
               strerror(-result));
    // Its handlers stay valid until they are removed. A later handler opens a new connection.
    connection->is_lost = true;
    forget(connection);
    connection->library->close(connection->bus);
    return G_SOURCE_REMOVE;
}

void finalize(GSource *source)
{
    const EventConnection *connection = connection_of(source);
    connection->library->unref(connection->bus);
}

constinit GSourceFuncs functions{prepare, check, dispatch, finalize, nullptr, nullptr};

} // namespace

int EventConnection::acquire(const BusLibrary &library, EventConnection **connection)
{
    g_autoptr(GMainContext) context = g_main_context_ref_thread_default();
    const Lock lock(&connections_mutex);
    for (EventConnection *open = connections; open; open = open->next) {
        if (open->context == context) {
            ++open->users;
            *connection = open;
            return 0;
        }
    }

    sd_bus *bus = nullptr;
    if (const int error = open_bus(library, &bus); error < 0)
        return error;
    EventConnection *opened = connection_of(g_source_new(&functions, sizeof(EventConnection)));
    g_source_set_static_name(&opened->source, "korvane application events");
    opened->library = &library;
    opened->context = g_main_context_ref(context);
    opened->bus = bus;
    opened->watched_fd = -1;
    opened->users = 1;
    opened->next = connections;
    if (const int error = update_watch(opened); error < 0) {
        dlog_print(log_error, log_tag, "cannot watch the message bus, so no application events arrive: %s",
                   strerror(-error));
        g_main_context_unref(context);
        g_source_unref(&opened->source);
        return error;
    }
    connections = opened;
    g_source_attach(&opened->source, context);
    *connection = opened;
    return 0;
}

void EventConnection::release()
{
    {
        const Lock lock(&connections_mutex);
        if (--users > 0)
            return;
    }
    if (!is_lost) {
        forget(this);
        library->close(bus);
    }
    GMainContext *own_context = context;
    g_source_destroy(&source);
    g_source_unref(&source); // during its dispatch GLib holds another reference
    g_main_context_unref(own_context);
}

} // namespace kv::host
