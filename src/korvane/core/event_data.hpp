// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "slot.hpp"
#include "two_form.hpp"

#include <korvane.h>

/// What events hand to the application as handles. The library's handle holds one of each kind, that of the last event.

/// The access point to join.
struct korvane_ap_info_s : kv::api::TwoForm<rpc_port_korvane_ap_info_s, kv::since(1, 3)> {
    using TwoForm::TwoForm;
};

struct korvane_device_prov_info_s {
    kv::proxy::Owned<rpc_port_korvane_device_prov_info_s> record; // none: no event, or it has been let go
};

namespace kv::api {

/// One application callback behind two delegates, one per generation of the agent. Which of them is in use follows the
/// installed agent; after an update the other one may still be there.
struct WifiApSlot : EventSlot<korvane_wifi_ap_provisioning_cb, korvane_wifi_ap_provisioning_cb> {
    proxy::Owned<korvane_ap_info_s> held;
};

struct DeviceProvisioningSlot : EventSlot<korvane_device_provisioning_cb> {
    korvane_device_prov_info_s held;

    void let_go() { held.record.reset(); }
};

} // namespace kv::api
