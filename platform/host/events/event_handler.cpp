// SPDX-License-Identifier: Apache-2.0
#include <app_event.h>

#include "event_connection.hpp"
#include "event_payload.hpp"
#include "platform/host/log/log.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace kv::host {

namespace {

struct EventHandler {
    const BusLibrary *library = nullptr;
    EventConnection *connection = nullptr;
    sd_bus_slot *slot = nullptr;
    event_cb callback = nullptr;
    void *user_data = nullptr;
    unsigned references = 1; ///< of the registration, of each running call and of each unchecked event
    unsigned unchecked = 0;  ///< events whose sender is being looked up
    bool is_removed = false;
    bool checks_user = false;
    char name[2 * 256] = ""; ///< the bus limits interface and member to 255 bytes each
};

/// An event whose sender is being looked up. It holds the payload and not the message, which would keep the connection
/// alive.
struct UncheckedEvent {
    explicit UncheckedEvent(EventHandler *of) : handler(of) { handler->unchecked++; }
    ~UncheckedEvent() { handler->unchecked--; }

    Ref<EventHandler> handler;
    bundle payload;
};

// A negative result would become an error reply on the bus; a positive one would hide the event from other handlers.
constexpr int handled = 0;

void deliver(EventHandler *handler, bundle *payload)
{
    const Ref<EventHandler> alive{handler}; // the callback may remove it
    handler->callback(handler->name, payload, handler->user_data);
}

int on_sender_user(sd_bus_message *reply, void *data, sd_bus_error *)
{
    auto *event = static_cast<UncheckedEvent *>(data);
    EventHandler *handler = event->handler.get();
    const BusLibrary &lib = *handler->library;
    if (handler->is_removed)
        return handled;
    const sd_bus_error *error = lib.message_get_error(reply);
    std::uint32_t user = 0;
    if (error || lib.message_read_basic(reply, 'u', &user) <= 0) {
        dlog_print(
            log_error, log_tag,
            "dropping event %s: cannot find the user of its sender (%s); the sender must stay connected to the bus, "
            "or set KORVANE_EVENT_SENDER to its bus name",
            handler->name, error && error->message ? error->message : "no reply");
    } else if (user != geteuid() && user != 0) {
        dlog_print(log_error, log_tag, "dropping event %s of user %u: only user %u and root may publish it",
                   handler->name, user, geteuid());
    } else {
        deliver(handler, &event->payload);
    }
    return handled;
}

void destroy_event(void *event)
{
    Destroy{}(static_cast<UncheckedEvent *>(event));
}

/// Asks the bus for the sender's user. The bus replies in order, so events stay in order.
int look_up_sender(EventHandler *handler, sd_bus_message *message)
{
    constexpr unsigned max_unchecked = 64;
    const BusLibrary &lib = *handler->library;
    if (handler->unchecked >= max_unchecked)
        return -EBUSY;
    void *memory = malloc(sizeof(UncheckedEvent));
    if (!memory)
        return -ENOMEM;
    Owned<UncheckedEvent> event{new (memory) UncheckedEvent(handler)};
    if (read_payload(lib, message, handler->name, &event->payload) < 0)
        return 0; // logged
    sd_bus_slot *slot = nullptr;
    const int result = lib.call_method_async(handler->connection->bus, &slot, "org.freedesktop.DBus",
                                             "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixUser",
                                             on_sender_user, event.get(), "s", lib.message_get_sender(message));
    if (result < 0)
        return result;
    lib.slot_set_destroy_callback(slot, destroy_event);
    lib.slot_set_floating(slot, 1); // the connection owns it from here on, and with it the event
    (void)event.release();
    lib.slot_unref(slot);
    return 0;
}

int on_event(sd_bus_message *message, void *data, sd_bus_error *)
{
    auto *handler = static_cast<EventHandler *>(data);
    const BusLibrary &lib = *handler->library;
    if (lib.message_get_destination(message)) {
        // The bus checks match rules, and with them the sender's name, only for a broadcast.
        dlog_print(log_error, log_tag, "dropping event %s of %s: it was sent to this process only", handler->name,
                   lib.message_get_sender(message));
        return handled;
    }
    if (handler->checks_user) {
        if (const int error = look_up_sender(handler, message); error < 0)
            dlog_print(log_error, log_tag, "dropping event %s: cannot look up its sender: %s", handler->name,
                       strerror(-error));
        return handled;
    }
    bundle payload;
    if (read_payload(lib, message, handler->name, &payload) >= 0)
        deliver(handler, &payload);
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

/// Whether an event is delivered only if the user of its sender may publish it. One trusted sender needs no check.
bool must_check_users()
{
    return bus_is_shared() && !trusted_sender();
}

/// Requests the event's signal for the handler, which then holds the connection. 0, or a negative errno.
int subscribe(EventHandler *handler, const EventName &name)
{
    const BusLibrary *library = handler->library;
    int result = EventConnection::acquire(*library, &handler->connection);
    if (result < 0)
        return result;
    result = library->match_signal_async(handler->connection->bus, &handler->slot, trusted_sender(), nullptr,
                                         name.interface, name.member, on_event, on_match_reply, handler);
    if (result < 0) {
        dlog_print(log_error, log_tag, "cannot subscribe to the event %s: %s", handler->name, strerror(-result));
        handler->connection->release();
        return result;
    }
    return 0;
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
    added->library = library;
    added->checks_user = must_check_users();
    added->callback = callback;
    added->user_data = user_data;
    if (const int error = subscribe(added.get(), parts); error < 0)
        return error;
    *handler = added.release();
    return 0;
}

extern "C" int event_remove_event_handler(event_handler_h handler)
{
    using namespace kv::host;
    auto *removed = static_cast<EventHandler *>(handler);
    if (!removed)
        return -EINVAL;
    removed->is_removed = true;
    removed->library->slot_unref(removed->slot);
    removed->connection->release();
    const Ref<EventHandler> registrations = Ref<EventHandler>::adopt(removed);
    return 0;
}
