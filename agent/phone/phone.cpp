// SPDX-License-Identifier: Apache-2.0
#include "phone/phone.hpp"

#include <glib.h>

#include <algorithm>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

constexpr int with_candidates_since = 1003; // an access point is a document, with others of the same name
constexpr int with_bssid_since = 1004;

std::string new_pin()
{
    std::string pin;
    for (int digit = 0; digit < 8; ++digit)
        pin += static_cast<char>('0' + g_random_int_range(0, 10));
    return pin;
}

Json request_of(int id)
{
    return std::move(Json::object().set("request", id));
}

template <class R>
proxy::Owned<typename R::type> new_record(R)
{
    proxy::Owned<typename R::type> record{proxy::RecordCodec<R>::create()};
    if (!record)
        throw std::bad_alloc{};
    return record;
}

CText copy_of(const std::string &text)
{
    CText copy = CText::copy(text.c_str());
    if (!copy.get())
        throw std::bad_alloc{};
    return copy;
}

} // namespace

// A table
// clang-format off
const std::vector<Step<Phone>> &Phone::steps()
{
    static const std::vector<Step<Phone>> all = {
        {"connect", "", 1000, &Phone::connect, "the phone finds the device and connects to it"},
        {"leave", "", 1000, &Phone::leave, "it goes away; whatever was begun is given up"},
        {"confirm", "", 1000, &Phone::confirm, "asks the user at the device to confirm"},
        {"pin", R"([{"kind":"display"|"ultrasound"|"label","pin":TEXT}])", 1000, &Phone::pin, "asks the device for its PIN: shown, played, or on its label"},
        {"enter-pin", R"({"pin":TEXT})", 1000, &Phone::enter_pin, "the user enters it, three times at most"},
        {"scan", "", 1000, &Phone::scan, "has the device look for networks"},
        {"choose", R"({"ssid":TEXT|"index":N,"password":TEXT[,"hidden":BOOL]})", 1000, &Phone::choose, "the user chooses one of them"},
        {"join", "", 1000, &Phone::join, "phone and device meet on the chosen network"},
        {"provision", R"([{"language":TEXT,"country":TEXT,"datetime":TEXT,"rmd":TEXT,"account":TEXT}])", 1000, &Phone::provision, "tells the device where and whose it is"},
        {"language", R"({"type":TEXT,"value":TEXT})", 1003, &Phone::language, "sets the device's language, or what else the type says"},
        {"vendor-info", R"([{"value":N,"text":TEXT|OBJECT}])", 1003, &Phone::vendor_info, "brings vendor data"},
        {"features", R"([{"feature":N}])", 1003, &Phone::features, "says what way of on-boarding it can"},
        {"get-provisioning", R"({"text":TEXT[,"value":N]})", 1004, &Phone::get_provisioning, "asks for provisioning data"},
        {"accept-terms", R"([{"accepted":BOOL}])", 1003, &Phone::accept_terms, "the user accepts the terms, or does not"},
        {"stop-soft-ap", "", 1000, &Phone::stop_soft_ap, "has the device take down its own access point"},
        {"finish", "", 1000, &Phone::finish, "the device is set up, and owned"},
        {"rename", R"({"nick":TEXT[,"device_no":N]})", 1003, &Phone::rename, "gives a device another name"},
        {"remove", "", 1000, &Phone::remove, "removes the device: the user confirms at the device, and it is reset"},
    };
    return all;
}
// clang-format on

void Phone::must_be_connected() const
{
    if (state_.setup.stage == Stage::waiting)
        refuse("the phone is not connected to the device; 'connect' comes first");
}

void Phone::enter(Stage stage)
{
    if (std::exchange(setup().stage, stage) != stage)
        announcer_.announce(master::status_changed_cb{}, static_cast<int>(stage));
}

Json Phone::connect(Arguments &arguments)
{
    arguments.end();
    if (!state_.running)
        refuse("the device has not started its service, so no phone can find it");
    if (setup().stage != Stage::waiting)
        refuse("the phone is connected already");
    enter(Stage::connected);
    return Json::object();
}

Json Phone::leave(Arguments &arguments)
{
    arguments.end();
    must_be_connected();
    take_pin_away();
    setup().scan.reset();
    setup().language_requests.clear();
    enter(Stage::waiting);
    return Json::object();
}

Json Phone::confirm(Arguments &arguments)
{
    arguments.end();
    must_be_connected();
    setup().confirmed.reset();
    announcer_.tell(master::user_confirm_cb{});
    return Json::object();
}

void Phone::confirmed(bool yes)
{
    setup().confirmed = yes;
}

// ---- the PIN ---------------------------------------------------------------------------------------------------------

Json Phone::pin(Arguments &arguments)
{
    const std::string kind = arguments.text("kind").value_or("display");
    const std::optional<std::string> given = arguments.text("pin");
    arguments.end();
    must_be_connected();

    Pin next;
    next.tries_left = Pin::tries;
    if (kind == "display") {
        next.text = !setup().random_pin.empty() ? setup().random_pin : given.value_or(new_pin());
    } else if (kind == "ultrasound") {
        if (state_.version.number() < master::set_ultrasound_pin_cb::since)
            refuse("agent " + state_.version.text() + " knows no ultrasound PIN, only 1.1 and newer ones do");
        next.kind = Pin::Kind::ultrasound;
        next.text = given.value_or(new_pin());
    } else if (kind == "label") {
        if (setup().preconfigured_pin.empty())
            refuse("the device has told no preconfigured PIN that could be on its label");
        next.kind = Pin::Kind::label;
        next.text = setup().preconfigured_pin;
    } else {
        refuse("a PIN is of kind display, ultrasound or label, not '" + kind + "'");
    }
    const Pin former = std::exchange(setup().pin, next);
    try {
        show_pin();
    } catch (const std::invalid_argument &) {
        setup().pin = former;
        throw;
    }
    return std::move(Json::object().set("tries_left", next.tries_left));
}

void Phone::show_pin()
{
    const Pin &pin = setup().pin;
    switch (pin.kind) {
    case Pin::Kind::display: announcer_.tell(master::pin_generate_cb{}, pin.text.c_str(), pin.tries_left); break;
    case Pin::Kind::ultrasound:
        announcer_.tell(master::ultrasound_pin_generate_cb{}, pin.text.c_str(), pin.tries_left);
        break;
    case Pin::Kind::label: break;
    }
}

void Phone::take_pin_away()
{
    Pin &pin = setup().pin;
    if (std::exchange(pin.tries_left, 0) == 0)
        return;
    switch (pin.kind) {
    case Pin::Kind::display: announcer_.announce(master::pin_display_close_cb{}); break;
    case Pin::Kind::ultrasound: announcer_.announce(master::ultrasound_pin_stop_cb{}); break;
    case Pin::Kind::label: break;
    }
}

Json Phone::enter_pin(Arguments &arguments)
{
    const std::string entered = arguments.required_text("pin");
    arguments.end();
    must_be_connected();
    Pin &pin = setup().pin;
    if (pin.tries_left == 0)
        refuse("no PIN is asked for; 'pin' comes first");
    pin.verified = entered == pin.text;
    if (pin.verified) {
        take_pin_away();
    } else if (pin.tries_left == 1) {
        take_pin_away();
        enter(Stage::failed);
    } else {
        --pin.tries_left;
        show_pin();
    }
    return std::move(Json::object().set("verified", pin.verified).set("tries_left", pin.tries_left));
}

// ---- the network -----------------------------------------------------------------------------------------------------

Json Phone::scan(Arguments &arguments)
{
    arguments.end();
    must_be_connected();
    const int request = setup().last_request + 1;
    announcer_.tell(master::scan_ap_cb{}, request);
    setup().last_request = request;
    setup().scan = request;
    setup().networks.clear();
    return request_of(request);
}

bool Phone::networks_found(int request, std::vector<AccessPoint> networks)
{
    if (setup().scan != request)
        return false;
    setup().scan.reset();
    setup().networks = std::move(networks);
    return true;
}

const AccessPoint &Phone::network(Arguments &arguments)
{
    const std::optional<int> index = arguments.number("index");
    const std::optional<std::string> ssid = arguments.text("ssid");
    if (index.has_value() == ssid.has_value())
        refuse("a network is chosen by 'ssid' or by 'index'");
    const std::vector<AccessPoint> &found = setup().networks;
    if (index) {
        if (*index < 0 || static_cast<std::size_t>(*index) >= found.size())
            refuse("there is no network " + std::to_string(*index) + "; the device has found " +
                   std::to_string(found.size()));
        return found[static_cast<std::size_t>(*index)];
    }
    const auto named =
        std::find_if(found.begin(), found.end(), [&](const AccessPoint &network) { return network.ssid == *ssid; });
    if (named == found.end())
        refuse("the device has found no network '" + *ssid + "'; 'scan' again, or say that it is hidden");
    return *named;
}

/// The other access points of the same network.
std::string Phone::candidates_of(const AccessPoint &network) const
{
    Json others = Json::array();
    for (const AccessPoint &one : state_.setup.networks)
        if (one.ssid == network.ssid && one.bssid != network.bssid)
            others.append(one.view());
    return others.text();
}

Json Phone::choose(Arguments &arguments)
{
    const std::string password = arguments.text("password").value_or("");
    AccessPoint chosen;
    if (arguments.flag("hidden").value_or(false))
        chosen.ssid = arguments.required_text("ssid");
    else
        chosen = network(arguments);
    arguments.end();
    must_be_connected();
    if (setup().confirmed == false)
        refuse("the user at the device has refused; 'confirm' again");

    if (state_.version.number() < with_candidates_since) {
        const auto record = new_record(master::ap_info{});
        record->ssid = copy_of(chosen.ssid);
        record->pwd = copy_of(password);
        record->bssid = copy_of(chosen.bssid);
        record->authtype = chosen.auth_type;
        record->enctype = chosen.enc_type;
        record->channel = chosen.channel;
        announcer_.tell(master::wifi_ap_provisioning_cb{}, record.get());
    } else {
        Json document = Json::object();
        document.set("ap_ssid", Json::bytes(chosen.ssid))
            .set("ap_pwd", Json::bytes(password))
            .set("ap_authtype", chosen.auth_type);
        document.set("ap_enctype", chosen.enc_type).set("ap_channel", chosen.channel);
        if (state_.version.number() >= with_bssid_since)
            document.set("ap_bssid", chosen.bssid);
        document.set("ap_candidates", candidates_of(chosen));
        announcer_.tell(master::wifi_ap_prov_with_candidates_cb{}, document.text().c_str());
    }
    setup().chosen = std::move(chosen);
    setup().wifi_error.reset();
    enter(Stage::joining);
    return Json::object();
}

void Phone::could_not_join(int error_code)
{
    setup().wifi_error = error_code;
    if (setup().stage == Stage::joining)
        enter(Stage::failed);
}

Json Phone::join(Arguments &arguments)
{
    arguments.end();
    if (!setup().chosen)
        refuse("no network is chosen; 'choose' comes first");
    if (setup().wifi_error)
        refuse("the device could not join the network: error code " + std::to_string(*setup().wifi_error) +
               "; 'choose' again");
    if (setup().stage != Stage::joining)
        refuse(std::string{"the device is not joining a network, the setup is "} + name_of(setup().stage));
    enter(Stage::joined);
    return Json::object();
}

Json Phone::stop_soft_ap(Arguments &arguments)
{
    arguments.end();
    announcer_.tell(master::softap_stop_cb{});
    setup().soft_ap_stopped = true;
    return Json::object();
}

// ---- what the device is told, and asked ------------------------------------------------------------------------------

Json Phone::provision(Arguments &arguments)
{
    const auto record = new_record(master::device_prov_info{});
    record->language = copy_of(arguments.text("language").value_or("en-GB"));
    record->country = copy_of(arguments.text("country").value_or("GB"));
    record->datetime = copy_of(arguments.text("datetime").value_or("2026-01-01T12:00:00Z"));
    record->rmd = copy_of(arguments.text("rmd").value_or("phone"));
    record->account = copy_of(arguments.text("account").value_or("user@example.org"));
    arguments.end();
    must_be_connected();
    announcer_.tell(master::device_provisioning_cb{}, record.get());
    return Json::object();
}

Json Phone::language(Arguments &arguments)
{
    LanguageRequest wanted{arguments.required_text("type"), arguments.required_text("value")};
    arguments.end();
    must_be_connected();
    const int request = setup().last_request + 1;
    announcer_.tell(master::provisioning_language_cb{}, request, wanted.type.c_str(), wanted.value.c_str());
    setup().last_request = request;
    setup().language_requests.emplace(request, std::move(wanted));
    return request_of(request);
}

void Phone::asked(int event, const Json &values)
{
    const auto value = [&values](const char *member) { return cJSON_GetObjectItemCaseSensitive(values.get(), member); };
    const auto text = [&](const char *member) {
        const char *given = cJSON_GetStringValue(value(member));
        return std::string{given ? given : ""};
    };
    if (event == master::scan_ap_cb::id)
        setup().scan = value("req_id")->valueint;
    else if (event == master::provisioning_language_cb::id)
        setup().language_requests[value("req_id")->valueint] = {text("type"), text("value")};
}

bool Phone::language_taken_up(int request, bool taken_up)
{
    const auto asked = setup().language_requests.extract(request);
    if (asked && taken_up)
        setup().settings[asked.mapped().type] = asked.mapped().value;
    return static_cast<bool>(asked);
}

Json Phone::vendor_info(Arguments &arguments)
{
    const int value = arguments.number("value").value_or(0);
    const std::string text = arguments.document("text").value_or("{}");
    arguments.end();
    announcer_.tell(master::provisioning_vendor_info_cb{}, value, text.c_str());
    return Json::object();
}

Json Phone::features(Arguments &arguments)
{
    const int feature = arguments.number("feature").value_or(1);
    arguments.end();
    announcer_.tell(master::otm_support_feature_cb{}, feature);
    return Json::object();
}

Json Phone::get_provisioning(Arguments &arguments)
{
    const std::string text = arguments.required_text("text");
    const int value = arguments.number("value").value_or(0);
    arguments.end();
    announcer_.tell(master::provisioning_get_requested_cb{}, text.c_str(), value);
    return Json::object();
}

Json Phone::accept_terms(Arguments &arguments)
{
    Json result = Json::object();
    result.set("accepted", arguments.flag("accepted").value_or(true));
    arguments.end();
    announcer_.tell(master::tnc_result_cb{}, result.text().c_str());
    return Json::object();
}

// ---- afterwards ------------------------------------------------------------------------------------------------------

Json Phone::finish(Arguments &arguments)
{
    arguments.end();
    if (setup().stage != Stage::joined)
        refuse(std::string{"a setup ends when the device has joined its network, but it is "} + name_of(setup().stage));
    state_.set_up = true;
    state_.owned = true;
    enter(Stage::done);
    return Json::object();
}

Json Phone::rename(Arguments &arguments)
{
    const std::string nick = arguments.required_text("nick");
    const int device_no = arguments.number("device_no").value_or(0);
    arguments.end();
    announcer_.tell(master::nick_changed_cb{}, device_no, nick.c_str());
    state_.nicks[device_no] = nick;
    return Json::object();
}

Json Phone::remove(Arguments &arguments)
{
    arguments.end();
    setup().reset_confirmed.reset();
    announcer_.tell(master::reset_confirm_cb{});
    return Json::object();
}

void Phone::reset_confirmed(bool yes)
{
    setup().reset_confirmed = yes;
    if (yes)
        reset();
}

/// What the device told of itself when it started remains true.
void Phone::reset()
{
    Setup fresh;
    fresh.last_request = setup().last_request;
    fresh.reset_confirmed = setup().reset_confirmed;
    fresh.property = std::move(setup().property);
    fresh.languages = std::move(setup().languages);
    fresh.preconfigured_pin = std::move(setup().preconfigured_pin);
    fresh.vendor_info = std::move(setup().vendor_info);
    fresh.version_info = std::move(setup().version_info);
    fresh.mot = setup().mot;
    fresh.gatt_ble = setup().gatt_ble;
    const bool begun = setup().stage != Stage::waiting;
    setup() = std::move(fresh);
    state_.forget_owner();
    if (begun)
        announcer_.announce(master::status_changed_cb{}, static_cast<int>(Stage::waiting));
    announcer_.announce(master::reset_result_cb{}, true);
}

} // namespace kv::virtual_agent
