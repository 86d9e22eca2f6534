// SPDX-License-Identifier: Apache-2.0
#include "generic_method.hpp"

#include "agent/interface/show.hpp"
#include "values.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

namespace commands = master::commands;
using master::Member;

const cJSON *value_in(const cJSON *object, const Member &member)
{
    return cJSON_GetObjectItemCaseSensitive(object, member.key);
}

int number_in(const cJSON *object, const Member &member)
{
    const cJSON *value = value_in(object, member);
    return cJSON_IsNumber(value) ? value->valueint : 0;
}

std::string text_in(const cJSON *object, const Member &member)
{
    const char *value = cJSON_GetStringValue(value_in(object, member));
    return value ? value : "";
}

int set_device_type(const Device &device, const cJSON *request)
{
    return result_of(device.state.set_text(device.state.device_types, number_in(request, commands::device_no),
                                           text_in(request, commands::set_device_type::device_type)));
}

int send_push(const Device &, const cJSON *request)
{
    return result_of(value_in(request, commands::custom_push_message::message) != nullptr);
}

int sign_up(const Device &device, const cJSON *request)
{
    using namespace commands::sign_up_cloud;
    return result_of(device.cloud.sign_up(
        {text_in(request, region), text_in(request, auth_provider), text_in(request, access_token),
         text_in(request, refresh_token), text_in(request, user_id), text_in(request, client_id),
         text_in(request, ci_server), text_in(request, deploy_env), number_in(request, token_type)}));
}

int set_device_property(const Device &device, const cJSON *request)
{
    using namespace commands::set_device_property;
    DeviceProperty property{text_in(request, dev_name), number_in(request, wifi_mode), number_in(request, wifi_freq)};
    const cJSON *type = nullptr;
    cJSON_ArrayForEach(type, value_in(request, wifi_authtype)) property.auth_types.push_back(type->valueint);
    device.state.setup.property = std::move(property);
    return done;
}

int disable_signin(const Device &device, const cJSON *request)
{
    const cJSON *disable = value_in(request, commands::disable_signin::disable);
    if (!cJSON_IsBool(disable))
        return refused;
    device.cloud.disable_sign_in(cJSON_IsTrue(disable));
    return done;
}

int networks_found(const Device &device, const cJSON *request)
{
    using namespace master::documents::ap_list_entry;
    std::vector<AccessPoint> networks;
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, value_in(request, commands::send_ap_list::ap_list))
        networks.push_back({text_in(item, ssid), text_in(item, bssid), number_in(item, authtype),
                            number_in(item, enctype), number_in(item, channel), number_in(item, signal_level),
                            number_in(item, max_rate), number_in(item, frequency)});
    return result_of(
        device.phone.networks_found(number_in(request, commands::send_ap_list::req_id), std::move(networks)));
}

} // namespace

const std::vector<ServedCommand> &all_served_commands()
{
    static const std::vector<ServedCommand> all = {
        {commands::set_device_type::command, "set_device_type", set_device_type},
        {commands::custom_push_message::command, "send_custom_push", send_push},
        {commands::sign_up_cloud::command, "sign_up", sign_up},
        {commands::set_device_property::command, "set_device_property", set_device_property},
        {commands::disable_signin::command, "disable_signin", disable_signin},
        {commands::send_ap_list::command, "send_ap_list", networks_found},
    };
    return all;
}

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
    const int number = number_in(request.get(), commands::number);
    const auto &all = all_served_commands();
    const auto known =
        std::find_if(all.begin(), all.end(), [number](const auto &one) { return one.command.number == number; });
    if (known == all.end() || known->command.since > device.state.version.number())
        return refused;
    device.state.cloud.keep(known->name, Shown::document(known->command, text));
    return known->serve(device, request.get());
}

} // namespace kv::virtual_agent
