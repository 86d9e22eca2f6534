// SPDX-License-Identifier: Apache-2.0
// The steps of the phone that give the device its network and its data.
#include "phone.hpp"

#include <algorithm>

namespace kv::virtual_agent {

namespace {

constexpr int with_candidates_since = 1003; // the access point is a document with others of the same name
constexpr int with_bssid_since = 1004;

Json request_of(int id)
{
    return std::move(Json::object().set("request", id));
}

template <class R>
Owned<typename R::type> new_record(R)
{
    Owned<typename R::type> record{master::RecordCodec<R>::create()};
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

// ---- the network -----------------------------------------------------------------------------------------------------

Json Phone::scan(Arguments &arguments)
{
    arguments.end();
    must_be_connected();
    const int request = setup().last_request + 1;
    hub_.require(master::scan_ap_cb{}, request);
    setup().last_request = request;
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
        refuse("the device has found no network '" + *ssid + "'; 'scan' again, or choose it with \"hidden\":true");
    return *named;
}

/// The other access points of the same network, as JSON.
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
        hub_.require(master::wifi_ap_provisioning_cb{}, record.get());
    } else {
        Json document = Json::object();
        document.set("ap_ssid", Json::bytes(chosen.ssid))
            .set("ap_pwd", Json::bytes(password))
            .set("ap_authtype", chosen.auth_type);
        document.set("ap_enctype", chosen.enc_type).set("ap_channel", chosen.channel);
        if (state_.version.number() >= with_bssid_since)
            document.set("ap_bssid", chosen.bssid);
        document.set("ap_candidates", candidates_of(chosen));
        hub_.require(master::wifi_ap_prov_with_candidates_cb{}, document.text().c_str());
    }
    setup().chosen = std::move(chosen);
    setup().wifi_error.reset();
    enter(Stage::joining);
    return Json::object();
}

void Phone::join_failed(int error_code)
{
    setup().wifi_error = error_code;
    if (setup().stage == Stage::joining)
        enter(Stage::failed);
}

Json Phone::join(Arguments &arguments)
{
    arguments.end();
    if (!setup().chosen)
        refuse("no network is chosen; run 'choose' first");
    if (setup().wifi_error)
        refuse("the device could not join the network: error code " + std::to_string(*setup().wifi_error) +
               "; 'choose' again");
    if (setup().stage != Stage::joining)
        refuse(std::string{"the device is not joining a network; the stage of the setup is "} + name_of(setup().stage));
    enter(Stage::joined);
    return Json::object();
}

Json Phone::stop_soft_ap(Arguments &arguments)
{
    arguments.end();
    hub_.require(master::softap_stop_cb{});
    setup().soft_ap_stopped = true;
    return Json::object();
}

// ---- data ------------------------------------------------------------------------------------------------------------

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
    hub_.require(master::device_provisioning_cb{}, record.get());
    return Json::object();
}

Json Phone::language(Arguments &arguments)
{
    const LanguageRequest wanted{arguments.required_text("type"), arguments.required_text("value")};
    arguments.end();
    must_be_connected();
    const int request = setup().last_request + 1;
    hub_.require(master::provisioning_language_cb{}, request, wanted.type.c_str(), wanted.value.c_str());
    setup().last_request = request;
    return request_of(request);
}

bool Phone::language_answered(int request, bool applied)
{
    const auto pending = setup().language_requests.extract(request);
    if (pending && applied)
        setup().settings[pending.mapped().type] = pending.mapped().value;
    return static_cast<bool>(pending);
}

Json Phone::vendor_info(Arguments &arguments)
{
    const int value = arguments.number("value").value_or(0);
    const std::string text = arguments.document("text").value_or("{}");
    arguments.end();
    hub_.require(master::provisioning_vendor_info_cb{}, value, text.c_str());
    return Json::object();
}

Json Phone::features(Arguments &arguments)
{
    const int feature = arguments.number("feature").value_or(1);
    arguments.end();
    hub_.require(master::otm_support_feature_cb{}, feature);
    return Json::object();
}

Json Phone::get_provisioning(Arguments &arguments)
{
    const std::string text = arguments.required_text("text");
    const int value = arguments.number("value").value_or(0);
    arguments.end();
    hub_.require(master::provisioning_get_requested_cb{}, text.c_str(), value);
    return Json::object();
}

Json Phone::accept_terms(Arguments &arguments)
{
    Json result = Json::object();
    result.set("accepted", arguments.flag("accepted").value_or(true));
    arguments.end();
    hub_.require(master::tnc_result_cb{}, result.text().c_str());
    return Json::object();
}

} // namespace kv::virtual_agent
