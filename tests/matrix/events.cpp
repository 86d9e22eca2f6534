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
        {1, "status_changed_cb", "korvane_set_status_changed_cb", i32(-5)},
        {2, "user_confirm_cb", "korvane_set_user_confirm_cb", {}},
        {3, "reset_confirm_cb", "korvane_set_reset_confirm_cb", {}},
        {4, "reset_result_cb", "korvane_set_reset_result_cb", boolean(true)},
        {5, "pin_generate_cb", "korvane_set_pin_cb", bytes(str("0815"), i32(8))},
        {6, "pin_display_close_cb", "korvane_set_pin_cb", {}},
        {7, "wifi_ap_provisioning_cb", "korvane_set_wifi_ap_provisioning_cb",
         bytes(str("home"), str("secret"), i32(2), i32(3), i32(6), str("02:00:00:00:00:01"), i32(-40), i32(54))},
        {8, "device_provisioning_cb", "korvane_set_device_provisioning_cb",
         bytes(str("en"), str("GB"), str("2026-01-02"), str("phone"), str("someone"))},
        {9, "scan_ap_cb", "korvane_set_scan_ap_cb", i32(77)},
        {10, "softap_stop_cb", "korvane_set_stop_soft_ap_cb", {}},
        {11, "ultrasound_pin_generate_cb", "korvane_set_ultrasound_pin_cb", bytes(str("4711"), i32(4))},
        {12, "ultrasound_pin_stop_cb", "korvane_set_ultrasound_pin_cb", {}},
        {13, "cloud_device_list_cb", "korvane_set_cloud_device_list_cb", bytes(count(2), str("d-1"), str("d-2"))},
        {14, "otm_support_feature_cb", "korvane_set_otm_support_feature_cb", i32(3)},
        {15, "provisioning_vendor_info_cb", "korvane_set_provisioning_vendor_info_cb", bytes(i32(2), str("{}"))},
        {16, "provisioning_language_cb", "korvane_set_provisioning_language_cb",
         bytes(i32(9), str("ui"), str("ko-KR"))},
        {17, "tnc_result_cb", "korvane_set_tnc_result_cb", str("agreed")},
        {18, "wifi_ap_prov_with_candidates_cb", "korvane_set_wifi_ap_provisioning_cb", str(access_point)},
        {19, "nick_changed_cb", "korvane_set_nick_changed_cb", bytes(i32(3), str("attic"))},
        {20, "last_status_changed_cb", "korvane_set_last_status_changed_cb", str("E-12")},
        {21, "keepalive_result_cb", "korvane_set_keepalive_result_cb", i32(-1)},
        {22, "signup_status_changed_cb", "korvane_set_signup_status_changed_cb", boolean(true)},
        {23, "signin_status_changed_cb", "korvane_set_signin_status_changed_cb", boolean(false)},
        {24, "tcp_session_disconnected_cb", "korvane_set_tcp_session_disconnected_cb", i32(104)},
        {25, "provisioning_get_requested_cb", "korvane_set_provisioning_get_requested_cb", bytes(str("what"), i32(6))},
        {26, "get_group_id_cb", "korvane_get_group_id", str("group-1")},
        {27, "start_async_cb", "korvane_start_async", i32(0)},
        {28, "create_hdr_token_info_cb", "korvane_create_hdr_token_info", bytes(i32(0), str(token))},
        {29, "create_hdr_certificate_cb", "korvane_create_hdr_certificate", bytes(i32(0), str("pem"))},
        {30, "get_hdr_certificate_cb", "korvane_get_hdr_certificate", bytes(i32(0), str("one"), str("two"))},
        {31, "diagnostics_cb", "korvane_set_diagnostics_cb", bytes(i32(5), str("report"))},
        {32, "create_hdr_token_info_custom_cb", "korvane_create_hdr_token_info_custom", bytes(i32(0), str(token))},
    };
    return all;
}

} // namespace kv::test::matrix
