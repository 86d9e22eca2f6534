// SPDX-License-Identifier: Apache-2.0
#include "agent/server/common_requests.hpp"
#include "agent/server/handlers.hpp"

namespace kv::virtual_agent {

// What answers nothing that was asked is refused, so that a wrong request id does not go unnoticed.

Answer<master::send_user_confirm> Handlers::answer(master::send_user_confirm, Call &, bool confirm)
{
    phone_.confirmed(confirm);
    return {};
}

Answer<master::send_reset_confirm> Handlers::answer(master::send_reset_confirm, Call &, bool confirm)
{
    if (confirm)
        cloud_.forget_owner();
    phone_.reset_confirmed(confirm);
    return {};
}

Answer<master::reset> Handlers::answer(master::reset, Call &)
{
    cloud_.forget_owner();
    phone_.reset();
    return {};
}

Answer<master::send_ap_list> Handlers::answer(master::send_ap_list, Call &, int request,
                                              const proxy::ArrayValue<master::ap_info_array> *networks)
{
    std::vector<AccessPoint> found;
    for (int i = 0; i < networks->present; ++i) {
        const auto &record = *networks->items[i];
        AccessPoint &network = found.emplace_back();
        network.ssid = record.ssid ? record.ssid.get() : "";
        network.bssid = record.bssid ? record.bssid.get() : "";
        network.auth_type = record.authtype;
        network.enc_type = record.enctype;
        network.channel = record.channel;
        network.signal_level = record.signal_level;
        network.max_rate = record.max_rate;
    }
    return {phone_.networks_found(request, std::move(found)) ? 0 : refused};
}

Answer<master::set_wifi_connection_error_code> Handlers::answer(master::set_wifi_connection_error_code, Call &,
                                                                int code)
{
    phone_.could_not_join(code);
    return {};
}

Answer<master::send_provisioning_language_setting_result> Handlers::answer(
    master::send_provisioning_language_setting_result, Call &, int request, bool taken_up)
{
    return {phone_.language_taken_up(request, taken_up) ? 0 : refused};
}

Answer<master::set_language_list> Handlers::answer(master::set_language_list, Call &,
                                                   const proxy::ArrayValue<master::language_info_array> *languages)
{
    state_.setup.languages.clear();
    for (int i = 0; i < languages->present; ++i)
        state_.setup.languages.emplace_back(languages->items[i]->language ? languages->items[i]->language.get() : "");
    return {};
}

Answer<master::set_device_property> Handlers::answer(master::set_device_property, Call &, const char *name,
                                                     int wifi_mode, int wifi_freq)
{
    state_.setup.property = DeviceProperty{name, wifi_mode, wifi_freq};
    return {};
}

Answer<master::set_preconfigured_pin> Handlers::answer(master::set_preconfigured_pin, Call &, const char *pin)
{
    state_.setup.preconfigured_pin = pin;
    return {};
}

Answer<master::set_random_pin> Handlers::answer(master::set_random_pin, Call &, const char *pin)
{
    state_.setup.random_pin = pin;
    return {};
}

Answer<master::unset_random_pin> Handlers::answer(master::unset_random_pin, Call &)
{
    state_.setup.random_pin.clear();
    return {};
}

Answer<master::set_provisioning_vendor_info> Handlers::answer(master::set_provisioning_vendor_info, Call &,
                                                              const char *info)
{
    state_.setup.vendor_info = info;
    return {};
}

Answer<master::set_easysetup_version_info> Handlers::answer(master::set_easysetup_version_info, Call &,
                                                            const char *info)
{
    state_.setup.version_info = info;
    return {};
}

Answer<master::set_mot_status> Handlers::answer(master::set_mot_status, Call &, bool enable)
{
    state_.setup.mot = enable;
    return {};
}

Answer<master::set_gatt_ble> Handlers::answer(master::set_gatt_ble, Call &, bool enable)
{
    state_.setup.gatt_ble = enable;
    return {};
}

Answer<master::common_interface> Handlers::answer(master::common_interface, Call &, const char *request)
{
    return {serve_common_request(device_, request), {std::string{"{}"}}};
}

} // namespace kv::virtual_agent
