// SPDX-License-Identifier: Apache-2.0
#include "setup.hpp"

#include "agent/interface/show.hpp"
#include "src/kv_master/codings.hpp"

namespace kv::virtual_agent {

namespace {

const char *name_of(Pin::Kind kind)
{
    switch (kind) {
    case Pin::Kind::display: return "display";
    case Pin::Kind::ultrasound: return "ultrasound";
    case Pin::Kind::label: return "label";
    }
    return "";
}

Json view_of(const Pin &pin)
{
    Json shown = Json::object();
    shown.set("kind", name_of(pin.kind)).set("tries_left", pin.tries_left).set("verified", pin.verified);
    return shown;
}

Json view_of(const DeviceProperty &property)
{
    Json shown = Json::object();
    shown.set("name", property.name).set("wifi_mode", property.wifi_mode).set("wifi_freq", property.wifi_freq);
    shown.set("wifi_authtypes", array_of(property.auth_types));
    return shown;
}

} // namespace

const char *name_of(Stage stage)
{
    const char *name = master::codings::setup_status.name_of(static_cast<int>(stage));
    return name ? name : "";
}

Json AccessPoint::view() const
{
    Json shown = Json::object();
    shown.set("ssid", ssid).set("bssid", bssid).set("authtype", auth_type).set("enctype", enc_type);
    shown.set("channel", channel).set("signal_level", signal_level).set("max_rate", max_rate);
    shown.set("frequency", frequency);
    return shown;
}

Json Setup::view() const
{
    Json found = Json::array();
    for (const AccessPoint &network : networks)
        found.append(network.view());
    Json applied = Json::object();
    for (const auto &[type, value] : settings)
        applied.set(type.c_str(), value);

    Json all = Json::object();
    all.set("stage", virtual_agent::name_of(stage))
        .set("scan", or_null(scan))
        .set("networks", std::move(found))
        .set("chosen", chosen ? chosen->view() : Json{})
        .set("wifi_error", or_null(wifi_error))
        .set("confirmed", or_null(confirmed))
        .set("reset_confirmed", or_null(reset_confirmed))
        .set("pin", view_of(pin))
        .set("language_requests", static_cast<int>(language_requests.size()))
        .set("settings", std::move(applied))
        .set("soft_ap_stopped", soft_ap_stopped)
        .set("property", property ? view_of(*property) : Json{})
        .set("languages", array_of(languages))
        .set("has_preconfigured_pin", !preconfigured_pin.empty())
        .set("has_random_pin", !random_pin.empty())
        .set("vendor_info", Shown::value(describe::Secret<"vendor_info">{}, vendor_info.c_str()))
        .set("version_info", Shown::value(describe::String<"version_info">{}, version_info.c_str()))
        .set("mot", mot)
        .set("gatt_ble", gatt_ble);
    return all;
}

} // namespace kv::virtual_agent
