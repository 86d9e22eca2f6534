// SPDX-License-Identifier: Apache-2.0
#include <app_event.h>

#include "event_connection.hpp"
#include "event_payload.hpp"
#include "platform/host/log/log.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kv::host {

namespace {

struct EventHandler {
    EventConnection *connection;
    sd_bus_slot *slot;
    event_cb callback;
    void *user_data;
    unsigned calls; ///< that are going on; the last one frees a handler that was removed meanwhile
    bool is_removed;
    char name[2 * 256]; ///< the bus limits interface and member to 255 bytes each
};

void free_if_unused(EventHandler *handler)
{
    if (handler->is_removed && handler->calls == 0)
        free(handler);
}

// A result below 0 would be answered on the bus, one above would keep the event from other handlers.
constexpr int handled = 0;

int on_event(sd_bus_message *message, void *data, sd_bus_error *)
{
    auto *handler = static_cast<EventHandler *>(data);
    bundle payload;
    if (read_payload(*handler->connection->library, message, handler->name, &payload) < 0)
        return handled;
    ++handler->calls;
    handler->callback(handler->name, &payload, handler->user_data);
    --handler->calls;
    free_if_unused(handler);
    return handled;
}

int on_match_answered(sd_bus_message *reply, void *data, sd_bus_error *)
{
    const auto *handler = static_cast<const EventHandler *>(data);
    const EventConnection &connection = *handler->connection;
    const sd_bus_error *error = connection.library->message_get_error(reply);
    // A connection that breaks answers what is open with errors of its own, and says so itself.
    if (error && connection.library->is_open(connection.bus) > 0) {
        dlog_print(log_error, log_tag, "the message bus refuses the event %s, it will not arrive: %s", handler->name,
                   error->message ? error->message : error->name);
    }
    return handled;
}

} // namespace

} // namespace kv::host

extern "C" int event_add_event_handler(const char *event_name, event_cb callback, void *user_data,
                                       event_handler_h *handler)
{
    using namespace kv::host;
    if (!event_name || !callback || !handler)
        return -EINVAL;
    const BusLibrary *library = bus_library();
    if (!library)
        return -ENOSYS;
    EventName parts;
    if (const int error = read_event_name(*library, event_name, &parts); error < 0)
        return error;

    auto *added = static_cast<EventHandler *>(calloc(1, sizeof(EventHandler)));
    if (!added)
        return -ENOMEM;
    strcpy(added->name, event_name);
    added->callback = callback;
    added->user_data = user_data;
    int result = EventConnection::acquire(*library, &added->connection);
    if (result < 0) {
        free(added);
        return result;
    }
    result = library->match_signal_async(added->connection->bus, &added->slot, nullptr, nullptr, parts.interface,
                                         parts.member, on_event, on_match_answered, added);
    if (result < 0) {
        dlog_print(log_error, log_tag, "the event %s cannot be asked for: %s", event_name, strerror(-result));
        added->connection->release();
        free(added);
        return result;
    }
    *handler = added;
    return 0;
}

extern "C" int event_remove_event_handler(event_handler_h handler)
{
    using namespace kv::host;
    auto *removed = static_cast<EventHandler *>(handler);
    if (!removed)
        return -EINVAL;
    removed->connection->library->slot_unref(removed->slot);
    removed->connection->release();
    removed->is_removed = true;
    free_if_unused(removed);
    return 0;
}
