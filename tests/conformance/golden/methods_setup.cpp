// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

namespace kv::test {

using H = ProxyHandle;

std::vector<GoldenMethod> golden_setup_methods()
{
    return {
        method_with_out<bool>("is_update_ready", bytes(i32(2)), rpc_port_proxy_kv_master_invoke_is_update_ready,
                              boolean(true), "true"),
        method("start", bytes(i32(3), str("thing"), i32(5), i32(-6)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_start(h, "thing", 5, -6); }),
        method("stop", bytes(i32(4)), rpc_port_proxy_kv_master_invoke_stop),
        method("unset_status_changed_cb", bytes(i32(7)), rpc_port_proxy_kv_master_invoke_unset_status_changed_cb),
        method("unset_user_confirm_cb", bytes(i32(9)), rpc_port_proxy_kv_master_invoke_unset_user_confirm_cb),
        method("send_user_confirm", bytes(i32(10), boolean(true)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_send_user_confirm(h, true); }),
        method("unset_reset_confirm_cb", bytes(i32(12)), rpc_port_proxy_kv_master_invoke_unset_reset_confirm_cb),
        method("unset_reset_result_cb", bytes(i32(14)), rpc_port_proxy_kv_master_invoke_unset_reset_result_cb),
        method("send_reset_confirm", bytes(i32(15), boolean(false)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_send_reset_confirm(h, false); }),
        method("reset", bytes(i32(16)), rpc_port_proxy_kv_master_invoke_reset),
        method("unset_pin_cb", bytes(i32(18)), rpc_port_proxy_kv_master_invoke_unset_pin_cb),
        method("unset_wifi_ap_provisioning_cb", bytes(i32(20)),
               rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb),
        method("unset_device_provisioning_cb", bytes(i32(22)),
               rpc_port_proxy_kv_master_invoke_unset_device_provisioning_cb),
        method("unset_scan_ap_cb", bytes(i32(24)), rpc_port_proxy_kv_master_invoke_unset_scan_ap_cb),
        method("send_ap_list",
               bytes(i32(25), i32(77), count(2), str("home"), str("secret"), i32(4), i32(3), i32(11),
                     str("02:00:00:00:00:01"), i32(-60), i32(54), str("attic"), str("secret"), i32(4), i32(3), i32(11),
                     str("02:00:00:00:00:01"), i32(-60), i32(54)),
               [](H h) {
                   return sent_by<rpc_port_array_korvane_ap_info_destroy>(
                       aps(), [&](auto *array) { return rpc_port_proxy_kv_master_invoke_send_ap_list(h, 77, array); });
               }),
        method("unset_softap_stop_cb", bytes(i32(27)), rpc_port_proxy_kv_master_invoke_unset_softap_stop_cb),
        method_with_out<char *>("get_device_id", bytes(i32(28)), rpc_port_proxy_kv_master_invoke_get_device_id,
                                str("0c4a-device"), "\"0c4a-device\""),
        method_with_out<bool>("get_easysetup_status", bytes(i32(29)),
                              rpc_port_proxy_kv_master_invoke_get_easysetup_status, boolean(true), "true"),
        method("signup_cloud",
               bytes(i32(32), str("eu-west-1"), str("provider"), str("access"), str("refresh"), str("user-7"),
                     str("client-9")),
               [](H h) {
                   return sent_by<rpc_port_korvane_cloud_info_destroy>(a_cloud(), [&](auto *record) {
                       return rpc_port_proxy_kv_master_invoke_signup_cloud(h, record);
                   });
               }),
        method("set_preconfigured_pin", bytes(i32(33), str("12345678")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_preconfigured_pin(h, "12345678"); }),
        method("set_mot_status", bytes(i32(34), boolean(true)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_mot_status(h, true); }),
        method("unset_ultrasound_pin_cb", bytes(i32(36)), rpc_port_proxy_kv_master_invoke_unset_ultrasound_pin_cb),
        method("set_platform_info", bytes(i32(37), str("M-100"), str("6.5")),
               [](H h) {
                   return sent_by<rpc_port_korvane_platform_info_destroy>(a_platform(), [&](auto *record) {
                       return rpc_port_proxy_kv_master_invoke_set_platform_info(h, record);
                   });
               }),
        method("set_regist_set_device", bytes(i32(38), str("phone-1")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_regist_set_device(h, "phone-1"); }),
        method("set_api_version", bytes(i32(39), i32(2), i32(3), i32(4)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_api_version(h, 2, 3, 4); }),
        method("set_last_status_info", bytes(i32(40), i32(1700000000), str("E-12")),
               [](H h) {
                   return sent_by<rpc_port_korvane_last_status_info_destroy>(a_last_status(), [&](auto *record) {
                       return rpc_port_proxy_kv_master_invoke_set_last_status_info(h, record);
                   });
               }),
        method("register_sub_device", bytes(i32(41), i32(3), str("sub-3")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_register_sub_device(h, 3, "sub-3"); }),
        method("unregister_sub_device", bytes(i32(42), i32(3)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_unregister_sub_device(h, 3); }),
        method("unset_cloud_device_list_cb", bytes(i32(44)),
               rpc_port_proxy_kv_master_invoke_unset_cloud_device_list_cb),
        method_with_out<bool>("get_device_owned_status", bytes(i32(45)),
                              rpc_port_proxy_kv_master_invoke_get_device_owned_status, boolean(true), "true"),
        method("set_platform_info_with_device_no", bytes(i32(46), i32(2), str("{\"vid\":\"x\"}")),
               [](H h) {
                   return rpc_port_proxy_kv_master_invoke_set_platform_info_with_device_no(h, 2, "{\"vid\":\"x\"}");
               }),
        method("set_nick_name", bytes(i32(47), i32(3), str("attic")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_nick_name(h, 3, "attic"); }),
        method("unset_otm_support_feature_cb", bytes(i32(49)),
               rpc_port_proxy_kv_master_invoke_unset_otm_support_feature_cb),
        method("set_wifi_connection_error_code", bytes(i32(50), i32(-8)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_wifi_connection_error_code(h, -8); }),
        method("set_provisioning_vendor_info", bytes(i32(51), str("vendor")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info(h, "vendor"); }),
        method("unset_provisioning_vendor_info_cb", bytes(i32(53)),
               rpc_port_proxy_kv_master_invoke_unset_provisioning_vendor_info_cb),
        method("set_easysetup_version_info", bytes(i32(54), str("1.4")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_easysetup_version_info(h, "1.4"); }),
        method("set_sso_list", bytes(i32(55), str("[\"a\"]")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_sso_list(h, "[\"a\"]"); }),
        method("unset_provisioning_language_cb", bytes(i32(57)),
               rpc_port_proxy_kv_master_invoke_unset_provisioning_language_cb),
        method(
            "send_provisioning_language_setting_result", bytes(i32(58), i32(6), boolean(true)),
            [](H h) { return rpc_port_proxy_kv_master_invoke_send_provisioning_language_setting_result(h, 6, true); }),
        method("set_language_list", bytes(i32(59), count(2), str("en_US"), str("ko_KR")),
               [](H h) {
                   return sent_by<rpc_port_array_korvane_language_info_destroy>(languages(), [&](auto *array) {
                       return rpc_port_proxy_kv_master_invoke_set_language_list(h, array);
                   });
               }),
    };
}

} // namespace kv::test
