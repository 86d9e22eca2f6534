// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_SETUP_HPP
#define KORVANE_DEVICE_SETUP_HPP

#include "wifi.hpp"

#include "../received.hpp"
#include "../values.hpp"

namespace korvane::detail {

/// The setup by the phone: PINs, languages, vendor data, terms. A part of korvane::Device.
class SetupFunctions : public WifiFunctions {
public:
    /// Sends a PIN that the application has generated for the current setup, not empty. Lowest agent version: 1.4.
    Result<void> set_random_pin(std::string_view pin)
    {
        return detail::call<korvane_set_random_pin>(native_handle(), pin);
    }
    /// Withdraws the PIN of set_random_pin(). Lowest agent version: 1.4.
    Result<void> unset_random_pin() { return detail::call<korvane_unset_random_pin>(native_handle()); }
    /// Sends a PIN that never changes, for instance one printed on the device. Call it before start(). Lowest agent
    /// version: any.
    Result<void> set_preconfigured_pin(std::string_view pin)
    {
        return detail::call<korvane_set_preconfigured_pin>(native_handle(), pin);
    }
    /// Switches the flag that the agent calls MOT status. Lowest agent version: any.
    Result<void> set_mot_status(bool enable) { return detail::call<korvane_set_mot_status>(native_handle(), enable); }
    /// Switches the setup over Bluetooth Low Energy on or off. Lowest agent version: 1.4.
    Result<void> set_gatt_ble(bool enable) { return detail::call<korvane_set_gatt_ble>(native_handle(), enable); }
    /// Sends the languages that the device supports, at least one. Call it before start(). Lowest agent version: 1.3.
    Result<void> set_language_list(const std::vector<std::string> &languages)
    {
        const detail::CTexts texts{languages};
        return texts.valid() ? detail::call<korvane_set_language_list>(native_handle(), texts.data(), texts.count())
                             : detail::refuse<korvane_set_language_list>();
    }
    /// Replies to on_provisioning_language(): true if the device changed its language. Lowest agent version: 1.3.
    Result<void> send_provisioning_language_setting_result(unsigned req_id, bool result)
    {
        return detail::call<korvane_send_provisioning_language_setting_result>(native_handle(), req_id, result);
    }
    /// Sends vendor-specific provisioning data, JSON text that is passed on unchanged. Lowest agent version: 1.3.
    Result<void> set_provisioning_vendor_info(std::string_view json)
    {
        return detail::call<korvane_set_provisioning_vendor_info>(native_handle(), json);
    }
    /// Sends the single sign-on list, agent-defined text. Lowest agent version: 1.3.
    Result<void> set_sso_list(std::string_view list)
    {
        return detail::call<korvane_set_sso_list>(native_handle(), list);
    }
    /// Sends the application's version of the setup. Call it before start(). Lowest agent version: 1.3.
    Result<void> set_easysetup_version_info(std::string_view version)
    {
        return detail::call<korvane_set_easysetup_version_info>(native_handle(), version);
    }
    /// Sends the device's terms and conditions. Lowest agent version: 1.3.
    Result<void> set_tnc_info(const TncInfo &info)
    {
        return detail::with(
            info, [this](auto handle) { return detail::call<korvane_set_tnc_info>(native_handle(), handle); });
    }
    /// Sends the URL of the terms. Lowest agent version: 1.4.
    Result<void> set_tnc_url(std::string_view url) { return detail::call<korvane_set_tnc_url>(native_handle(), url); }
    /// Reports which kinds of terms exist, as an agent-defined bit mask. Lowest agent version: 1.4.
    Result<void> set_tnc_type(unsigned type) { return detail::call<korvane_set_tnc_type>(native_handle(), type); }
    /// Reports whether the user has accepted the terms; agent-defined. Lowest agent version: 1.3.
    Result<void> set_tnc_status(int status) { return detail::call<korvane_set_tnc_status>(native_handle(), status); }

    // ---- Events ----------

    /// Registers a handler `(const DeviceProvisioning &)` for language, country and time from the phone. Lowest agent
    /// version: any.
    template <class Handler>
    Result<Subscription> on_device_provisioning(Handler handler)
    {
        return subscribe<korvane_set_device_provisioning_cb, korvane_unset_device_provisioning_cb,
                         void(DeviceProvisioning)>(std::move(handler));
    }
    /// Registers a handler `(unsigned req_id, std::string_view type, std::string_view value)` for language requests;
    /// reply with send_provisioning_language_setting_result(). Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_provisioning_language(Handler handler)
    {
        return subscribe<korvane_set_provisioning_language_cb, korvane_unset_provisioning_language_cb,
                         void(unsigned, std::string_view, std::string_view)>(std::move(handler));
    }
    /// Registers a handler `(int value, std::string_view text)` for vendor-specific provisioning data from the phone.
    /// Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_provisioning_vendor_info(Handler handler)
    {
        return subscribe<korvane_set_provisioning_vendor_info_cb, korvane_unset_provisioning_vendor_info_cb,
                         void(int, std::string_view)>(std::move(handler));
    }
    /// Registers a handler `(int feature)` for on-boarding (OTM) features. Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_otm_support_feature(Handler handler)
    {
        return subscribe<korvane_set_otm_support_feature_cb, korvane_unset_otm_support_feature_cb, void(int)>(
            std::move(handler));
    }
    /// Registers a handler `(std::string_view text, int value)` for requests of provisioning data;
    /// set_provisioning_vendor_info() sends them. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_provisioning_get_requested(Handler handler)
    {
        return subscribe<korvane_set_provisioning_get_requested_cb, korvane_unset_provisioning_get_requested_cb,
                         void(std::string_view, int)>(std::move(handler));
    }
    /// Registers a handler `(std::string_view result)` for the user's answer to the terms. Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_tnc_result(Handler handler)
    {
        return subscribe<korvane_set_tnc_result_cb, korvane_unset_tnc_result_cb, void(std::string_view)>(
            std::move(handler));
    }
    /// Registers two handlers: `(std::string_view pin, int value)` for a PIN, a secret, that the device is to display,
    /// and `()` for the end of the display. Lowest agent version: any.
    template <class Generated, class Closed>
    Result<Subscription> on_pin(Generated generated, Closed display_closed)
    {
        return subscribe_pair<korvane_set_pin_cb, korvane_unset_pin_cb>(std::move(generated),
                                                                        std::move(display_closed));
    }
    /// Registers two handlers: `(std::string_view pin, int value)` for a PIN, a secret, that the device is to play as
    /// ultrasound, and `()` for the end of the sound. Lowest agent version: 1.1.
    template <class Generated, class Closed>
    Result<Subscription> on_ultrasound_pin(Generated generated, Closed stopped)
    {
        return subscribe_pair<korvane_set_ultrasound_pin_cb, korvane_unset_ultrasound_pin_cb>(std::move(generated),
                                                                                              std::move(stopped));
    }
};

} // namespace korvane::detail

#endif
