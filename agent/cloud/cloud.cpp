// SPDX-License-Identifier: Apache-2.0
#include "cloud.hpp"

#include "agent/server/from_json.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

constexpr int session_lost = -ECONNRESET; // what a dropped session is told with, if nothing is said of it
constexpr int comeback_ms = 1000;         // after a session that broke by itself
constexpr std::size_t most_intervals = 1024;

std::optional<int> delay_in(Arguments &arguments)
{
    const std::optional<int> given = arguments.number("after_ms");
    if (given && *given < 0)
        refuse("'after_ms' must be milliseconds from now, not " + std::to_string(*given));
    return given;
}

} // namespace

// A table
// clang-format off
const std::vector<Step<Cloud>> &Cloud::steps()
{
    static const std::vector<Step<Cloud>> all = {
        {"next-sign-up", R"({"outcome":"succeed"|"fail"[,"after_ms":N]})", 1000, &Cloud::next_sign_up, "how the next sign-up ends, and when"},
        {"sign-in", "", 1000, &Cloud::sign_in, "the device signs in, after a sign-out or a lost session"},
        {"sign-out", "", 1000, &Cloud::sign_out, "it is signed out"},
        {"drop-session", R"([{"code":N,"after_ms":N}])", 1000, &Cloud::drop_session, "the session breaks off, and comes back so much later if that is given"},
        {"restore-session", "", 1000, &Cloud::sign_in, "a session that broke off comes back at once"},
        {"own", R"([{"owner":TEXT}])", 1000, &Cloud::own, "somebody becomes the device's owner"},
        {"disown", "", 1000, &Cloud::disown, "the owner gives it up: it is signed out, and signed up no more"},
        {"device-list", R"([{"devices":[ID,...]}])", 1001, &Cloud::device_list, "brings the list of devices; by default the registered sub-devices"},
        {"keepalive", R"({"result":N})", 1003, &Cloud::keep_alive, "what keep-alives end with from now on"},
        {"last-status", R"([{"text":TEXT|OBJECT}])", 1004, &Cloud::last_status, "brings the last status; by default what the device told"},
        {"authority", "", 2001, &Cloud::show_authority, "shows the certificate with which certificates and tokens can be verified"},
        {"diagnostics", R"([{"value":N,"text":TEXT|OBJECT}])", 2002, &Cloud::diagnostics, "asks the device for diagnostics"},
    };
    return all;
}
// clang-format on

Cloud::Cloud(State &state, Announcer &announcer, Clock &clock, Authority &authority)
    : state_(state), announcer_(announcer), authority_(authority), sign_up_(clock), comeback_(clock), next_round_(clock)
{
}

// ---- sign-up ---------------------------------------------------------------------------------------------------------

Json Cloud::next_sign_up(Arguments &arguments)
{
    const std::string outcome = arguments.required_text("outcome");
    const int after_ms = delay_in(arguments).value_or(0);
    arguments.end();
    if (outcome != "succeed" && outcome != "fail")
        refuse("a sign-up can succeed or fail, not '" + outcome + "'");
    cloud().next_sign_up = {outcome == "succeed", after_ms};
    return Json::object();
}

bool Cloud::sign_up(Credentials credentials)
{
    if (credentials.access_token.empty() || cloud().signing_up)
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

/// A sign-up of a device that was signed up already decides anew.
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
    note_thing_status();
    announcer_.announce(master::signup_status_changed_cb{}, signed_up);
}

void Cloud::set_signed_in(bool signed_in)
{
    state_.signed_in = signed_in;
    note_thing_status();
    announcer_.announce(master::signin_status_changed_cb{}, signed_in);
}

void Cloud::note_thing_status()
{
    state_.thing_status = static_cast<int>(state_.signed_in   ? ThingStatus::signed_in
                                           : state_.signed_up ? ThingStatus::signed_up
                                                              : ThingStatus::alone);
}

// ---- the session -----------------------------------------------------------------------------------------------------

bool Cloud::signs_in() const
{
    return state_.signed_up && !state_.cloud.sign_in_disabled && !session_;
}

void Cloud::must_be_able_to_sign_in() const
{
    if (session_)
        refuse("the device is signed in already");
    if (!state_.signed_up)
        refuse("the device is not signed up; its application does that, with korvane_sign_up_cloud");
    if (state_.cloud.sign_in_disabled)
        refuse("the application has disabled signing in, with korvane_disable_signin");
}

void Cloud::connect_session()
{
    session_.emplace([this](int error) { lose_session(error); });
    comeback_.stop();
    cloud().keep_alive.turn = 0;
    note_session();
    plan_round();
}

void Cloud::begin_session()
{
    connect_session();
    set_signed_in(true);
}

void Cloud::take_up_state()
{
    sign_up_.stop();
    comeback_.stop();
    next_round_.stop();
    session_.reset();
    cloud().signing_up = false;
    cloud().session.reset();
    if (state_.signed_in)
        connect_session();
    note_thing_status();
}

/// What asked for it has succeeded all the same.
void Cloud::try_to_begin_session()
{
    try {
        begin_session();
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "korvane-agent: the device cannot sign in: %s\n", problem.what());
    }
}

void Cloud::end_session()
{
    comeback_.stop();
    next_round_.stop();
    if (!session_)
        return;
    session_.reset();
    cloud().session.reset();
    set_signed_in(false);
}

void Cloud::lose_session(int error)
{
    announcer_.announce(master::tcp_session_disconnected_cb{}, -error);
    end_session();
    comeback_.set(comeback_ms, [this] { begin_session(); });
}

Json Cloud::sign_in(Arguments &arguments)
{
    arguments.end();
    must_be_able_to_sign_in();
    begin_session();
    return Json::object();
}

Json Cloud::sign_out(Arguments &arguments)
{
    arguments.end();
    if (!session_)
        refuse("the device is not signed in");
    end_session();
    return Json::object();
}

Json Cloud::drop_session(Arguments &arguments)
{
    const int code = arguments.number("code").value_or(session_lost);
    const std::optional<int> after_ms = delay_in(arguments);
    arguments.end();
    if (!session_)
        refuse("the device has no session with the cloud that could break off; it must be signed in");
    announcer_.announce(master::tcp_session_disconnected_cb{}, code);
    end_session();
    if (after_ms)
        comeback_.set(*after_ms, [this] { begin_session(); });
    return Json::object();
}

bool Cloud::disconnect()
{
    if (!session_)
        return false;
    announcer_.announce(master::tcp_session_disconnected_cb{}, 0);
    end_session();
    return true;
}

void Cloud::disable_sign_in(bool disable)
{
    cloud().sign_in_disabled = disable;
    if (disable)
        end_session();
    else if (signs_in())
        try_to_begin_session();
}

std::optional<TcpHeader> Cloud::tcp_header() const
{
    return session_ ? std::optional{session_->header()} : std::nullopt;
}

void Cloud::note_session()
{
    const TcpHeader header = session_->header();
    cloud().session = {header.src_addr + ":" + std::to_string(header.src_port),
                       header.dst_addr + ":" + std::to_string(header.dst_port), session_->sent(), session_->received(),
                       header.numbers_are_kernels};
}

// ---- keep-alive ------------------------------------------------------------------------------------------------------

bool Cloud::set_intervals(std::vector<int> intervals)
{
    if (intervals.size() > most_intervals)
        return false;
    KeepAlive &keep_alive = cloud().keep_alive;
    keep_alive.intervals = std::move(intervals);
    keep_alive.selected.clear();
    keep_alive.turn = 0;
    plan_round();
    return true;
}

bool Cloud::select_intervals(std::vector<int> indexes)
{
    KeepAlive &keep_alive = cloud().keep_alive;
    const int count = static_cast<int>(keep_alive.intervals.size());
    if (indexes.size() > most_intervals ||
        std::any_of(indexes.begin(), indexes.end(), [count](int index) { return index < 0 || index >= count; }))
        return false;
    keep_alive.selected = std::move(indexes);
    keep_alive.turn = 0;
    plan_round();
    return true;
}

bool Cloud::send_keep_alive()
{
    if (!session_)
        return false;
    round();
    return true;
}

void Cloud::plan_round()
{
    if (!session_)
        return;
    next_round_.set(std::int64_t{1000} * cloud().keep_alive.interval_s(), [this] {
        ++cloud().keep_alive.turn;
        round();
    });
}

void Cloud::round()
{
    const int error = session_->keep_alive();
    KeepAlive &keep_alive = cloud().keep_alive;
    ++keep_alive.rounds;
    announcer_.announce(master::keepalive_result_cb{}, error != 0 ? -error : keep_alive.result);
    if (error != 0)
        return lose_session(error);
    cloud().session->sent = session_->sent();
    cloud().session->received = session_->received();
    plan_round();
}

Json Cloud::keep_alive(Arguments &arguments)
{
    const std::optional<int> result = arguments.number("result");
    arguments.end();
    if (!result)
        refuse("'result' is missing: what keep-alives end with from now on, 0 for well");
    cloud().keep_alive.result = *result;
    return Json::object();
}

// ---- the owner -------------------------------------------------------------------------------------------------------

Json Cloud::own(Arguments &arguments)
{
    const std::string owner = arguments.text("owner").value_or("");
    arguments.end();
    if (state_.owned)
        refuse("the device has an owner already; 'disown' comes first");
    state_.owned = true;
    cloud().owner = owner;
    return std::move(Json::object().set("group_id", *group_id()));
}

Json Cloud::disown(Arguments &arguments)
{
    arguments.end();
    if (!state_.owned)
        refuse("nobody owns the device; 'own' comes first");
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
    // An owner whom nobody has named is another one for each device.
    const std::string &owner = state_.cloud.owner;
    return uuid_of("korvane group " + (owner.empty() ? "of " + state_.device_id : owner));
}

// ---- what the cloud tells, and asks ----------------------------------------------------------------------------------

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
    announcer_.tell(master::cloud_device_list_cb{}, devices.get());
    return std::move(Json::object().set("devices", devices->present));
}

Json Cloud::last_status(Arguments &arguments)
{
    std::optional<std::string> text = arguments.document("text");
    arguments.end();
    if (!text && !cloud().last_status)
        refuse("the device has told no last status; give one as 'text'");
    if (!text) {
        Json told = Json::object();
        told.set("timestamp", cloud().last_status->timestamp).set("error_code", cloud().last_status->error_code);
        text = told.text();
    }
    announcer_.tell(master::last_status_changed_cb{}, text->c_str());
    return Json::object();
}

Json Cloud::diagnostics(Arguments &arguments)
{
    const int value = arguments.number("value").value_or(0);
    const std::string text = arguments.document("text").value_or("{}");
    arguments.end();
    announcer_.tell(master::diagnostics_cb{}, value, text.c_str());
    return Json::object();
}

Json Cloud::show_authority(Arguments &arguments)
{
    arguments.end();
    return std::move(Json::object().set("certificate", authority_.certificate()));
}

} // namespace kv::virtual_agent
