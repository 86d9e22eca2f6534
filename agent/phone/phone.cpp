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
