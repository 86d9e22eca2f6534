// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

namespace kv::test {

namespace {

constexpr int numbers[] = {4, 8, -1};

bool flag = false;
int number = 0;

// These functions release the result of the request at once, because the rows check the request only.

int get_tcp_header_info(korvane_h handle, const CloudObjects &)
{
    korvane_tcp_header_info_h info = nullptr;
    const int result = korvane_get_tcp_header_info(handle, &info);
    if (info)
        korvane_release_tcp_header_info(info);
    return result;
}

int get_sub_device_presence_list(korvane_h handle, const CloudObjects &)
{
    korvane_sub_dev_prs_h *list = nullptr;
    int count = 0;
    const int result = korvane_get_sub_device_presence_list(handle, &list, &count);
    if (list)
        korvane_release_sub_device_presence_list(list, count);
    return result;
}

} // namespace

void CloudObjects::create()
{
    EXPECT_EQ(korvane_cloudinfo_create(&cloud_info), ok);
    EXPECT_EQ(korvane_cloudinfo_set_region(cloud_info, "eu"), ok);
    EXPECT_EQ(korvane_platforminfo_create(&platform_info), ok);
    EXPECT_EQ(korvane_platforminfo_set_model_number(platform_info, "WM-7"), ok);
    EXPECT_EQ(korvane_laststatusinfo_create(&last_status), ok);
    EXPECT_EQ(korvane_laststatusinfo_set_timestamp(last_status, 77), ok);
    EXPECT_EQ(korvane_laststatusinfo_set_error_code(last_status, "E4"), ok);
    EXPECT_EQ(korvane_device_profile_info_create(&profile), ok);
    EXPECT_EQ(korvane_device_profile_info_set_nick(profile, "washer"), ok);
    EXPECT_EQ(korvane_tnc_info_create(&terms), ok);
    EXPECT_EQ(korvane_tncinfo_set_version(terms, "3"), ok);
}

void CloudObjects::destroy()
{
    if (!cloud_info)
        return;
    EXPECT_EQ(korvane_cloudinfo_destroy(cloud_info), ok);
    EXPECT_EQ(korvane_platforminfo_destroy(platform_info), ok);
    EXPECT_EQ(korvane_laststatusinfo_destroy(last_status), ok);
    EXPECT_EQ(korvane_device_profile_info_destroy(profile), ok);
    EXPECT_EQ(korvane_tnc_info_destroy(terms), ok);
    *this = {};
}

std::ostream &operator<<(std::ostream &out, const CloudRequest &request)
{
    return out << request.name;
}

using H = korvane_h;
using O = const CloudObjects &;

// One row per function.
// clang-format off
const std::vector<CloudRequest> cloud_requests = {
    {.name = "korvane_sign_up_cloud", .minimum_version = 0, .method = 102,
     .call = [](H h, O o) { return korvane_sign_up_cloud(h, o.cloud_info); },
     .arguments = str(R"({"region":"eu","common_interface":3})"), .outs = str("{}"), .same_form_since = 2000},
    {.name = "korvane_disable_signin", .minimum_version = 2002, .method = 102,
     .call = [](H h, O) { return korvane_disable_signin(h, true); },
     .arguments = str(R"({"common_interface":5,"disable_signin":true})"), .outs = str("")},
    {.name = "korvane_disconnect_cloud_session", .minimum_version = 1004, .method = 97,
     .call = [](H h, O) { return korvane_disconnect_cloud_session(h); }},
    {.name = "korvane_get_signin_status", .minimum_version = 1004, .method = 88,
     .call = [](H h, O) { return korvane_get_signin_status(h, &flag); }, .outs = boolean(true)},
    {.name = "korvane_get_signup_status", .minimum_version = 1004, .method = 85,
     .call = [](H h, O) { return korvane_get_signup_status(h, &flag); }, .outs = boolean(true)},
    {.name = "korvane_get_thing_status", .minimum_version = 1004, .method = 84,
     .call = [](H h, O) { return korvane_get_thing_status(h, &number); }, .outs = i32(-3)},
    {.name = "korvane_set_signin_status_changed_cb", .minimum_version = 1004, .method = 89,
     .call = [](H h, O) { return korvane_set_signin_status_changed_cb(h, ignore, nullptr); }, .delegate = 23},
    {.name = "korvane_unset_signin_status_changed_cb", .minimum_version = 1004, .method = 90,
     .call = [](H h, O) { return korvane_unset_signin_status_changed_cb(h); }},
    {.name = "korvane_set_signup_status_changed_cb", .minimum_version = 1004, .method = 86,
     .call = [](H h, O) { return korvane_set_signup_status_changed_cb(h, ignore, nullptr); }, .delegate = 22},
    {.name = "korvane_unset_signup_status_changed_cb", .minimum_version = 1004, .method = 87,
     .call = [](H h, O) { return korvane_unset_signup_status_changed_cb(h); }},
    {.name = "korvane_set_tcp_session_disconnected_cb", .minimum_version = 1004, .method = 93,
     .call = [](H h, O) { return korvane_set_tcp_session_disconnected_cb(h, ignore, nullptr); }, .delegate = 24},
    {.name = "korvane_unset_tcp_session_disconnected_cb", .minimum_version = 1004, .method = 94,
     .call = [](H h, O) { return korvane_unset_tcp_session_disconnected_cb(h); }},

    {.name = "korvane_set_platform_info", .minimum_version = 1001, .method = 46,
     .call = [](H h, O o) { return korvane_set_platform_info(h, o.platform_info); },
     .arguments = bytes(i32(0), str(R"({"model_number":"WM-7"})")), .same_form_since = 1002},
    {.name = "korvane_set_platform_info_with_device_no", .minimum_version = 1002, .method = 46,
     .call = [](H h, O o) { return korvane_set_platform_info_with_device_no(h, o.platform_info, 5); },
     .arguments = bytes(i32(5), str(R"({"model_number":"WM-7"})"))},
    {.name = "korvane_set_last_status_info", .minimum_version = 1001, .method = 40,
     .call = [](H h, O o) { return korvane_set_last_status_info(h, o.last_status); },
     .arguments = bytes(i32(77), str("E4"))},
    {.name = "korvane_set_last_status_changed_cb", .minimum_version = 1004, .method = 73,
     .call = [](H h, O) { return korvane_set_last_status_changed_cb(h, ignore, nullptr); }, .delegate = 20},
    {.name = "korvane_unset_last_status_changed_cb", .minimum_version = 1004, .method = 74,
     .call = [](H h, O) { return korvane_unset_last_status_changed_cb(h); }},
    {.name = "korvane_set_device_profile_info", .minimum_version = 1003, .method = 70,
     .call = [](H h, O o) { return korvane_set_device_profile_info(h, o.profile); },
     .arguments = bytes(i32(0), str(R"({"nick":"washer"})"))},
    {.name = "korvane_set_regist_set_device", .minimum_version = 1001, .method = 38,
     .call = [](H h, O) { return korvane_set_regist_set_device(h, "set 1"); }, .arguments = str("set 1")},
    {.name = "korvane_set_nick_name", .minimum_version = 1002, .method = 47,
     .call = [](H h, O) { return korvane_set_nick_name(h, 3, "attic"); }, .arguments = bytes(i32(3), str("attic")),
     .progress = "nick [attic], device_no [3]"},
    {.name = "korvane_set_device_name", .minimum_version = 1004, .method = 77,
     .call = [](H h, O) { return korvane_set_device_name(h, "washer"); }, .arguments = str("washer"),
     .progress = "device_name [washer]"},
    {.name = "korvane_set_device_name_with_device_no", .minimum_version = 1004, .method = 82,
     .call = [](H h, O) { return korvane_set_device_name_with_device_no(h, "lamp", 2); },
     .arguments = bytes(i32(2), str("lamp")), .progress = "device_name [lamp], device_no [2]"},
    {.name = "korvane_set_device_type_with_device_no", .minimum_version = 2000, .method = 102,
     .call = [](H h, O) { return korvane_set_device_type_with_device_no(h, 2, "light"); },
     .arguments = str(R"({"common_interface":1,"device_no":2,"device_type":"light"})"), .outs = str(""),
     .progress = "device_type [light], device_no [2]"},
    {.name = "korvane_get_device_owned_status", .minimum_version = 1002, .method = 45,
     .call = [](H h, O) { return korvane_get_device_owned_status(h, &flag); }, .outs = boolean(true)},
    {.name = "korvane_set_nick_changed_cb", .minimum_version = 1003, .method = 71,
     .call = [](H h, O) { return korvane_set_nick_changed_cb(h, ignore, nullptr); }, .delegate = 19},
    {.name = "korvane_unset_nick_changed_cb", .minimum_version = 1003, .method = 72,
     .call = [](H h, O) { return korvane_unset_nick_changed_cb(h); }},
    {.name = "korvane_set_cloud_device_list_cb", .minimum_version = 1001, .method = 43,
     .call = [](H h, O) { return korvane_set_cloud_device_list_cb(h, ignore, nullptr); }, .delegate = 13},
    {.name = "korvane_unset_cloud_device_list_cb", .minimum_version = 1001, .method = 44,
     .call = [](H h, O) { return korvane_unset_cloud_device_list_cb(h); }},

    {.name = "korvane_set_keepalive_intervals", .minimum_version = 1003, .method = 68,
     .call = [](H h, O) { return korvane_set_keepalive_intervals(h, numbers, 3); },
     .arguments = bytes(count(3), i32(4), i32(8), i32(-1)), .progress = "count [3]"},
    {.name = "korvane_select_keepalive_intervals", .minimum_version = 1003, .method = 69,
     .call = [](H h, O) { return korvane_select_keepalive_intervals(h, numbers, 2); },
     .arguments = bytes(count(2), i32(4), i32(8)), .progress = "count [2]"},
    {.name = "korvane_send_keepalive", .minimum_version = 1003, .method = 67,
     .call = [](H h, O) { return korvane_send_keepalive(h); }},
    {.name = "korvane_send_presence", .minimum_version = 1003, .method = 66,
     .call = [](H h, O) { return korvane_send_presence(h, 1); }, .arguments = i32(1),
     .progress = "state [1] (on: 0 / inactive: 1)"},
    {.name = "korvane_set_keepalive_result_cb", .minimum_version = 1004, .method = 75,
     .call = [](H h, O) { return korvane_set_keepalive_result_cb(h, ignore, nullptr); }, .delegate = 21},
    {.name = "korvane_unset_keepalive_result_cb", .minimum_version = 1004, .method = 76,
     .call = [](H h, O) { return korvane_unset_keepalive_result_cb(h); }},
    {.name = "korvane_get_tcp_header_info", .minimum_version = 1004, .method = 78, .call = get_tcp_header_info,
     .outs = str("{}")},

    {.name = "korvane_register_sub_device", .minimum_version = 1001, .method = 41,
     .call = [](H h, O) { return korvane_register_sub_device(h, 1, "lamp-1"); },
     .arguments = bytes(i32(1), str("lamp-1")), .progress = "device_no [1]"},
    {.name = "korvane_unregister_sub_device", .minimum_version = 1001, .method = 42,
     .call = [](H h, O) { return korvane_unregister_sub_device(h, 1); }, .arguments = i32(1)},
    {.name = "korvane_set_sub_device_presence", .minimum_version = 1004, .method = 98,
     .call = [](H h, O) { return korvane_set_sub_device_presence(h, numbers, 3, true); },
     .arguments = bytes(count(3), i32(4), i32(8), i32(-1), boolean(true)),
     .progress = "device_count [3], presence [true]"},
    {.name = "korvane_get_sub_device_presence_list", .minimum_version = 1006, .method = 100,
     .call = get_sub_device_presence_list, .outs = str(R"([{"di":"a","prs":1},{"di":"b","prs":0}])")},
    {.name = "korvane_get_group_id", .minimum_version = 1005, .method = 99,
     .call = [](H h, O) { return korvane_get_group_id(h, ignore, nullptr); }, .delegate = 26, .once = true},

    {.name = "korvane_create_hdr_certificate", .minimum_version = 2001, .method = 104,
     .call = [](H h, O) { return korvane_create_hdr_certificate(h, "washer", "CSR", ignore, nullptr); },
     .arguments = bytes(str("washer"), str("CSR")), .delegate = 29, .once = true},
    {.name = "korvane_get_hdr_certificate", .minimum_version = 2001, .method = 105,
     .call = [](H h, O) { return korvane_get_hdr_certificate(h, "washer", "arn:1", ignore, nullptr); },
     .arguments = bytes(str("washer"), str("arn:1")), .delegate = 30, .once = true},
    {.name = "korvane_create_hdr_token_info", .minimum_version = 2001, .method = 103,
     .call = [](H h, O) { return korvane_create_hdr_token_info(h, ignore, nullptr); }, .delegate = 28, .once = true},
    {.name = "korvane_create_hdr_token_info_custom", .minimum_version = 2003, .method = 108,
     .call = [](H h, O) { return korvane_create_hdr_token_info_custom(h, "{\"a\":1}", ignore, nullptr); },
     .arguments = str("{\"a\":1}"), .delegate = 32, .once = true},
    {.name = "korvane_send_custom_push_msg", .minimum_version = 2000, .method = 102,
     .call = [](H h, O) { return korvane_send_custom_push_msg(h, "{\"a\": [1]}"); },
     .arguments = str(R"({"common_interface":2,"custom_push_msg":{"a":[1]}})"), .outs = str("")},
    {.name = "korvane_set_diagnostics_cb", .minimum_version = 2002, .method = 106,
     .call = [](H h, O) { return korvane_set_diagnostics_cb(h, ignore, nullptr); }, .delegate = 31},
    {.name = "korvane_unset_diagnostics_cb", .minimum_version = 2002, .method = 107,
     .call = [](H h, O) { return korvane_unset_diagnostics_cb(h); }},
    {.name = "korvane_set_tnc_info", .minimum_version = 1003, .method = 63,
     .call = [](H h, O o) { return korvane_set_tnc_info(h, o.terms); }, .arguments = str(R"({"tnc_version":"3"})")},
    {.name = "korvane_set_tnc_url", .minimum_version = 1004, .method = 92,
     .call = [](H h, O) { return korvane_set_tnc_url(h, "https://a"); }, .arguments = str("https://a")},
    {.name = "korvane_set_tnc_type", .minimum_version = 1004, .method = 91,
     .call = [](H h, O) { return korvane_set_tnc_type(h, 0x80000001U); }, .arguments = i32(-2147483647),
     .progress = "type [0x80000001]"},
    {.name = "korvane_set_tnc_status", .minimum_version = 1003, .method = 62,
     .call = [](H h, O) { return korvane_set_tnc_status(h, -4); }, .arguments = i32(-4), .progress = "status [-4]"},
    {.name = "korvane_set_tnc_result_cb", .minimum_version = 1003, .method = 60,
     .call = [](H h, O) { return korvane_set_tnc_result_cb(h, ignore, nullptr); }, .delegate = 17},
    {.name = "korvane_unset_tnc_result_cb", .minimum_version = 1003, .method = 61,
     .call = [](H h, O) { return korvane_unset_tnc_result_cb(h); }},
};
// clang-format on

} // namespace kv::test
