// SPDX-License-Identifier: Apache-2.0
#include <app_event.h>

#include "event_connection.hpp"
#include "event_payload.hpp"
#include "platform/host/log/log.hpp"

#include <cerrno>
#include <cstring>

namespace kv::host {

namespace {

struct EventHandler {
    EventConnection *connection = nullptr;
    sd_bus_slot *slot = nullptr;
    event_cb callback = nullptr;
    void *user_data = nullptr;
    unsigned references = 1; ///< of the registration and of each running call
    char name[2 * 256] = ""; ///< the bus limits interface and member to 255 bytes each
};

// A negative result would become an error reply on the bus; a positive one would hide the event from other handlers.
constexpr int handled = 0;

int on_event(sd_bus_message *message, void *data, sd_bus_error *)
{
    auto *handler = static_cast<EventHandler *>(data);
    bundle payload;
    if (read_payload(*handler->connection->library, message, handler->name, &payload) < 0)
        return handled;
    const Ref<EventHandler> alive{handler}; // the callback may remove it
    handler->callback(handler->name, &payload, handler->user_data);
    return handled;
}

int on_match_reply(sd_bus_message *reply, void *data, sd_bus_error *)
{
    const auto *handler = static_cast<const EventHandler *>(data);
    const EventConnection &connection = *handler->connection;
    const sd_bus_error *error = connection.library->message_get_error(reply);
    // When the connection breaks the library completes pending requests with errors; event_connection.cpp logs that.
    if (error && connection.library->is_open(connection.bus) > 0) {
        dlog_print(log_error, log_tag, "the message bus refuses to send the event %s: %s", handler->name,
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

    Owned<EventHandler> added = make<EventHandler>();
    if (!added)
        return -ENOMEM;
    strcpy(added->name, event_name);
    added->callback = callback;
    added->user_data = user_data;
    int result = EventConnection::acquire(*library, &added->connection);
    if (result < 0)
        return result;
    result = library->match_signal_async(added->connection->bus, &added->slot, nullptr, nullptr, parts.interface,
                                         parts.member, on_event, on_match_reply, added.get());
    if (result < 0) {
        dlog_print(log_error, log_tag, "cannot subscribe to the event %s: %s", event_name, strerror(-result));
        added->connection->release();
        return result;
    }
    *handler = added.release();
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
    const Ref<EventHandler> registrations = Ref<EventHandler>::adopt(removed);
    return 0;
}
