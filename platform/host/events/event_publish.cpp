// SPDX-License-Identifier: Apache-2.0
#include <app_event_publish.h>

#include "event_bus.hpp"
#include "event_payload.hpp"
#include "platform/host/log/log.hpp"

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace kv::host {

namespace {

constexpr std::uint64_t timeout_us = 5'000'000;

int send_event(const BusLibrary &lib, sd_bus *bus, const EventName &name, const bundle *data)
{
    sd_bus_message *message = nullptr;
    int result = lib.set_method_call_timeout(bus, timeout_us);
    if (result >= 0)
        result = lib.message_new_signal(bus, &message, "/org/korvane/event", name.interface, name.member);
    if (result >= 0)
        result = write_payload(lib, message, data);
    if (result >= 0)
        result = lib.send(bus, message, nullptr);
    lib.message_unref(message);
    if (result < 0)
        return result;

    // The bus works in order: when it replies it has passed the event on, so a later event cannot overtake this one.
    sd_bus_error error{};
    result = lib.call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Peer", "Ping",
                             &error, nullptr, nullptr);
    lib.error_free(&error);
    return result;
}

} // namespace

} // namespace kv::host

extern "C" int event_publish(const char *event_name, bundle *data)
{
    using namespace kv::host;
    const BusLibrary *library = bus_library();
    if (!library)
        return -ENOSYS;
    EventName name;
    if (const int error = read_event_name(*library, event_name, &name); error < 0)
        return error;
    sd_bus *bus = nullptr;
    if (const int error = open_bus(*library, &bus); error < 0)
        return error;
    const int result = send_event(*library, bus, name, data);
    library->close(bus);
    library->unref(bus);
    if (result < 0) {
        dlog_print(log_error, log_tag, "cannot publish event %s: %s", event_name, strerror(-result));
        return result;
    }
    return 0;
}
