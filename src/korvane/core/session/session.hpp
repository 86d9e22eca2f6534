// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/owned.hpp"
#include "event_slot.hpp"
#include "one_shot.hpp"
#include "src/korvane_master_proxy/connection.hpp"

#include <korvane.h>

namespace kv::api {

/// Owns the connection to the agent, and with it every delegate that the agent was given.
class AgentProxy {
public:
    AgentProxy() = default;
    AgentProxy(const AgentProxy &) = delete;
    AgentProxy &operator=(const AgentProxy &) = delete;
    ~AgentProxy()
    {
        if (proxy_)
            rpc_port_proxy_kv_master_destroy(proxy_);
    }

    operator rpc_port_proxy_kv_master_h() const { return proxy_; }
    rpc_port_proxy_kv_master_h *out() { return &proxy_; }
    bool is_connected() const { return proxy_->port != nullptr; }

private:
    rpc_port_proxy_kv_master_h proxy_ = nullptr;
};

} // namespace kv::api

/// The session: everything that exists from initialising to deinitialising. Zero-filled at first. Members are destroyed
/// from the last to the first, so the proxy is still there when the event slots go.
struct korvane_s {
    kv::EventHandler update_status; // follows the service manager's event
    kv::IdleSource io_error_notice; // a pending call of rpc_io_error_cb
    kv::api::AgentProxy proxy;

    korvane_connection_status_cb connection_status_cb = nullptr;
    void *connection_status_data = nullptr;
    korvane_rpc_io_error_cb rpc_io_error_cb = nullptr;
    void *rpc_io_error_data = nullptr;

    kv::api::EventSlot event_slots[kv::master::Events::count];
    kv::api::EventData event_data;
    kv::api::OneShotRequests one_shots;
};

namespace kv::api {

/// The one session, or null while the library is not initialised.
extern korvane_h live_session;

} // namespace kv::api
