// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane/core/values/versioned_handle.hpp"
#include "src/korvane_master_proxy/delegate.hpp"

#include <korvane.h>

#include <cstdint>
#include <type_traits>

/// Where the session keeps the registrations of the application.
namespace kv::api {

using proxy::AnyFunction;

/// Most events have one callback; the PIN events have two, for begin and end, which are set and unset together.
inline constexpr int max_callbacks = 2;

/// A delegate of a registration, with the application's callback for its events.
struct RegisteredDelegate : proxy::Delegate {
    korvane_h session = nullptr;
    AnyFunction app_callback = nullptr;
    void *app_data = nullptr;
    bool being_set = false; // its set function has not returned yet
    bool confirmed = false; // its set function has succeeded, so the callback is its own and not an earlier one
};

static_assert(std::is_trivially_destructible_v<RegisteredDelegate>, "the proxy frees it as a Delegate");

/// The registration that the last successful set function stored. Delegates that the agent was given are on the proxy's list.
struct EventSlot {
    AnyFunction callbacks[max_callbacks]{};
    void *user_data = nullptr;
    Owned<proxy::Delegate> unsent[max_callbacks]; // whose request was refused before it was sent
};

} // namespace kv::api

/// The access point to join, as an event handed it to the application.
struct korvane_ap_info_s : kv::api::VersionedHandle<rpc_port_korvane_ap_info_s, kv::since(1, 3)> {
    using VersionedHandle::VersionedHandle;
};

struct korvane_device_prov_info_s {
    kv::Owned<rpc_port_korvane_device_prov_info_s> record; // null before the first event and after a release
};

namespace kv::api {

/// The data of the last event of a kind, which the application may read until the next event, set or unset.
struct EventData {
    Owned<korvane_ap_info_s> ap_info;
    korvane_device_prov_info_s device_prov_info;
};

} // namespace kv::api
