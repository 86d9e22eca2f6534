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
    {"korvane_sign_up_cloud", 0, 102, [](H h, O o) { return korvane_sign_up_cloud(h, o.cloud_info); },
     str(R"({"region":"eu","common_interface":3})"), str("{}"), "", 0, false, 2000},
    {"korvane_disable_signin", 2002, 102, [](H h, O) { return korvane_disable_signin(h, true); },
     str(R"({"common_interface":5,"disable_signin":true})"), str("")},
    {"korvane_disconnect_cloud_session", 1004, 97, [](H h, O) { return korvane_disconnect_cloud_session(h); }, {}},
    {"korvane_get_signin_status", 1004, 88, [](H h, O) { return korvane_get_signin_status(h, &flag); }, {},
     boolean(true)},
    {"korvane_get_signup_status", 1004, 85, [](H h, O) { return korvane_get_signup_status(h, &flag); }, {},
     boolean(true)},
    {"korvane_get_thing_status", 1004, 84, [](H h, O) { return korvane_get_thing_status(h, &number); }, {}, i32(-3)},
    {"korvane_set_signin_status_changed_cb", 1004, 89,
     [](H h, O) { return korvane_set_signin_status_changed_cb(h, ignore, nullptr); }, {}, {}, "", 23},
    {"korvane_unset_signin_status_changed_cb", 1004, 90,
     [](H h, O) { return korvane_unset_signin_status_changed_cb(h); }, {}},
    {"korvane_set_signup_status_changed_cb", 1004, 86,
     [](H h, O) { return korvane_set_signup_status_changed_cb(h, ignore, nullptr); }, {}, {}, "", 22},
    {"korvane_unset_signup_status_changed_cb", 1004, 87,
     [](H h, O) { return korvane_unset_signup_status_changed_cb(h); }, {}},
    {"korvane_set_tcp_session_disconnected_cb", 1004, 93,
     [](H h, O) { return korvane_set_tcp_session_disconnected_cb(h, ignore, nullptr); }, {}, {}, "", 24},
    {"korvane_unset_tcp_session_disconnected_cb", 1004, 94,
     [](H h, O) { return korvane_unset_tcp_session_disconnected_cb(h); }, {}},

    {"korvane_set_platform_info", 1001, 46, [](H h, O o) { return korvane_set_platform_info(h, o.platform_info); },
     bytes(i32(0), str(R"({"model_number":"WM-7"})")), {}, "", 0, false, 1002},
    {"korvane_set_platform_info_with_device_no", 1002, 46,
     [](H h, O o) { return korvane_set_platform_info_with_device_no(h, o.platform_info, 5); },
     bytes(i32(5), str(R"({"model_number":"WM-7"})"))},
    {"korvane_set_last_status_info", 1001, 40, [](H h, O o) { return korvane_set_last_status_info(h, o.last_status); },
     bytes(i32(77), str("E4"))},
    {"korvane_set_last_status_changed_cb", 1004, 73,
     [](H h, O) { return korvane_set_last_status_changed_cb(h, ignore, nullptr); }, {}, {}, "", 20},
    {"korvane_unset_last_status_changed_cb", 1004, 74, [](H h, O) { return korvane_unset_last_status_changed_cb(h); },
     {}},
    {"korvane_set_device_profile_info", 1003, 70,
     [](H h, O o) { return korvane_set_device_profile_info(h, o.profile); },
     bytes(i32(0), str(R"({"nick":"washer"})"))},
    {"korvane_set_regist_set_device", 1001, 38, [](H h, O) { return korvane_set_regist_set_device(h, "set 1"); },
     str("set 1")},
    {"korvane_set_nick_name", 1002, 47, [](H h, O) { return korvane_set_nick_name(h, 3, "attic"); },
     bytes(i32(3), str("attic")), {}, "nick [attic], device_no [3]"},
    {"korvane_set_device_name", 1004, 77, [](H h, O) { return korvane_set_device_name(h, "washer"); }, str("washer"),
     {}, "device_name [washer]"},
    {"korvane_set_device_name_with_device_no", 1004, 82,
     [](H h, O) { return korvane_set_device_name_with_device_no(h, "lamp", 2); }, bytes(i32(2), str("lamp")), {},
     "device_name [lamp], device_no [2]"},
    {"korvane_set_device_type_with_device_no", 2000, 102,
     [](H h, O) { return korvane_set_device_type_with_device_no(h, 2, "light"); },
     str(R"({"common_interface":1,"device_no":2,"device_type":"light"})"), str(""),
     "device_type [light], device_no [2]"},
    {"korvane_get_device_owned_status", 1002, 45, [](H h, O) { return korvane_get_device_owned_status(h, &flag); }, {},
     boolean(true)},
    {"korvane_set_nick_changed_cb", 1003, 71, [](H h, O) { return korvane_set_nick_changed_cb(h, ignore, nullptr); },
     {}, {}, "", 19},
    {"korvane_unset_nick_changed_cb", 1003, 72, [](H h, O) { return korvane_unset_nick_changed_cb(h); }, {}},
    {"korvane_set_cloud_device_list_cb", 1001, 43,
     [](H h, O) { return korvane_set_cloud_device_list_cb(h, ignore, nullptr); }, {}, {}, "", 13},
    {"korvane_unset_cloud_device_list_cb", 1001, 44, [](H h, O) { return korvane_unset_cloud_device_list_cb(h); }, {}},

    {"korvane_set_keepalive_intervals", 1003, 68,
     [](H h, O) { return korvane_set_keepalive_intervals(h, numbers, 3); },
     bytes(count(3), i32(4), i32(8), i32(-1)), {}, "count [3]"},
    {"korvane_select_keepalive_intervals", 1003, 69,
     [](H h, O) { return korvane_select_keepalive_intervals(h, numbers, 2); }, bytes(count(2), i32(4), i32(8)), {},
     "count [2]"},
    {"korvane_send_keepalive", 1003, 67, [](H h, O) { return korvane_send_keepalive(h); }, {}},
    {"korvane_send_presence", 1003, 66, [](H h, O) { return korvane_send_presence(h, 1); }, i32(1), {},
     "state [1] (on: 0 / inactive: 1)"},
    {"korvane_set_keepalive_result_cb", 1004, 75,
     [](H h, O) { return korvane_set_keepalive_result_cb(h, ignore, nullptr); }, {}, {}, "", 21},
    {"korvane_unset_keepalive_result_cb", 1004, 76, [](H h, O) { return korvane_unset_keepalive_result_cb(h); }, {}},
    {"korvane_get_tcp_header_info", 1004, 78, get_tcp_header_info, {}, str("{}")},

    {"korvane_register_sub_device", 1001, 41, [](H h, O) { return korvane_register_sub_device(h, 1, "lamp-1"); },
     bytes(i32(1), str("lamp-1")), {}, "device_no [1]"},
    {"korvane_unregister_sub_device", 1001, 42, [](H h, O) { return korvane_unregister_sub_device(h, 1); }, i32(1)},
    {"korvane_set_sub_device_presence", 1004, 98,
     [](H h, O) { return korvane_set_sub_device_presence(h, numbers, 3, true); },
     bytes(count(3), i32(4), i32(8), i32(-1), boolean(true)), {}, "device_count [3], presence [true]"},
    {"korvane_get_sub_device_presence_list", 1006, 100, get_sub_device_presence_list, {},
     str(R"([{"di":"a","prs":1},{"di":"b","prs":0}])")},
    {"korvane_get_group_id", 1005, 99, [](H h, O) { return korvane_get_group_id(h, ignore, nullptr); }, {}, {}, "", 26,
     true},

    {"korvane_create_hdr_certificate", 2001, 104,
     [](H h, O) { return korvane_create_hdr_certificate(h, "washer", "CSR", ignore, nullptr); },
     bytes(str("washer"), str("CSR")), {}, "", 29, true},
    {"korvane_get_hdr_certificate", 2001, 105,
     [](H h, O) { return korvane_get_hdr_certificate(h, "washer", "arn:1", ignore, nullptr); },
     bytes(str("washer"), str("arn:1")), {}, "", 30, true},
    {"korvane_create_hdr_token_info", 2001, 103,
     [](H h, O) { return korvane_create_hdr_token_info(h, ignore, nullptr); }, {}, {}, "", 28, true},
    {"korvane_create_hdr_token_info_custom", 2003, 108,
     [](H h, O) { return korvane_create_hdr_token_info_custom(h, "{\"a\":1}", ignore, nullptr); }, str("{\"a\":1}"), {},
     "", 32, true},
    {"korvane_send_custom_push_msg", 2000, 102, [](H h, O) { return korvane_send_custom_push_msg(h, "{\"a\": [1]}"); },
     str(R"({"common_interface":2,"custom_push_msg":{"a":[1]}})"), str("")},
    {"korvane_set_diagnostics_cb", 2002, 106, [](H h, O) { return korvane_set_diagnostics_cb(h, ignore, nullptr); }, {},
     {}, "", 31},
    {"korvane_unset_diagnostics_cb", 2002, 107, [](H h, O) { return korvane_unset_diagnostics_cb(h); }, {}},
    {"korvane_set_tnc_info", 1003, 63, [](H h, O o) { return korvane_set_tnc_info(h, o.terms); },
     str(R"({"tnc_version":"3"})")},
    {"korvane_set_tnc_url", 1004, 92, [](H h, O) { return korvane_set_tnc_url(h, "https://a"); }, str("https://a")},
    {"korvane_set_tnc_type", 1004, 91, [](H h, O) { return korvane_set_tnc_type(h, 0x80000001U); },
     i32(-2147483647), {}, "type [0x80000001]"},
    {"korvane_set_tnc_status", 1003, 62, [](H h, O) { return korvane_set_tnc_status(h, -4); }, i32(-4), {},
     "status [-4]"},
    {"korvane_set_tnc_result_cb", 1003, 60, [](H h, O) { return korvane_set_tnc_result_cb(h, ignore, nullptr); }, {},
     {}, "", 17},
    {"korvane_unset_tnc_result_cb", 1003, 61, [](H h, O) { return korvane_unset_tnc_result_cb(h); }, {}},
};
// clang-format on

} // namespace kv::test
