// SPDX-License-Identifier: Apache-2.0
// What a phone is there for: it has the device find networks, tells it which to join and where and whose it is.
#include "phone.hpp"

#include <algorithm>

namespace kv::virtual_agent {

namespace {

constexpr int with_candidates_since = 1003; // an access point is a document, with others of the same name
constexpr int with_bssid_since = 1004;

Json request_of(int id)
{
    return std::move(Json::object().set("request", id));
}

template <class R>
Owned<typename R::type> new_record(R)
{
    Owned<typename R::type> record{proxy::RecordCodec<R>::create()};
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

} // namespace kv::virtual_agent
