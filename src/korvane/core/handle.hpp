// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/owned.hpp"

#include "event_data.hpp"
#include "one_shot.hpp"
#include "slot.hpp"
#include "src/korvane_master_proxy/connection.hpp"
#include "src/kv_master/interface.hpp"

#include <korvane.h>

namespace kv::api {

/// The link to the agent, with every delegate that the agent has been given.
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

private:
    rpc_port_proxy_kv_master_h proxy_ = nullptr;
};

} // namespace kv::api

/// The library's handle: all that exists between initialising and deinitialising. Zero-filled at first. It is released
/// from its end to its beginning: a slot looks at its delegate, which the proxy frees, so the proxy outlives the slots.
struct korvane_s {
    kv::EventHandler update_status; // the service manager's event
    kv::IdleSource io_error_notice; // a pending call of rpc_io_error_cb
    kv::api::AgentProxy proxy;

    korvane_connection_status_cb connection_status_cb = nullptr;
    void *connection_status_data = nullptr;
    korvane_rpc_io_error_cb rpc_io_error_cb = nullptr;
    void *rpc_io_error_data = nullptr;

    // One slot per event that the application can subscribe to.
    kv::api::EventSlot<korvane_status_changed_cb> status_changed;
    kv::api::EventSlot<korvane_user_confirm_cb> user_confirm;
    kv::api::EventSlot<korvane_reset_confirm_cb> reset_confirm;
    kv::api::EventSlot<korvane_reset_result_cb> reset_result;

    kv::api::WifiApSlot wifi_ap_provisioning;
    kv::api::EventSlot<korvane_scan_ap_cb> scan_ap;
    kv::api::DeviceProvisioningSlot device_provisioning;
    kv::api::EventSlot<korvane_pin_generated_cb, korvane_pin_display_closed_cb> pin;
    kv::api::EventSlot<korvane_ultrasound_pin_generated_cb, korvane_ultrasound_pin_stopped_cb> ultrasound_pin;
    kv::api::EventSlot<korvane_stop_soft_ap_cb> stop_soft_ap;
    kv::api::EventSlot<korvane_provisioning_language_cb> provisioning_language;
    kv::api::EventSlot<korvane_provisioning_vendor_info_cb> provisioning_vendor_info;
    kv::api::EventSlot<korvane_otm_support_feature_cb> otm_support_feature;
    kv::api::EventSlot<korvane_provisioning_get_requested_cb> provisioning_get_requested;

    kv::api::EventSlot<korvane_signin_status_changed_cb> signin_status_changed;
    kv::api::EventSlot<korvane_signup_status_changed_cb> signup_status_changed;
    kv::api::EventSlot<korvane_tcp_session_disconnected_cb> tcp_session_disconnected;
    kv::api::EventSlot<korvane_cloud_device_list_cb> cloud_device_list;
    kv::api::EventSlot<korvane_nick_changed_cb> nick_changed;
    kv::api::EventSlot<korvane_last_status_changed_cb> last_status_changed;
    kv::api::EventSlot<korvane_keepalive_result_cb> keepalive_result;
    kv::api::EventSlot<korvane_tnc_result_cb> tnc_result;
    kv::api::EventSlot<korvane_diagnostics_cb> diagnostics;

    kv::api::OneShotRecords one_shots; // requests whose answer has not come yet
};

namespace kv::api {

/// The one live handle, or NULL: the library is not initialised.
extern korvane_h live_handle;

} // namespace kv::api
