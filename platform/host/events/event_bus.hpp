// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

namespace kv::host {

/// The functions of the bus library. It is loaded at the first use of an event, so other programs do without it.
struct BusLibrary {
    decltype(&sd_bus_new) bus_new;
    decltype(&sd_bus_open_user) open_user;
    decltype(&sd_bus_open_system) open_system;
    decltype(&sd_bus_set_address) set_address;
    decltype(&sd_bus_set_bus_client) set_bus_client;
    decltype(&sd_bus_set_method_call_timeout) set_method_call_timeout;
    decltype(&sd_bus_start) start;
    decltype(&sd_bus_is_open) is_open;
    decltype(&sd_bus_close) close;
    decltype(&sd_bus_unref) unref;
    decltype(&sd_bus_get_fd) get_fd;
    decltype(&sd_bus_get_events) get_events;
    decltype(&sd_bus_get_timeout) get_timeout;
    decltype(&sd_bus_process) process;
    decltype(&sd_bus_send) send;
    decltype(&sd_bus_call_method) call_method;
    decltype(&sd_bus_call_method_async) call_method_async;
    decltype(&sd_bus_match_signal_async) match_signal_async;
    decltype(&sd_bus_slot_unref) slot_unref;
    decltype(&sd_bus_slot_set_destroy_callback) slot_set_destroy_callback;
    decltype(&sd_bus_slot_set_floating) slot_set_floating;
    decltype(&sd_bus_error_free) error_free;
    decltype(&sd_bus_interface_name_is_valid) interface_name_is_valid;
    decltype(&sd_bus_member_name_is_valid) member_name_is_valid;
    decltype(&sd_bus_message_new_signal) message_new_signal;
    decltype(&sd_bus_message_unref) message_unref;
    decltype(&sd_bus_message_get_error) message_get_error;
    decltype(&sd_bus_message_get_sender) message_get_sender;
    decltype(&sd_bus_message_get_destination) message_get_destination;
    decltype(&sd_bus_message_has_signature) message_has_signature;
    decltype(&sd_bus_message_open_container) message_open_container;
    decltype(&sd_bus_message_close_container) message_close_container;
    decltype(&sd_bus_message_append_basic) message_append_basic;
    decltype(&sd_bus_message_append_array) message_append_array;
    decltype(&sd_bus_message_enter_container) message_enter_container;
    decltype(&sd_bus_message_exit_container) message_exit_container;
    decltype(&sd_bus_message_peek_type) message_peek_type;
    decltype(&sd_bus_message_read_basic) message_read_basic;
    decltype(&sd_bus_message_read_array) message_read_array;
    decltype(&sd_bus_message_skip) message_skip;
};

/// NULL after an error line if the library is missing or too old.
const BusLibrary *bus_library();

/// The value of KORVANE_BUS.
const char *bus_setting();
/// Whether any user can be connected to the bus. A session bus admits only its own user and root.
bool bus_is_shared();
/// The bus name that a publisher of events must own (KORVANE_EVENT_SENDER); NULL for any.
const char *trusted_sender();

/// Begins to connect to the bus that KORVANE_BUS names: "session" (the default), "system" or an address. 0, or a
/// negative errno after an error line, unless the previous attempt failed for the same reason.
int open_bus(const BusLibrary &library, sd_bus **bus);

/// An event's name, divided at its last dot: "a.b.C.Member" is a member of the interface "a.b.C".
struct EventName {
    char interface[256];
    const char *member; ///< points into the whole name
};

/// 0, or -EINVAL after an error line.
int read_event_name(const BusLibrary &library, const char *name, EventName *parts);

} // namespace kv::host
