// SPDX-License-Identifier: Apache-2.0
// Most functions have the name of their method. The table lists the others, and the methods that no function is named
// after.
#include "functions.hpp"

#include "agent/interface/methods.hpp"
#include "common/agent_state.hpp"

#include <algorithm>
#include <cstring>

namespace kv::virtual_agent {

namespace {

constexpr const char *prefix = "korvane_";

// A table
// clang-format off
const std::vector<Function> &special_functions()
{
    static const std::vector<Function> functions = {
        {"korvane_set_wifi_ap_provisioning_cb", {{since(1, 0), "set_wifi_ap_provisioning_cb"}, {since(1, 3), "set_wifi_ap_provisioning_cb_v2"}}},
        {"korvane_unset_wifi_ap_provisioning_cb", {{since(1, 0), "unset_wifi_ap_provisioning_cb"}, {since(1, 3), "unset_wifi_ap_provisioning_cb_v2"}}},
        {"korvane_set_stop_soft_ap_cb", {{since(1, 0), "set_softap_stop_cb"}}},
        {"korvane_unset_stop_soft_ap_cb", {{since(1, 0), "unset_softap_stop_cb"}}},
        {"korvane_send_ap_list", {{since(1, 0), "send_ap_list"},
            {since(2, 3), "common_interface", "request", 6, {{"ap_list", "ap_list_array"}}}}},
        {"korvane_sign_up_cloud", {{since(1, 0), "signup_cloud", "cloud_info"}, {since(2, 0), "common_interface", "request", 3}}},
        {"korvane_set_platform_info", {{since(1, 1), "set_platform_info", "platform_info"},
            {since(1, 2), "set_platform_info_with_device_no", "platform_info", 0, {{"platform_version", "p_ver"}}}}},
        {"korvane_set_device_property_with_wifi_authtype", {{since(2, 2), "common_interface", "request", 4}}},
        {"korvane_disable_signin", {{since(2, 2), "common_interface", "request", 5}}},
        {"korvane_set_device_type_with_device_no", {{since(2, 0), "common_interface", "request", 1}}},
        {"korvane_send_custom_push_msg", {{since(2, 0), "common_interface", "request", 2}}},
        {"korvane_set_device_profile_info", {{since(1, 3), "set_device_profile"}}},
        {"korvane_set_tnc_info", {{since(1, 3), "set_tnc_data"}}},
        {"korvane_get_sub_device_presence_list", {{since(1, 6), "get_sub_device_presence"}}},
    };
    return functions;
}
// clang-format on

/// Methods that the library itself calls.
constexpr const char *internal_methods[] = {"is_update_ready", "set_api_version"};

/// Whether another function, or only the library itself, calls the method.
bool has_other_caller(const std::string &method)
{
    const auto calls = [&method](const FunctionRequest &request) { return method == request.method; };
    const auto &special = special_functions();
    return std::any_of(special.begin(), special.end(),
                       [&](const Function &one) {
                           return std::any_of(one.requests.begin(), one.requests.end(), calls) &&
                                  one.name != prefix + method;
                       }) ||
           std::find(std::begin(internal_methods), std::end(internal_methods), method) != std::end(internal_methods);
}

/// A method that its own function calls, although a special function calls it too.
constexpr const char *shared_method = "set_platform_info_with_device_no";

bool is_special(const std::string &name)
{
    const auto &special = special_functions();
    return std::any_of(special.begin(), special.end(), [&name](const Function &one) { return one.name == name; });
}

} // namespace

const FunctionRequest *Function::request_to(int version) const
{
    const FunctionRequest *latest = nullptr;
    for (const FunctionRequest &request : requests)
        if (request.since <= version)
            latest = &request;
    return latest;
}

const std::vector<Function> &all_functions()
{
    static const std::vector<Function> functions = [] {
        std::vector<Function> all = special_functions();
        for (const MethodEntry &method : all_methods())
            if (const std::string name = std::string{prefix} + method.name;
                !is_special(name) && (!has_other_caller(method.name) || std::strcmp(method.name, shared_method) == 0))
                all.push_back({name, {{method.since, method.name}}});
        return all;
    }();
    return functions;
}

const Function *find_function(const std::string &name)
{
    const auto &functions = all_functions();
    const auto found =
        std::find_if(functions.begin(), functions.end(), [&name](const Function &one) { return one.name == name; });
    return found == functions.end() ? nullptr : &*found;
}

Json request_arguments(const FunctionRequest &request, const cJSON *function_arguments)
{
    Json members = Json::object();
    for (const cJSON *one = function_arguments ? function_arguments->child : nullptr; one; one = one->next) {
        const auto renamed = std::find_if(request.renamed.begin(), request.renamed.end(), [one](const auto &names) {
            return std::strcmp(names.first, one->string) == 0;
        });
        members.set(renamed == request.renamed.end() ? one->string : renamed->second, Json::copy_of(one));
    }
    if (request.command != 0)
        members.set("common_interface", request.command);
    return request.inside ? std::move(Json::object().set(request.inside, std::move(members))) : std::move(members);
}

} // namespace kv::virtual_agent
