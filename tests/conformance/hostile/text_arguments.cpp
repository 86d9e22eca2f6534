// SPDX-License-Identifier: Apache-2.0
#include "text_arguments.hpp"

#include <cstdio>

namespace kv::test {

namespace {

constexpr auto ignore = [](auto...) {};

/// Creates, fills, sends and destroys an object. Returns the first failure.
template <auto Create, auto Set, auto Send, auto Destroy, class Handle>
int pass_through(korvane_h handle, const char *text, Handle object)
{
    if (int code = Create(&object))
        return code;
    int code = Set(object, text);
    if (code == KORVANE_ERROR_NONE)
        code = Send(handle, object);
    EXPECT_EQ(Destroy(object), KORVANE_ERROR_NONE);
    return code;
}

template <auto Set>
int in_cloud_info(korvane_h h, const char *text)
{
    return pass_through<korvane_cloudinfo_create, Set, korvane_sign_up_cloud, korvane_cloudinfo_destroy>(
        h, text, korvane_cloud_info_h{});
}

template <auto Set>
int in_platform_info(korvane_h h, const char *text)
{
    return pass_through<korvane_platforminfo_create, Set, korvane_set_platform_info, korvane_platforminfo_destroy>(
        h, text, korvane_platform_info_h{});
}

template <auto Set>
int in_profile(korvane_h h, const char *text)
{
    return pass_through<korvane_device_profile_info_create, Set, korvane_set_device_profile_info,
                        korvane_device_profile_info_destroy>(h, text, korvane_device_profile_info_h{});
}

template <auto Set>
int in_terms(korvane_h h, const char *text)
{
    return pass_through<korvane_tnc_info_create, Set, korvane_set_tnc_info, korvane_tnc_info_destroy>(
        h, text, korvane_tnc_info_h{});
}

int in_last_status(korvane_h h, const char *text)
{
    return pass_through<korvane_laststatusinfo_create, korvane_laststatusinfo_set_error_code,
                        korvane_set_last_status_info, korvane_laststatusinfo_destroy>(h, text,
                                                                                      korvane_last_status_info_h{});
}

int create_list_of_one(korvane_aplist_h *list)
{
    return korvane_aplist_create(list, 1);
}

template <auto Set>
int set_first(korvane_aplist_h list, const char *text)
{
    return Set(list, 0, text);
}

int send_list(korvane_h handle, korvane_aplist_h list)
{
    return korvane_send_ap_list(handle, list, 1);
}

template <auto Set>
int in_ap_list(korvane_h h, const char *text)
{
    return pass_through<create_list_of_one, set_first<Set>, send_list, korvane_aplist_destroy>(h, text,
                                                                                               korvane_aplist_h{});
}

using H = korvane_h;
using T = const char *;

// One row per argument.
// clang-format off
const std::vector<TextArgument> rows = {
    {.function = "korvane_set_device_property", .argument = "dev_name", .minimum_version = 0,
     .pass = [](H h, T t) { return korvane_set_device_property(h, t, 1, 2); },
     .line = "dev_name [@], wifi_mode [0x1], wifi_freq [0x2]"},
    {.function = "korvane_set_device_property_with_wifi_authtype", .argument = "dev_name", .minimum_version = 2002,
     .pass = [](H h, T t) {
         const int authtypes[] = {7};
         return korvane_set_device_property_with_wifi_authtype(h, t, 1, 2, authtypes, 1);
     }, .json_since = 2002, .key = "dev_name",
     .line = "dev_name [@], wifi_mode [0x1], wifi_freq [0x2], wifi authtype count [1]"},
    {.function = "korvane_aplist_set_ssid", .argument = "ssid", .minimum_version = 0,
     .pass = in_ap_list<korvane_aplist_set_ssid>, .json_since = 2003, .key = "ssid"},
    {.function = "korvane_aplist_set_bssid", .argument = "bssid", .minimum_version = 0,
     .pass = in_ap_list<korvane_aplist_set_bssid>, .json_since = 2003, .key = "bssid"},

    {.function = "korvane_set_random_pin", .argument = "pin", .minimum_version = 1004, .pass = korvane_set_random_pin,
     .is_refused_when_empty = true},
    {.function = "korvane_set_preconfigured_pin", .argument = "pin", .minimum_version = 0,
     .pass = korvane_set_preconfigured_pin},
    {.function = "korvane_set_language_list", .argument = "language_list", .minimum_version = 1003,
     .pass = [](H h, T t) { return korvane_set_language_list(h, &t, 1); }},
    {.function = "korvane_set_provisioning_vendor_info", .argument = "prov_json_str", .minimum_version = 1003,
     .pass = korvane_set_provisioning_vendor_info},
    {.function = "korvane_set_sso_list", .argument = "sso_list", .minimum_version = 1003, .pass = korvane_set_sso_list},
    {.function = "korvane_set_easysetup_version_info", .argument = "es_version_info", .minimum_version = 1003,
     .pass = korvane_set_easysetup_version_info, .line = "es_version_info [@]"},

    {.function = "korvane_cloudinfo_set_region", .argument = "region", .minimum_version = 0,
     .pass = in_cloud_info<korvane_cloudinfo_set_region>, .json_since = 2000, .key = "region"},
    {.function = "korvane_cloudinfo_set_auth_provider", .argument = "auth_provider", .minimum_version = 0,
     .pass = in_cloud_info<korvane_cloudinfo_set_auth_provider>, .json_since = 2000, .key = "auth_provider"},
    {.function = "korvane_cloudinfo_set_access_token", .argument = "access_token", .minimum_version = 0,
     .pass = in_cloud_info<korvane_cloudinfo_set_access_token>, .json_since = 2000, .key = "access_token"},
    {.function = "korvane_cloudinfo_set_refresh_token", .argument = "refresh_token", .minimum_version = 0,
     .pass = in_cloud_info<korvane_cloudinfo_set_refresh_token>, .json_since = 2000, .key = "refresh_token"},
    {.function = "korvane_cloudinfo_set_user_id", .argument = "user_id", .minimum_version = 0,
     .pass = in_cloud_info<korvane_cloudinfo_set_user_id>, .json_since = 2000, .key = "user_id"},
    {.function = "korvane_cloudinfo_set_client_id", .argument = "client_id", .minimum_version = 0,
     .pass = in_cloud_info<korvane_cloudinfo_set_client_id>, .json_since = 2000, .key = "client_id"},
    {.function = "korvane_cloudinfo_set_cloud_interface_server", .argument = "ci_server", .minimum_version = 2000,
     .pass = in_cloud_info<korvane_cloudinfo_set_cloud_interface_server>, .json_since = 2000, .key = "ci_server"},
    {.function = "korvane_cloudinfo_set_deploy_environment", .argument = "deploy_env", .minimum_version = 2000,
     .pass = in_cloud_info<korvane_cloudinfo_set_deploy_environment>, .json_since = 2000, .key = "deploy_env"},

    {.function = "korvane_platforminfo_set_model_number", .argument = "model_number", .minimum_version = 1001,
     .pass = in_platform_info<korvane_platforminfo_set_model_number>, .json_since = 1002, .key = "model_number"},
    {.function = "korvane_platforminfo_set_platform_version", .argument = "platform_version", .minimum_version = 1001,
     .pass = in_platform_info<korvane_platforminfo_set_platform_version>, .json_since = 1002, .key = "p_ver"},
    {.function = "korvane_platforminfo_set_vendor_id", .argument = "vid", .minimum_version = 1002,
     .pass = in_platform_info<korvane_platforminfo_set_vendor_id>, .json_since = 1002, .key = "vid"},
    {.function = "korvane_platforminfo_set_manufacture_date", .argument = "mf_date", .minimum_version = 1004,
     .pass = in_platform_info<korvane_platforminfo_set_manufacture_date>, .json_since = 1002, .key = "mf_date"},
    {.function = "korvane_platforminfo_set_firmware_version", .argument = "firmware_version", .minimum_version = 1004,
     .pass = in_platform_info<korvane_platforminfo_set_firmware_version>, .json_since = 1002, .key = "f_ver"},
    {.function = "korvane_laststatusinfo_set_error_code", .argument = "error_code", .minimum_version = 1001,
     .pass = in_last_status},

    {.function = "korvane_device_profile_info_set_nick", .argument = "nick", .minimum_version = 1003,
     .pass = in_profile<korvane_device_profile_info_set_nick>, .json_since = 1003, .key = "nick", .line = "nick [@]"},
    {.function = "korvane_device_profile_info_set_locale", .argument = "locale", .minimum_version = 1003,
     .pass = in_profile<korvane_device_profile_info_set_locale>, .json_since = 1003, .key = "locale"},
    {.function = "korvane_device_profile_info_set_push_reg_id", .argument = "push_reg_id", .minimum_version = 1003,
     .pass = in_profile<korvane_device_profile_info_set_push_reg_id>, .json_since = 1003, .key = "pushregid"},
    {.function = "korvane_device_profile_info_set_push_app_id", .argument = "push_app_id", .minimum_version = 1003,
     .pass = in_profile<korvane_device_profile_info_set_push_app_id>, .json_since = 1003, .key = "pushappid"},
    {.function = "korvane_device_profile_info_set_push_provider", .argument = "push_provider", .minimum_version = 1003,
     .pass = in_profile<korvane_device_profile_info_set_push_provider>, .json_since = 1003, .key = "pushprovider"},
    {.function = "korvane_device_profile_info_set_serial_number", .argument = "serial_number", .minimum_version = 2000,
     .pass = in_profile<korvane_device_profile_info_set_serial_number>, .json_since = 1003, .key = "sn"},
    {.function = "korvane_set_regist_set_device", .argument = "rsd", .minimum_version = 1001,
     .pass = korvane_set_regist_set_device},
    {.function = "korvane_set_nick_name", .argument = "nick", .minimum_version = 1002,
     .pass = [](H h, T t) { return korvane_set_nick_name(h, 3, t); }, .line = "nick [@], device_no [3]"},
    {.function = "korvane_set_device_name", .argument = "device_name", .minimum_version = 1004,
     .pass = korvane_set_device_name, .line = "device_name [@]"},
    {.function = "korvane_set_device_name_with_device_no", .argument = "device_name", .minimum_version = 1004,
     .pass = [](H h, T t) { return korvane_set_device_name_with_device_no(h, t, 3); },
     .line = "device_name [@], device_no [3]"},
    {.function = "korvane_set_device_type_with_device_no", .argument = "device_type", .minimum_version = 2000,
     .pass = [](H h, T t) { return korvane_set_device_type_with_device_no(h, 3, t); }, .json_since = 2000,
     .key = "device_type", .line = "device_type [@], device_no [3]"},
    {.function = "korvane_register_sub_device", .argument = "device_id", .minimum_version = 1001,
     .pass = [](H h, T t) { return korvane_register_sub_device(h, 1, t); }},

    {.function = "korvane_create_hdr_certificate", .argument = "device_type", .minimum_version = 2001,
     .pass = [](H h, T t) { return korvane_create_hdr_certificate(h, t, "csr", ignore, nullptr); }},
    {.function = "korvane_create_hdr_certificate", .argument = "csr", .minimum_version = 2001,
     .pass = [](H h, T t) { return korvane_create_hdr_certificate(h, "type", t, ignore, nullptr); }},
    {.function = "korvane_get_hdr_certificate", .argument = "device_type", .minimum_version = 2001,
     .pass = [](H h, T t) { return korvane_get_hdr_certificate(h, t, "arn", ignore, nullptr); }},
    {.function = "korvane_get_hdr_certificate", .argument = "certificate_arn", .minimum_version = 2001,
     .pass = [](H h, T t) { return korvane_get_hdr_certificate(h, "type", t, ignore, nullptr); }},
    {.function = "korvane_create_hdr_token_info_custom", .argument = "request_data_json_str", .minimum_version = 2003,
     .pass = [](H h, T t) { return korvane_create_hdr_token_info_custom(h, t, ignore, nullptr); }},
    {.function = "korvane_send_custom_push_msg", .argument = "push_msg_json_str", .minimum_version = 2000,
     .pass = [](H h, T t) { return korvane_send_custom_push_msg(h, (std::string("\"") + t + "\"").c_str()); },
     .json_since = 2000, .key = "custom_push_msg"},
    {.function = "korvane_tncinfo_set_version", .argument = "version", .minimum_version = 1003,
     .pass = in_terms<korvane_tncinfo_set_version>, .json_since = 1003, .key = "tnc_version", .line = "version [@]"},
    {.function = "korvane_tncinfo_set_header", .argument = "header", .minimum_version = 1003,
     .pass = in_terms<korvane_tncinfo_set_header>, .json_since = 1003, .key = "tnc_header"},
    {.function = "korvane_set_tnc_url", .argument = "url", .minimum_version = 1004, .pass = korvane_set_tnc_url},
};
// clang-format on

} // namespace

const std::vector<TextArgument> &text_arguments()
{
    return rows;
}

std::string member(const std::string &key, const std::string &text)
{
    return "\"" + key + "\":\"" + text + "\"";
}

Bytes raw(std::string_view text)
{
    return {text.begin(), text.end()};
}

bool contains(const Bytes &whole, const Bytes &part)
{
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

int version_number(const std::string &version)
{
    int major = 0;
    int minor = 0;
    EXPECT_EQ(std::sscanf(version.c_str(), "%d.%d", &major, &minor), 2) << version;
    return 1000 * major + minor;
}

} // namespace kv::test
