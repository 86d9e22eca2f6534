// SPDX-License-Identifier: Apache-2.0
#include "cloud.hpp"

#include "agent/interface/from_json.hpp"

#include <stdexcept>
#include <utility>

namespace kv::virtual_agent {

// A table
// clang-format off
const std::vector<Step<Cloud>> &Cloud::steps()
{
    static const std::vector<Step<Cloud>> all = {
        {"next-sign-up", R"({"outcome":"succeed"|"fail"[,"after_ms":N]})", 1000, &Cloud::next_sign_up, "sets how the next sign-up ends, and after how long"},
        {"sign-in", "", 1000, &Cloud::sign_in, "signs the device in, after a sign-out or a lost session"},
        {"sign-out", "", 1000, &Cloud::sign_out, "signs the device out"},
        {"drop-session", R"([{"code":N,"after_ms":N}])", 1000, &Cloud::drop_session, "breaks the session; with after_ms it is restored after that time"},
        {"restore-session", "", 1000, &Cloud::sign_in, "restores a broken session at once"},
        {"own", R"([{"owner":TEXT}])", 1000, &Cloud::own, "sets the owner of the device"},
        {"disown", "", 1000, &Cloud::disown, "removes the owner; the device is signed out and no longer signed up"},
        {"device-list", R"([{"devices":[ID,...]}])", 1001, &Cloud::device_list, "sends the list of devices; by default the registered sub-devices"},
        {"keepalive", R"({"result":N})", 1003, &Cloud::keep_alive, "sets the result of all further keep-alives"},
        {"last-status", R"([{"text":TEXT|OBJECT}])", 1004, &Cloud::last_status, "sends the last status; by default the one that the device has reported"},
        {"authority", "", 2001, &Cloud::show_authority, "shows the certificate that verifies certificates and tokens"},
        {"invalidate-certificates", R"([{"reason":"revoked"|"expired"}])", 2001, &Cloud::invalidate_certificates, "revokes the certificates issued so far, or lets them expire"},
        {"diagnostics", R"([{"value":N,"text":TEXT|OBJECT}])", 2002, &Cloud::diagnostics, "requests diagnostics from the device"},
    };
    return all;
}
// clang-format on

Cloud::Cloud(State &state, EventHub &hub, Clock &clock, Authority &authority)
    : state_(state), hub_(hub), authority_(authority), sign_up_(clock), restore_(clock), next_round_(clock)
{
}

// ---- sign-up ---------------------------------------------------------------------------------------------------------

Json Cloud::next_sign_up(Arguments &arguments)
{
    const std::string outcome = arguments.required_text("outcome");
    const int after_ms = arguments.count("after_ms").value_or(0);
    arguments.end();
    if (outcome != "succeed" && outcome != "fail")
        refuse("a sign-up can succeed or fail, not '" + outcome + "'");
    cloud().next_sign_up = {outcome == "succeed", after_ms};
    return Json::object();
}

namespace {

bool is_too_long(const Credentials &given)
{
    return given.region.size() + given.auth_provider.size() + given.access_token.size() + given.refresh_token.size() +
               given.user_id.size() + given.client_id.size() + given.ci_server.size() + given.deploy_env.size() >
           max_kept_text;
}

} // namespace

bool Cloud::sign_up(Credentials credentials)
{
    if (credentials.access_token.empty() || is_too_long(credentials) || cloud().signing_up)
        return false;
    const SignUpOutcome outcome = std::exchange(cloud().next_sign_up, {});
    if (outcome.after_ms == 0) {
        signed_up(outcome.succeeds, std::move(credentials));
        return true;
    }
    cloud().signing_up = true;
    sign_up_.set(outcome.after_ms,
                 [this, outcome, credentials = std::move(credentials)] { signed_up(outcome.succeeds, credentials); });
    return true;
}

/// The outcome replaces that of an earlier sign-up.
void Cloud::signed_up(bool succeeded, Credentials credentials)
{
    cloud().signing_up = false;
    end_session();
    cloud().credentials.reset();
    if (succeeded)
        cloud().credentials = std::move(credentials);
    set_signed_up(succeeded);
    if (signs_in())
        try_to_begin_session();
}

void Cloud::set_signed_up(bool signed_up)
{
    state_.signed_up = signed_up;
    update_thing_status();
    hub_.publish(master::signup_status_changed_cb{}, signed_up);
}

void Cloud::set_signed_in(bool signed_in)
{
    state_.signed_in = signed_in;
    update_thing_status();
    hub_.publish(master::signin_status_changed_cb{}, signed_in);
}

void Cloud::update_thing_status()
{
    state_.thing_status = static_cast<int>(state_.signed_in   ? ThingStatus::signed_in
                                           : state_.signed_up ? ThingStatus::signed_up
                                                              : ThingStatus::alone);
}

// ---- the owner -------------------------------------------------------------------------------------------------------

Json Cloud::own(Arguments &arguments)
{
    const std::string owner = arguments.text("owner").value_or("");
    arguments.end();
    if (state_.owned)
        refuse("the device has an owner already; run 'disown' first");
    state_.owned = true;
    cloud().owner = owner;
    return std::move(Json::object().set("group_id", *group_id()));
}

Json Cloud::disown(Arguments &arguments)
{
    arguments.end();
    if (!state_.owned)
        refuse("the device has no owner; run 'own' first");
    forget_owner();
    return Json::object();
}

void Cloud::forget_owner()
{
    sign_up_.stop();
    cloud().signing_up = false;
    end_session();
    cloud().credentials.reset();
    cloud().owner.clear();
    state_.owned = false;
    if (state_.signed_up)
        set_signed_up(false);
}

std::optional<std::string> Cloud::group_id() const
{
    if (!state_.owned)
        return std::nullopt;
    // An owner without a name is a different one for each device.
    const std::string &owner = state_.cloud.owner;
    return uuid_of("korvane group " + (owner.empty() ? "of " + state_.device_id : owner));
}

// ---- events ----------------------------------------------------------------------------------------------------------

Json Cloud::device_list(Arguments &arguments)
{
    const cJSON *given = arguments.any("devices");
    arguments.end();
    if (given && !cJSON_IsArray(given))
        refuse("'devices' must be an array of ids");
    Json records = Json::array();
    const auto add = [&records](Json id) { records.append(std::move(Json::object().set("device_id", std::move(id)))); };
    if (given)
        for (const cJSON *id = given->child; id; id = id->next)
            add(Json::copy_of(id));
    else
        for (const auto &[number, device] : state_.sub_devices)
            add(device.device_id);
    using Devices = describe::Arr<master::cloud_device_info_array, "devices">;
    const auto devices = from_json(Devices{}, records.get());
    hub_.require(master::cloud_device_list_cb{}, devices.get());
    return std::move(Json::object().set("devices", devices->present));
}

Json Cloud::last_status(Arguments &arguments)
{
    std::optional<std::string> text = arguments.document("text");
    arguments.end();
    if (!text && !cloud().last_status)
        refuse("the device has reported no last status; give one as 'text'");
    if (!text) {
        Json last = Json::object();
        last.set("timestamp", cloud().last_status->timestamp).set("error_code", cloud().last_status->error_code);
        text = last.text();
    }
    hub_.require(master::last_status_changed_cb{}, text->c_str());
    return Json::object();
}

Json Cloud::diagnostics(Arguments &arguments)
{
    const int value = arguments.number("value").value_or(0);
    const std::string text = arguments.document("text").value_or("{}");
    arguments.end();
    hub_.require(master::diagnostics_cb{}, value, text.c_str());
    return Json::object();
}

Json Cloud::invalidate_certificates(Arguments &arguments)
{
    const std::string reason = arguments.text("reason").value_or("revoked");
    arguments.end();
    if (reason != "revoked" && reason != "expired")
        refuse("a certificate is revoked or expired, not '" + reason + "'");
    const int count = authority_.invalidate(reason == "revoked" ? Validity::revoked : Validity::expired);
    if (count == 0)
        refuse("no valid certificate was issued");
    return std::move(Json::object().set("certificates", count));
}

Json Cloud::show_authority(Arguments &arguments)
{
    arguments.end();
    return std::move(Json::object().set("certificate", authority_.certificate()));
}

} // namespace kv::virtual_agent
