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
    {"korvane_set_device_property", "dev_name", 0, [](H h, T t) { return korvane_set_device_property(h, t, 1, 2); },
     0, "", "dev_name [@], wifi_mode [0x1], wifi_freq [0x2]"},
    {"korvane_set_device_property_with_wifi_authtype", "dev_name", 2002,
     [](H h, T t) {
         const int authtypes[] = {7};
         return korvane_set_device_property_with_wifi_authtype(h, t, 1, 2, authtypes, 1);
     },
     2002, "dev_name", "dev_name [@], wifi_mode [0x1], wifi_freq [0x2], wifi authtype count [1]"},
    {"korvane_aplist_set_ssid", "ssid", 0, in_ap_list<korvane_aplist_set_ssid>, 2003, "ssid"},
    {"korvane_aplist_set_bssid", "bssid", 0, in_ap_list<korvane_aplist_set_bssid>, 2003, "bssid"},

    {"korvane_set_random_pin", "pin", 1004, korvane_set_random_pin, 0, "", "", true},
    {"korvane_set_preconfigured_pin", "pin", 0, korvane_set_preconfigured_pin},
    {"korvane_set_language_list", "language_list", 1003,
     [](H h, T t) { return korvane_set_language_list(h, &t, 1); }},
    {"korvane_set_provisioning_vendor_info", "prov_json_str", 1003, korvane_set_provisioning_vendor_info},
    {"korvane_set_sso_list", "sso_list", 1003, korvane_set_sso_list},
    {"korvane_set_easysetup_version_info", "es_version_info", 1003, korvane_set_easysetup_version_info, 0, "",
     "es_version_info [@]"},

    {"korvane_cloudinfo_set_region", "region", 0, in_cloud_info<korvane_cloudinfo_set_region>, 2000, "region"},
    {"korvane_cloudinfo_set_auth_provider", "auth_provider", 0, in_cloud_info<korvane_cloudinfo_set_auth_provider>,
     2000, "auth_provider"},
    {"korvane_cloudinfo_set_access_token", "access_token", 0, in_cloud_info<korvane_cloudinfo_set_access_token>,
     2000, "access_token"},
    {"korvane_cloudinfo_set_refresh_token", "refresh_token", 0, in_cloud_info<korvane_cloudinfo_set_refresh_token>,
     2000, "refresh_token"},
    {"korvane_cloudinfo_set_user_id", "user_id", 0, in_cloud_info<korvane_cloudinfo_set_user_id>, 2000, "user_id"},
    {"korvane_cloudinfo_set_client_id", "client_id", 0, in_cloud_info<korvane_cloudinfo_set_client_id>,
     2000, "client_id"},
    {"korvane_cloudinfo_set_cloud_interface_server", "ci_server", 2000,
     in_cloud_info<korvane_cloudinfo_set_cloud_interface_server>, 2000, "ci_server"},
    {"korvane_cloudinfo_set_deploy_environment", "deploy_env", 2000,
     in_cloud_info<korvane_cloudinfo_set_deploy_environment>, 2000, "deploy_env"},

    {"korvane_platforminfo_set_model_number", "model_number", 1001,
     in_platform_info<korvane_platforminfo_set_model_number>, 1002, "model_number"},
    {"korvane_platforminfo_set_platform_version", "platform_version", 1001,
     in_platform_info<korvane_platforminfo_set_platform_version>, 1002, "p_ver"},
    {"korvane_platforminfo_set_vendor_id", "vid", 1002, in_platform_info<korvane_platforminfo_set_vendor_id>,
     1002, "vid"},
    {"korvane_platforminfo_set_manufacture_date", "mf_date", 1004,
     in_platform_info<korvane_platforminfo_set_manufacture_date>, 1002, "mf_date"},
    {"korvane_platforminfo_set_firmware_version", "firmware_version", 1004,
     in_platform_info<korvane_platforminfo_set_firmware_version>, 1002, "f_ver"},
    {"korvane_laststatusinfo_set_error_code", "error_code", 1001, in_last_status},

    {"korvane_device_profile_info_set_nick", "nick", 1003, in_profile<korvane_device_profile_info_set_nick>,
     1003, "nick", "nick [@]"},
    {"korvane_device_profile_info_set_locale", "locale", 1003, in_profile<korvane_device_profile_info_set_locale>,
     1003, "locale"},
    {"korvane_device_profile_info_set_push_reg_id", "push_reg_id", 1003,
     in_profile<korvane_device_profile_info_set_push_reg_id>, 1003, "pushregid"},
    {"korvane_device_profile_info_set_push_app_id", "push_app_id", 1003,
     in_profile<korvane_device_profile_info_set_push_app_id>, 1003, "pushappid"},
    {"korvane_device_profile_info_set_push_provider", "push_provider", 1003,
     in_profile<korvane_device_profile_info_set_push_provider>, 1003, "pushprovider"},
    {"korvane_device_profile_info_set_serial_number", "serial_number", 2000,
     in_profile<korvane_device_profile_info_set_serial_number>, 1003, "sn"},
    {"korvane_set_regist_set_device", "rsd", 1001, korvane_set_regist_set_device},
    {"korvane_set_nick_name", "nick", 1002, [](H h, T t) { return korvane_set_nick_name(h, 3, t); }, 0, "",
     "nick [@], device_no [3]"},
    {"korvane_set_device_name", "device_name", 1004, korvane_set_device_name, 0, "", "device_name [@]"},
    {"korvane_set_device_name_with_device_no", "device_name", 1004,
     [](H h, T t) { return korvane_set_device_name_with_device_no(h, t, 3); }, 0, "",
     "device_name [@], device_no [3]"},
    {"korvane_set_device_type_with_device_no", "device_type", 2000,
     [](H h, T t) { return korvane_set_device_type_with_device_no(h, 3, t); }, 2000, "device_type",
     "device_type [@], device_no [3]"},
    {"korvane_register_sub_device", "device_id", 1001, [](H h, T t) { return korvane_register_sub_device(h, 1, t); }},

    {"korvane_create_hdr_certificate", "device_type", 2001,
     [](H h, T t) { return korvane_create_hdr_certificate(h, t, "csr", ignore, nullptr); }},
    {"korvane_create_hdr_certificate", "csr", 2001,
     [](H h, T t) { return korvane_create_hdr_certificate(h, "type", t, ignore, nullptr); }},
    {"korvane_get_hdr_certificate", "device_type", 2001,
     [](H h, T t) { return korvane_get_hdr_certificate(h, t, "arn", ignore, nullptr); }},
    {"korvane_get_hdr_certificate", "certificate_arn", 2001,
     [](H h, T t) { return korvane_get_hdr_certificate(h, "type", t, ignore, nullptr); }},
    {"korvane_create_hdr_token_info_custom", "request_data_json_str", 2003,
     [](H h, T t) { return korvane_create_hdr_token_info_custom(h, t, ignore, nullptr); }},
    {"korvane_send_custom_push_msg", "push_msg_json_str", 2000,
     [](H h, T t) { return korvane_send_custom_push_msg(h, (std::string("\"") + t + "\"").c_str()); },
     2000, "custom_push_msg"},
    {"korvane_tncinfo_set_version", "version", 1003, in_terms<korvane_tncinfo_set_version>, 1003, "tnc_version",
     "version [@]"},
    {"korvane_tncinfo_set_header", "header", 1003, in_terms<korvane_tncinfo_set_header>, 1003, "tnc_header"},
    {"korvane_set_tnc_url", "url", 1004, korvane_set_tnc_url},
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
