// SPDX-License-Identifier: Apache-2.0
#include "generic_method.hpp"

#include "agent/interface/masking.hpp"
#include "values.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

int number_in(const cJSON *object, const char *name)
{
    const cJSON *value = cJSON_GetObjectItemCaseSensitive(object, name);
    return cJSON_IsNumber(value) ? value->valueint : 0;
}

std::string text_in(const cJSON *object, const char *name)
{
    const char *value = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, name));
    return value ? value : "";
}

int set_device_type(const Device &device, const cJSON *request)
{
    return result_of(device.state.set_text(device.state.device_types, number_in(request, "device_no"),
                                           text_in(request, "device_type")));
}

int send_push(const Device &, const cJSON *request)
{
    return result_of(cJSON_GetObjectItemCaseSensitive(request, "custom_push_msg") != nullptr);
}

int sign_up(const Device &device, const cJSON *request)
{
    return result_of(device.cloud.sign_up(
        {text_in(request, "region"), text_in(request, "auth_provider"), text_in(request, "access_token"),
         text_in(request, "refresh_token"), text_in(request, "user_id"), text_in(request, "client_id"),
         text_in(request, "ci_server"), text_in(request, "deploy_env"), number_in(request, "iatt")}));
}

int set_device_property(const Device &device, const cJSON *request)
{
    DeviceProperty property{text_in(request, "dev_name"), number_in(request, "wifi_mode"),
                            number_in(request, "wifi_freq")};
    const cJSON *type = nullptr;
    cJSON_ArrayForEach(type, cJSON_GetObjectItemCaseSensitive(request, "wifi_authtype"))
        property.auth_types.push_back(type->valueint);
    device.state.setup.property = std::move(property);
    return done;
}

int disable_signin(const Device &device, const cJSON *request)
{
    const cJSON *disable = cJSON_GetObjectItemCaseSensitive(request, "disable_signin");
    if (!cJSON_IsBool(disable))
        return refused;
    device.cloud.disable_sign_in(cJSON_IsTrue(disable));
    return done;
}

int networks_found(const Device &device, const cJSON *request)
{
    std::vector<AccessPoint> networks;
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, cJSON_GetObjectItemCaseSensitive(request, "ap_list_array"))
        networks.push_back({text_in(item, "ssid"), text_in(item, "bssid"), number_in(item, "authtype"),
                            number_in(item, "enctype"), number_in(item, "channel"), number_in(item, "signal_level"),
                            number_in(item, "max_rate"), number_in(item, "frequency")});
    return result_of(device.phone.networks_found(number_in(request, "req_id"), std::move(networks)));
}

} // namespace

// A table
// clang-format off
const std::vector<NumberedCommand> &all_numbered_commands()
{
    static const std::vector<NumberedCommand> all = {
        {1, "set_device_type", 2000, set_device_type},
        {2, "send_custom_push", 2000, send_push},
        {3, "sign_up", 2000, sign_up},
        {4, "set_device_property", 2002, set_device_property},
        {5, "disable_signin", 2002, disable_signin},
        {6, "send_ap_list", 2003, networks_found},
    };
    return all;
}
// clang-format on

int serve_generic_method(const Device &device, const char *text)
{
    constexpr std::size_t max_document = 1 << 20;
    if (std::strlen(text) > max_document)
        return refused;
    Json request;
    try {
        request = Json::parse(text);
    } catch (const std::invalid_argument &) {
        return refused;
    }
    const int number = number_in(request.get(), "common_interface");
    const auto &all = all_numbered_commands();
    const auto known = std::find_if(all.begin(), all.end(), [number](const auto &one) { return one.number == number; });
    if (known == all.end() || known->since > device.state.version.number())
        return refused;
    device.state.cloud.keep(known->name, show_document(text));
    return known->serve(device, request.get());
}

} // namespace kv::virtual_agent
