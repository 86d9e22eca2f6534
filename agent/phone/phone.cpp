// SPDX-License-Identifier: Apache-2.0
#include "phone.hpp"

#include <glib.h>

#include <algorithm>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

std::string new_pin()
{
    std::string pin;
    for (int digit = 0; digit < 8; ++digit)
        pin += static_cast<char>('0' + g_random_int_range(0, 10));
    return pin;
}

} // namespace

// A table
// clang-format off
const std::vector<Step<Phone>> &Phone::steps()
{
    static const std::vector<Step<Phone>> all = {
        {"connect", "", 1000, &Phone::connect, "finds the device and connects to it"},
        {"leave", "", 1000, &Phone::leave, "disconnects and cancels an unfinished setup"},
        {"confirm", "", 1000, &Phone::confirm, "requests a confirmation by the user at the device"},
        {"pin", R"([{"kind":"display"|"ultrasound"|"label","pin":TEXT}])", 1000, &Phone::pin, "requests the PIN of the device: displayed, played as ultrasound or on its label"},
        {"enter-pin", R"({"pin":TEXT})", 1000, &Phone::enter_pin, "enters the PIN; three tries are allowed"},
        {"scan", "", 1000, &Phone::scan, "requests a scan for networks"},
        {"choose", R"({"ssid":TEXT|"index":N,"password":TEXT[,"hidden":BOOL]})", 1000, &Phone::choose, "chooses a network"},
        {"join", "", 1000, &Phone::join, "finds the device on the chosen network"},
        {"provision", R"([{"language":TEXT,"country":TEXT,"datetime":TEXT,"rmd":TEXT,"account":TEXT}])", 1000, &Phone::provision, "sends language, country, time and account to the device"},
        {"language", R"({"type":TEXT,"value":TEXT})", 1003, &Phone::language, "sets the language of the device, or another setting by type"},
        {"vendor-info", R"([{"value":N,"text":TEXT|OBJECT}])", 1003, &Phone::vendor_info, "sends vendor data"},
        {"features", R"([{"feature":N}])", 1003, &Phone::features, "reports the setup features that the phone supports"},
        {"get-provisioning", R"({"text":TEXT[,"value":N]})", 1004, &Phone::get_provisioning, "requests provisioning data"},
        {"accept-terms", R"([{"accepted":BOOL}])", 1003, &Phone::accept_terms, "reports whether the user accepts the terms"},
        {"stop-soft-ap", "", 1000, &Phone::stop_soft_ap, "requests the device to stop its own access point"},
        {"finish", "", 1000, &Phone::finish, "ends the setup; the device is set up and owned"},
        {"rename", R"({"nick":TEXT[,"device_no":N]})", 1003, &Phone::rename, "renames a device"},
        {"remove", "", 1000, &Phone::remove, "removes the device, which the user confirms at the device; it is then reset"},
    };
    return all;
}
// clang-format on

// An event may also be published by the command `emit`. The device replies to it in the same way, so requests are noted
// where every event passes.
Phone::Phone(State &state, EventHub &hub) : state_(state), hub_(hub)
{
    hub_.observe(master::scan_ap_cb{}, [this](int request) { setup().scan = request; });
    hub_.observe(master::provisioning_language_cb{}, [this](int request, const char *type, const char *value) {
        setup().language_requests[request] = {type ? type : "", value ? value : ""};
    });
}

void Phone::must_be_connected() const
{
    if (state_.setup.stage == Stage::waiting)
        refuse("the phone is not connected to the device; run 'connect' first");
}

void Phone::enter(Stage stage)
{
    if (std::exchange(setup().stage, stage) != stage)
        hub_.publish(master::status_changed_cb{}, static_cast<int>(stage));
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
    hide_pin();
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
    hub_.require(master::user_confirm_cb{});
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
            refuse("agent " + state_.version.text() + " does not support an ultrasound PIN; 1.1 and later do");
        next.kind = Pin::Kind::ultrasound;
        next.text = given.value_or(new_pin());
    } else if (kind == "label") {
        if (setup().preconfigured_pin.empty())
            refuse("the device has set no preconfigured PIN, so its label has none");
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
    case Pin::Kind::display: hub_.require(master::pin_generate_cb{}, pin.text.c_str(), pin.tries_left); break;
    case Pin::Kind::ultrasound:
        hub_.require(master::ultrasound_pin_generate_cb{}, pin.text.c_str(), pin.tries_left);
        break;
    case Pin::Kind::label: break;
    }
}

void Phone::hide_pin()
{
    Pin &pin = setup().pin;
    if (std::exchange(pin.tries_left, 0) == 0)
        return;
    switch (pin.kind) {
    case Pin::Kind::display: hub_.publish(master::pin_display_close_cb{}); break;
    case Pin::Kind::ultrasound: hub_.publish(master::ultrasound_pin_stop_cb{}); break;
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
        refuse("no PIN was requested; run 'pin' first");
    pin.verified = entered == pin.text;
    if (pin.verified) {
        hide_pin();
    } else if (pin.tries_left == 1) {
        hide_pin();
        enter(Stage::failed);
    } else {
        --pin.tries_left;
        show_pin();
    }
    return std::move(Json::object().set("verified", pin.verified).set("tries_left", pin.tries_left));
}

// ---- end of the setup ------------------------------------------------------------------------------------------------

Json Phone::finish(Arguments &arguments)
{
    arguments.end();
    if (setup().stage != Stage::joined)
        refuse(std::string{"the device has not joined a network; the stage of the setup is "} + name_of(setup().stage));
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
    hub_.require(master::nick_changed_cb{}, device_no, nick.c_str());
    state_.nicks[device_no] = nick;
    return Json::object();
}

Json Phone::remove(Arguments &arguments)
{
    arguments.end();
    setup().reset_confirmed.reset();
    hub_.require(master::reset_confirm_cb{});
    return Json::object();
}

void Phone::reset_confirmed(bool yes)
{
    setup().reset_confirmed = yes;
    if (yes)
        reset();
}

/// Keeps the reports that the device made when it started.
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
        hub_.publish(master::status_changed_cb{}, static_cast<int>(Stage::waiting));
    hub_.publish(master::reset_result_cb{}, true);
}

} // namespace kv::virtual_agent
