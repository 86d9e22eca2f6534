// SPDX-License-Identifier: Apache-2.0
#include "function_table.hpp"

namespace kv::test::matrix {

namespace {

constexpr const char *access_point = R"({"ap_ssid":"home","ap_pwd":"secret","ap_authtype":2,"ap_enctype":3,)"
                                     R"("ap_channel":6,"ap_bssid":"02:00:00:00:00:01","ap_candidates":"[]"})";
constexpr const char *token = R"({"uuid":"u-1","server_name":"cloud","server_url":"https://cloud",)"
                              R"("expiration_time":1800000000,"access_token":"t-1"})";

} // namespace

const std::vector<Event> &events()
{
    static const std::vector<Event> all = {
        {.id = 1, .name = "status_changed_cb", .asked_by = "korvane_set_status_changed_cb", .values = i32(-5)},
        {.id = 2, .name = "user_confirm_cb", .asked_by = "korvane_set_user_confirm_cb"},
        {.id = 3, .name = "reset_confirm_cb", .asked_by = "korvane_set_reset_confirm_cb"},
        {.id = 4, .name = "reset_result_cb", .asked_by = "korvane_set_reset_result_cb", .values = boolean(true)},
        {.id = 5, .name = "pin_generate_cb", .asked_by = "korvane_set_pin_cb", .values = bytes(str("0815"), i32(8))},
        {.id = 6, .name = "pin_display_close_cb", .asked_by = "korvane_set_pin_cb"},
        {.id = 7,
         .name = "wifi_ap_provisioning_cb",
         .asked_by = "korvane_set_wifi_ap_provisioning_cb",
         .values =
             bytes(str("home"), str("secret"), i32(2), i32(3), i32(6), str("02:00:00:00:00:01"), i32(-40), i32(54))},
        {.id = 8,
         .name = "device_provisioning_cb",
         .asked_by = "korvane_set_device_provisioning_cb",
         .values = bytes(str("en"), str("GB"), str("2026-01-02"), str("phone"), str("someone"))},
        {.id = 9, .name = "scan_ap_cb", .asked_by = "korvane_set_scan_ap_cb", .values = i32(77)},
        {.id = 10, .name = "softap_stop_cb", .asked_by = "korvane_set_stop_soft_ap_cb"},
        {.id = 11,
         .name = "ultrasound_pin_generate_cb",
         .asked_by = "korvane_set_ultrasound_pin_cb",
         .values = bytes(str("4711"), i32(4))},
        {.id = 12, .name = "ultrasound_pin_stop_cb", .asked_by = "korvane_set_ultrasound_pin_cb"},
        {.id = 13,
         .name = "cloud_device_list_cb",
         .asked_by = "korvane_set_cloud_device_list_cb",
         .values = bytes(count(2), str("d-1"), str("d-2"))},
        {.id = 14,
         .name = "otm_support_feature_cb",
         .asked_by = "korvane_set_otm_support_feature_cb",
         .values = i32(3)},
        {.id = 15,
         .name = "provisioning_vendor_info_cb",
         .asked_by = "korvane_set_provisioning_vendor_info_cb",
         .values = bytes(i32(2), str("{}"))},
        {.id = 16,
         .name = "provisioning_language_cb",
         .asked_by = "korvane_set_provisioning_language_cb",
         .values = bytes(i32(9), str("ui"), str("ko-KR"))},
        {.id = 17, .name = "tnc_result_cb", .asked_by = "korvane_set_tnc_result_cb", .values = str("agreed")},
        {.id = 18,
         .name = "wifi_ap_prov_with_candidates_cb",
         .asked_by = "korvane_set_wifi_ap_provisioning_cb",
         .values = str(access_point)},
        {.id = 19,
         .name = "nick_changed_cb",
         .asked_by = "korvane_set_nick_changed_cb",
         .values = bytes(i32(3), str("attic"))},
        {.id = 20,
         .name = "last_status_changed_cb",
         .asked_by = "korvane_set_last_status_changed_cb",
         .values = str("E-12")},
        {.id = 21, .name = "keepalive_result_cb", .asked_by = "korvane_set_keepalive_result_cb", .values = i32(-1)},
        {.id = 22,
         .name = "signup_status_changed_cb",
         .asked_by = "korvane_set_signup_status_changed_cb",
         .values = boolean(true)},
        {.id = 23,
         .name = "signin_status_changed_cb",
         .asked_by = "korvane_set_signin_status_changed_cb",
         .values = boolean(false)},
        {.id = 24,
         .name = "tcp_session_disconnected_cb",
         .asked_by = "korvane_set_tcp_session_disconnected_cb",
         .values = i32(104)},
        {.id = 25,
         .name = "provisioning_get_requested_cb",
         .asked_by = "korvane_set_provisioning_get_requested_cb",
         .values = bytes(str("what"), i32(6))},
        {.id = 26, .name = "get_group_id_cb", .asked_by = "korvane_get_group_id", .values = str("group-1")},
        {.id = 27, .name = "start_async_cb", .asked_by = "korvane_start_async", .values = i32(0)},
        {.id = 28,
         .name = "create_hdr_token_info_cb",
         .asked_by = "korvane_create_hdr_token_info",
         .values = bytes(i32(0), str(token))},
        {.id = 29,
         .name = "create_hdr_certificate_cb",
         .asked_by = "korvane_create_hdr_certificate",
         .values = bytes(i32(0), str("pem"))},
        {.id = 30,
         .name = "get_hdr_certificate_cb",
         .asked_by = "korvane_get_hdr_certificate",
         .values = bytes(i32(0), str("one"), str("two"))},
        {.id = 31,
         .name = "diagnostics_cb",
         .asked_by = "korvane_set_diagnostics_cb",
         .values = bytes(i32(5), str("report"))},
        {.id = 32,
         .name = "create_hdr_token_info_custom_cb",
         .asked_by = "korvane_create_hdr_token_info_custom",
         .values = bytes(i32(0), str(token))},
    };
    return all;
}

} // namespace kv::test::matrix
