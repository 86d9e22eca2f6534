// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.hpp"

#include <concepts>
#include <limits>
#include <type_traits>

/// The members of the state by name, for writing, reading and describing a snapshot: members() calls field(name, member)
/// for each, or field(name, member, range) for a number that is restricted. Members that are derived from others are left out.
namespace kv::virtual_agent {

/// The least and the greatest value of a number.
struct NumberRange {
    int min = std::numeric_limits<int>::min();
    int max = std::numeric_limits<int>::max();
};

/// The values of an enumeration are 0 to this one.
constexpr int last_of(Stage)
{
    return static_cast<int>(Stage::failed);
}
constexpr int last_of(Pin::Kind)
{
    return static_cast<int>(Pin::Kind::label);
}

template <class Object, class Type>
concept Some = std::same_as<std::remove_const_t<Object>, Type>;

void members(Some<AccessPoint> auto &network, auto &&field)
{
    field("ssid", network.ssid);
    field("bssid", network.bssid);
    field("auth_type", network.auth_type);
    field("enc_type", network.enc_type);
    field("channel", network.channel);
    field("signal_level", network.signal_level);
    field("max_rate", network.max_rate);
    field("frequency", network.frequency);
}

void members(Some<Pin> auto &pin, auto &&field)
{
    field("kind", pin.kind);
    field("text", pin.text);
    field("tries_left", pin.tries_left, NumberRange{0, Pin::tries});
    field("verified", pin.verified);
}

void members(Some<LanguageRequest> auto &request, auto &&field)
{
    field("type", request.type);
    field("value", request.value);
}

void members(Some<DeviceProperty> auto &property, auto &&field)
{
    field("name", property.name);
    field("wifi_mode", property.wifi_mode);
    field("wifi_freq", property.wifi_freq);
    field("auth_types", property.auth_types);
}

void members(Some<Setup> auto &setup, auto &&field)
{
    field("stage", setup.stage);
    field("last_request", setup.last_request, NumberRange{0, 999'999'999});
    field("scan", setup.scan);
    field("networks", setup.networks);
    field("chosen", setup.chosen);
    field("wifi_error", setup.wifi_error);
    field("confirmed", setup.confirmed);
    field("reset_confirmed", setup.reset_confirmed);
    field("pin", setup.pin);
    field("language_requests", setup.language_requests);
    field("settings", setup.settings);
    field("soft_ap_stopped", setup.soft_ap_stopped);
    field("property", setup.property);
    field("languages", setup.languages);
    field("preconfigured_pin", setup.preconfigured_pin);
    field("random_pin", setup.random_pin);
    field("vendor_info", setup.vendor_info);
    field("version_info", setup.version_info);
    field("mot", setup.mot);
    field("gatt_ble", setup.gatt_ble);
}

void members(Some<Credentials> auto &credentials, auto &&field)
{
    field("region", credentials.region);
    field("auth_provider", credentials.auth_provider);
    field("access_token", credentials.access_token);
    field("refresh_token", credentials.refresh_token);
    field("user_id", credentials.user_id);
    field("client_id", credentials.client_id);
    field("ci_server", credentials.ci_server);
    field("deploy_env", credentials.deploy_env);
    field("token_type", credentials.token_type);
}

void members(Some<SignUpOutcome> auto &outcome, auto &&field)
{
    field("succeeds", outcome.succeeds);
    field("after_ms", outcome.after_ms, NumberRange{.min = 0});
}

void members(Some<KeepAlive> auto &keep_alive, auto &&field)
{
    field("intervals", keep_alive.intervals);
    field("selected", keep_alive.selected);
    field("result", keep_alive.result);
    field("rounds", keep_alive.rounds);
}

void members(Some<Terms> auto &terms, auto &&field)
{
    field("data", terms.data);
    field("url", terms.url);
    field("type", terms.type);
    field("status", terms.status);
}

void members(Some<LastStatus> auto &status, auto &&field)
{
    field("timestamp", status.timestamp);
    field("error_code", status.error_code);
}

void members(Some<CloudState> auto &cloud, auto &&field)
{
    field("next_sign_up", cloud.next_sign_up);
    field("credentials", cloud.credentials);
    field("sign_in_disabled", cloud.sign_in_disabled);
    field("owner", cloud.owner);
    field("keep_alive", cloud.keep_alive);
    field("presence", cloud.presence);
    field("last_status", cloud.last_status);
    field("terms", cloud.terms);
    field("device_names", cloud.device_names);
    field("platform_infos", cloud.platform_infos);
    field("profiles", cloud.profiles);
    field("last_requests", cloud.last_requests);
}

void members(Some<SubDevice> auto &device, auto &&field)
{
    field("device_id", device.device_id);
    field("presence", device.presence);
}

void members(Some<State> auto &state, auto &&field)
{
    field("device_id", state.device_id);
    field("running", state.running);
    field("update_ready", state.update_ready);
    field("set_up", state.set_up);
    field("owned", state.owned);
    field("signed_up", state.signed_up);
    field("signed_in", state.signed_in);
    field("setup", state.setup);
    field("cloud", state.cloud);
    field("nicks", state.nicks);
    field("device_types", state.device_types);
    field("sub_devices", state.sub_devices);
    field("last_requests", state.last_requests);
}

/// An object of the state.
template <class Object>
concept HasMembers = requires(Object &object)
{
    members(object, [](const char *, auto &, auto...) {});
};

} // namespace kv::virtual_agent
