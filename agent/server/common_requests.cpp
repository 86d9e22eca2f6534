// SPDX-License-Identifier: Apache-2.0
#include "common_requests.hpp"

#include "document.hpp"
#include "stub.hpp"

#include <algorithm>
#include <memory>
#include <optional>

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
    return device.state.name_device(device.state.device_types, number_in(request, "device_no"),
                                    text_in(request, "device_type"))
               ? 0
               : refused;
}

int send_push(const Device &, const cJSON *request)
{
    return cJSON_GetObjectItemCaseSensitive(request, "custom_push_msg") ? 0 : refused;
}

int sign_up(const Device &device, const cJSON *request)
{
    const bool begun = device.cloud.sign_up(
        {text_in(request, "region"), text_in(request, "auth_provider"), text_in(request, "access_token"),
         text_in(request, "refresh_token"), text_in(request, "user_id"), text_in(request, "client_id"),
         text_in(request, "ci_server"), text_in(request, "deploy_env"), number_in(request, "iatt")});
    return begun ? 0 : refused;
}

int set_device_property(const Device &device, const cJSON *request)
{
    DeviceProperty property{text_in(request, "dev_name"), number_in(request, "wifi_mode"),
                            number_in(request, "wifi_freq")};
    const cJSON *type = nullptr;
    cJSON_ArrayForEach(type, cJSON_GetObjectItemCaseSensitive(request, "wifi_authtype"))
        property.auth_types.push_back(type->valueint);
    device.state.setup.property = std::move(property);
    return 0;
}

int disable_signin(const Device &device, const cJSON *request)
{
    const cJSON *disable = cJSON_GetObjectItemCaseSensitive(request, "disable_signin");
    if (!cJSON_IsBool(disable))
        return refused;
    device.cloud.disable_sign_in(cJSON_IsTrue(disable));
    return 0;
}

int networks_found(const Device &device, const cJSON *request)
{
    std::vector<AccessPoint> networks;
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, cJSON_GetObjectItemCaseSensitive(request, "ap_list_array"))
        networks.push_back({text_in(item, "ssid"), text_in(item, "bssid"), number_in(item, "authtype"),
                            number_in(item, "enctype"), number_in(item, "channel"), number_in(item, "signal_level"),
                            number_in(item, "max_rate"), number_in(item, "frequency")});
    return device.phone.networks_found(number_in(request, "req_id"), std::move(networks)) ? 0 : refused;
}

} // namespace

// A table
// clang-format off
const std::vector<CommonRequest> &all_common_requests()
{
    static const std::vector<CommonRequest> all = {
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

int serve_common_request(const Device &device, const char *text)
{
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> request{cJSON_Parse(text), cJSON_Delete};
    const int number = number_in(request.get(), "common_interface");
    const auto &all = all_common_requests();
    const auto known = std::find_if(all.begin(), all.end(), [number](const auto &one) { return one.number == number; });
    if (known == all.end() || known->since > device.state.version.number())
        return refused;
    device.state.cloud.remember(known->name, show_document(text));
    return known->serve(device, request.get());
}

} // namespace kv::virtual_agent
