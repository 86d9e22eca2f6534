// SPDX-License-Identifier: Apache-2.0
#include <app_event_publish.h>

#include "event_bus.hpp"
#include "event_payload.hpp"
#include "platform/host/log/log.hpp"
#include "platform/host/owned.hpp"

#include <pthread.h>
#include <unistd.h>

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

int logged(const EventName &name, int result)
{
    if (result < 0)
        dlog_print(log_error, log_tag, "cannot publish event %s.%s: %s", name.interface, name.member,
                   strerror(-result));
    return result;
}

/// Publishes with a connection of its own.
int publish_once(const BusLibrary &lib, const EventName &name, const bundle *data)
{
    sd_bus *bus = nullptr;
    if (const int error = open_bus(lib, &bus); error < 0)
        return error;
    const int result = logged(name, send_event(lib, bus, name, data));
    lib.close(bus);
    lib.unref(bus);
    return result;
}

/// This process's connection to a shared bus. It stays open after an event, because subscribers look up the sender's
/// user.
class SharedBusPublisher {
public:
    int publish(const BusLibrary &lib, const EventName &name, const bundle *data)
    {
        const Lock lock(&mutex_);
        if (is_usable(lib) && send_event(lib, bus_, name, data) >= 0)
            return 0;
        // There is no connection, or the bus has been restarted since.
        if (const int error = reopen(lib); error < 0)
            return error;
        return logged(name, send_event(lib, bus_, name, data));
    }

private:
    bool is_usable(const BusLibrary &lib) const
    {
        return bus_ && process_ == getpid() && strcmp(setting_, bus_setting()) == 0 && lib.is_open(bus_) > 0;
    }

    int reopen(const BusLibrary &lib)
    {
        // A forked child leaves its parent's connection alone.
        if (sd_bus *before = std::exchange(bus_, nullptr); before && process_ == getpid()) {
            lib.close(before);
            lib.unref(before);
        }
        const char *setting = bus_setting();
        if (strlen(setting) >= sizeof setting_)
            return -ENAMETOOLONG;
        const int result = open_bus(lib, &bus_);
        process_ = getpid();
        strcpy(setting_, setting);
        return result;
    }

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    sd_bus *bus_ = nullptr;
    pid_t process_ = 0;
    char setting_[512] = "";
};

constinit SharedBusPublisher shared_bus_publisher;

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
    const int result =
        bus_is_shared() ? shared_bus_publisher.publish(*library, name, data) : publish_once(*library, name, data);
    return result < 0 ? result : 0;
}
