// SPDX-License-Identifier: Apache-2.0
#include "generic_method.hpp"
#include "handlers.hpp"
#include "values.hpp"

namespace kv::virtual_agent {

// A reply to the phone with an unknown request id is refused, so that the mistake is noticed.

Result<master::send_user_confirm> Handlers::handle(master::send_user_confirm, Call &, bool confirm)
{
    phone_.confirmed(confirm);
    return {};
}

Result<master::send_reset_confirm> Handlers::handle(master::send_reset_confirm, Call &, bool confirm)
{
    if (confirm)
        cloud_.forget_owner();
    phone_.reset_confirmed(confirm);
    return {};
}

Result<master::reset> Handlers::handle(master::reset, Call &)
{
    cloud_.forget_owner();
    phone_.reset();
    return {};
}

Result<master::send_ap_list> Handlers::handle(master::send_ap_list, Call &, int request,
                                              const master::ArrayValue<master::ap_info_array> *networks)
{
    std::vector<AccessPoint> found;
    for (int i = 0; i < networks->present; ++i) {
        const auto &record = *networks->items[i];
        AccessPoint &network = found.emplace_back();
        network.ssid = text_of(record.ssid);
        network.bssid = text_of(record.bssid);
        network.auth_type = record.authtype;
        network.enc_type = record.enctype;
        network.channel = record.channel;
        network.signal_level = record.signal_level;
        network.max_rate = record.max_rate;
    }
    return {result_of(phone_.networks_found(request, std::move(found)))};
}

Result<master::set_wifi_connection_error_code> Handlers::handle(master::set_wifi_connection_error_code, Call &,
                                                                int code)
{
    phone_.join_failed(code);
    return {};
}

Result<master::send_provisioning_language_setting_result> Handlers::handle(
    master::send_provisioning_language_setting_result, Call &, int request, bool applied)
{
    return {result_of(phone_.language_answered(request, applied))};
}

Result<master::set_language_list> Handlers::handle(master::set_language_list, Call &,
                                                   const master::ArrayValue<master::language_info_array> *languages)
{
    state_.setup.languages.clear();
    for (int i = 0; i < languages->present; ++i)
        state_.setup.languages.push_back(text_of(languages->items[i]->language));
    return {};
}

Result<master::set_device_property> Handlers::handle(master::set_device_property, Call &, const char *name,
                                                     int wifi_mode, int wifi_freq)
{
    state_.setup.property = DeviceProperty{std::string{name}.substr(0, max_kept_text), wifi_mode, wifi_freq};
    return {};
}

Result<master::set_preconfigured_pin> Handlers::handle(master::set_preconfigured_pin, Call &, const char *pin)
{
    return {store(state_.setup.preconfigured_pin, pin)};
}

Result<master::set_random_pin> Handlers::handle(master::set_random_pin, Call &, const char *pin)
{
    return {store(state_.setup.random_pin, pin)};
}

Result<master::unset_random_pin> Handlers::handle(master::unset_random_pin, Call &)
{
    state_.setup.random_pin.clear();
    return {};
}

Result<master::set_provisioning_vendor_info> Handlers::handle(master::set_provisioning_vendor_info, Call &,
                                                              const char *info)
{
    return {store(state_.setup.vendor_info, info)};
}

Result<master::set_easysetup_version_info> Handlers::handle(master::set_easysetup_version_info, Call &,
                                                            const char *info)
{
    return {store(state_.setup.version_info, info)};
}

Result<master::set_mot_status> Handlers::handle(master::set_mot_status, Call &, bool enable)
{
    state_.setup.mot = enable;
    return {};
}

Result<master::set_gatt_ble> Handlers::handle(master::set_gatt_ble, Call &, bool enable)
{
    state_.setup.gatt_ble = enable;
    return {};
}

Result<master::common_interface> Handlers::handle(master::common_interface, Call &, const char *request)
{
    return {serve_generic_method(device_, request), {std::string{"{}"}}};
}

} // namespace kv::virtual_agent
