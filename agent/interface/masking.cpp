// SPDX-License-Identifier: Apache-2.0
#include "masking.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t max_shown_document = 4096; // bytes of text; a longer document is masked as a whole

// A table
// clang-format off
constexpr const char *no_secrets[] = {
    // chosen access points, and those found
    "ap_ssid", "ap_authtype", "ap_enctype", "ap_channel", "ap_bssid", "ap_list_array", "ssid", "bssid", "authtype",
    "enctype", "channel", "signal_level", "max_rate", "frequency", "ap_candidates",
    // requests of the generic method
    "common_interface", "req_id", "dev_name", "wifi_mode", "wifi_freq", "wifi_authtype", "device_no", "device_type",
    "disable_signin", "region", "auth_provider", "ci_server", "deploy_env", "iatt",
    // tokens
    "uuid", "server_name", "server_url", "expiration_time", "error",
};
// clang-format on

bool may_be_shown(const char *key)
{
    return std::any_of(std::begin(no_secrets), std::end(no_secrets),
                       [key](const char *known) { return std::strcmp(known, key) == 0; });
}

/// The length of a text does not include its quotes.
Json masked(const cJSON *value)
{
    return show_masked(cJSON_IsString(value) ? value->valuestring : text_of(value).c_str());
}

/// Objects inside an array are shown member by member as well.
Json shown(const cJSON *value)
{
    if (cJSON_IsObject(value)) {
        Json members = Json::object();
        for (const cJSON *member = value->child; member; member = member->next)
            members.set(member->string, may_be_shown(member->string) ? shown(member) : masked(member));
        return members;
    }
    if (cJSON_IsArray(value)) {
        Json items = Json::array();
        for (const cJSON *item = value->child; item; item = item->next)
            items.append(shown(item));
        return items;
    }
    if (cJSON_IsString(value))
        return value->valuestring;
    return Json::copy_of(value);
}

} // namespace

Json show_masked(const char *text)
{
    return "<secret, " + std::to_string(text ? std::strlen(text) : 0) + " bytes>";
}

Json show_document(const char *text)
{
    if (!text || std::strlen(text) > max_shown_document)
        return show_masked(text);
    try {
        const Json document = Json::parse(text);
        return cJSON_IsObject(document.get()) ? shown(document.get()) : show_masked(text);
    } catch (const std::invalid_argument &) {
        return show_masked(text);
    }
}

} // namespace kv::virtual_agent
