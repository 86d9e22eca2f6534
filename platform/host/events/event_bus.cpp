// SPDX-License-Identifier: Apache-2.0
#include "event_bus.hpp"

#include "platform/host/log/log.hpp"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kv::host {

namespace {

constinit BusLibrary library{};
constinit bool is_loaded = false;
constinit pthread_once_t once = PTHREAD_ONCE_INIT;

/// Looks up functions of a loaded library by name.
class Loader {
public:
    explicit Loader(void *object) : object_(object) {}

    template <class Function>
    void operator()(const char *name, Function *&function)
    {
        function = is_complete_ ? reinterpret_cast<Function *>(dlsym(object_, name)) : nullptr;
        is_complete_ = function != nullptr;
    }

    bool is_complete() const { return is_complete_; }

private:
    void *object_;
    bool is_complete_ = object_ != nullptr;
};

void load()
{
    Loader take(dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL));
    take("sd_bus_new", library.bus_new);
    take("sd_bus_open_user", library.open_user);
    take("sd_bus_open_system", library.open_system);
    take("sd_bus_set_address", library.set_address);
    take("sd_bus_set_bus_client", library.set_bus_client);
    take("sd_bus_set_method_call_timeout", library.set_method_call_timeout);
    take("sd_bus_start", library.start);
    take("sd_bus_is_open", library.is_open);
    take("sd_bus_close", library.close);
    take("sd_bus_unref", library.unref);
    take("sd_bus_get_fd", library.get_fd);
    take("sd_bus_get_events", library.get_events);
    take("sd_bus_get_timeout", library.get_timeout);
    take("sd_bus_process", library.process);
    take("sd_bus_send", library.send);
    take("sd_bus_call_method", library.call_method);
    take("sd_bus_call_method_async", library.call_method_async);
    take("sd_bus_match_signal_async", library.match_signal_async);
    take("sd_bus_slot_unref", library.slot_unref);
    take("sd_bus_slot_set_destroy_callback", library.slot_set_destroy_callback);
    take("sd_bus_slot_set_floating", library.slot_set_floating);
    take("sd_bus_error_free", library.error_free);
    take("sd_bus_interface_name_is_valid", library.interface_name_is_valid);
    take("sd_bus_member_name_is_valid", library.member_name_is_valid);
    take("sd_bus_message_new_signal", library.message_new_signal);
    take("sd_bus_message_unref", library.message_unref);
    take("sd_bus_message_get_error", library.message_get_error);
    take("sd_bus_message_get_sender", library.message_get_sender);
    take("sd_bus_message_get_destination", library.message_get_destination);
    take("sd_bus_message_has_signature", library.message_has_signature);
    take("sd_bus_message_open_container", library.message_open_container);
    take("sd_bus_message_close_container", library.message_close_container);
    take("sd_bus_message_append_basic", library.message_append_basic);
    take("sd_bus_message_append_array", library.message_append_array);
    take("sd_bus_message_enter_container", library.message_enter_container);
    take("sd_bus_message_exit_container", library.message_exit_container);
    take("sd_bus_message_peek_type", library.message_peek_type);
    take("sd_bus_message_read_basic", library.message_read_basic);
    take("sd_bus_message_read_array", library.message_read_array);
    take("sd_bus_message_skip", library.message_skip);
    is_loaded = take.is_complete();
    if (!is_loaded)
        dlog_print(log_error, log_tag, "cannot load libsystemd.so.0 (246 or later), which application events need: %s",
                   dlerror());
}

} // namespace

const BusLibrary *bus_library()
{
    pthread_once(&once, load);
    return is_loaded ? &library : nullptr;
}

const char *bus_setting()
{
    const char *chosen = secure_getenv("KORVANE_BUS");
    return chosen && *chosen ? chosen : "session";
}

bool bus_is_shared()
{
    return strcmp(bus_setting(), "session") != 0;
}

const char *trusted_sender()
{
    const char *name = secure_getenv("KORVANE_EVENT_SENDER");
    return name && *name ? name : nullptr;
}

int open_bus(const BusLibrary &lib, sd_bus **bus)
{
    const char *chosen = bus_setting();
    sd_bus *opened = nullptr;
    int result = 0;
    if (strcmp(chosen, "session") == 0) {
        result = lib.open_user(&opened);
    } else if (strcmp(chosen, "system") == 0) {
        result = lib.open_system(&opened);
    } else {
        result = lib.bus_new(&opened);
        if (result >= 0)
            result = lib.set_address(opened, chosen);
        if (result >= 0)
            result = lib.set_bus_client(opened, 1);
        if (result >= 0)
            result = lib.start(opened);
    }
    // Programs that initialize the library repeatedly would repeat the line.
    static constinit std::atomic<int> reported_result = 0;
    if (result >= 0) {
        reported_result = 0;
        *bus = opened;
        return 0;
    }
    lib.unref(opened);
    if (reported_result.exchange(result) != result)
        dlog_print(log_error, log_tag,
                   "cannot connect to the message bus KORVANE_BUS=\"%s\", so no application events arrive: %s", chosen,
                   strerror(-result));
    return result;
}

int read_event_name(const BusLibrary &lib, const char *name, EventName *parts)
{
    const char *dot = name ? strrchr(name, '.') : nullptr;
    const std::size_t size = dot ? static_cast<std::size_t>(dot - name) : 0;
    if (size > 0 && size < sizeof parts->interface) {
        memcpy(parts->interface, name, size);
        parts->interface[size] = '\0';
        parts->member = dot + 1;
        // Both become part of a match rule, where a quote would begin another term.
        if (lib.interface_name_is_valid(parts->interface) > 0 && lib.member_name_is_valid(parts->member) > 0)
            return 0;
    }
    dlog_print(log_error, log_tag,
               "\"%s\" is not an event name: give an interface and a member, as in \"a.b.C.Member\"",
               name ? name : "(null)");
    return -EINVAL;
}

} // namespace kv::host
