// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_WIFI_HPP
#define KORVANE_DEVICE_WIFI_HPP

#include "core.hpp"

#include "../received.hpp"
#include "../values.hpp"

namespace korvane::detail {

/// Scans for access points, and joining one. A part of korvane::Device.
class WifiFunctions : public CoreFunctions {
public:
    /// Replies to on_scan_ap() with the access points that the device sees, at least one. Lowest agent version: any.
    Result<void> send_ap_list(const std::vector<AccessPoint> &list, int req_id, IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(list, if_too_old, [this, req_id](auto handle) {
            return detail::call<korvane_send_ap_list>(native_handle(), handle, req_id);
        });
    }
    /// Reports why the device could not join the access point; agent-defined. Lowest agent version: 1.3.
    Result<void> set_wifi_connection_error_code(int error_code)
    {
        return detail::call<korvane_set_wifi_connection_error_code>(native_handle(), error_code);
    }

    // ---- Events ----------

    /// Registers a handler `(const ChosenAccessPoint &)` for the access point that the device is to join. Lowest agent
    /// version: any.
    template <class Handler>
    Result<Subscription> on_wifi_ap_provisioning(Handler handler)
    {
        return subscribe<korvane_set_wifi_ap_provisioning_cb, korvane_unset_wifi_ap_provisioning_cb,
                         void(ChosenAccessPoint)>(std::move(handler));
    }
    /// Registers a handler `(int req_id)` for scan requests; reply with send_ap_list(). Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_scan_ap(Handler handler)
    {
        return subscribe<korvane_set_scan_ap_cb, korvane_unset_scan_ap_cb, void(int)>(std::move(handler));
    }
    /// Registers a handler `()` for the end of the device's soft access point. Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_stop_soft_ap(Handler handler)
    {
        return subscribe<korvane_set_stop_soft_ap_cb, korvane_unset_stop_soft_ap_cb, void()>(std::move(handler));
    }
};

} // namespace korvane::detail

#endif
