// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

namespace kv::test {

using H = ProxyHandle;

std::vector<GoldenMethod> golden_cloud_methods()
{
    return {
        method("unset_tnc_result_cb", bytes(i32(61)), rpc_port_proxy_kv_master_invoke_unset_tnc_result_cb),
        method("set_tnc_status", bytes(i32(62), i32(2)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_tnc_status(h, 2); }),
        method("set_tnc_data", bytes(i32(63), str("terms")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_tnc_data(h, "terms"); }),
        method("unset_wifi_ap_provisioning_cb_v2", bytes(i32(65)),
               rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb_v2),
        method("send_presence", bytes(i32(66), i32(1)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_send_presence(h, 1); }),
        method("send_keepalive", bytes(i32(67)), rpc_port_proxy_kv_master_invoke_send_keepalive),
        method("set_keepalive_intervals", bytes(i32(68), count(2), i32(60), i32(240)),
               [](H h) {
                   return sent_by<rpc_port_array_korvane_keepalive_info_destroy>(intervals(), [&](auto *array) {
                       return rpc_port_proxy_kv_master_invoke_set_keepalive_intervals(h, array);
                   });
               }),
        method("select_keepalive_intervals", bytes(i32(69), count(2), i32(0), i32(3)),
               [](H h) {
                   return sent_by<rpc_port_array_korvane_keepalive_index_info_destroy>(indexes(), [&](auto *array) {
                       return rpc_port_proxy_kv_master_invoke_select_keepalive_intervals(h, array);
                   });
               }),
        method("set_device_profile", bytes(i32(70), i32(0), str("{\"nick\":\"a\"}")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_device_profile(h, 0, "{\"nick\":\"a\"}"); }),
        method("unset_nick_changed_cb", bytes(i32(72)), rpc_port_proxy_kv_master_invoke_unset_nick_changed_cb),
        method("unset_last_status_changed_cb", bytes(i32(74)),
               rpc_port_proxy_kv_master_invoke_unset_last_status_changed_cb),
        method("unset_keepalive_result_cb", bytes(i32(76)), rpc_port_proxy_kv_master_invoke_unset_keepalive_result_cb),
        method("set_device_name", bytes(i32(77), str("lamp")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_device_name(h, "lamp"); }),
        method_with_out<char *>("get_tcp_header_info", bytes(i32(78)),
                                rpc_port_proxy_kv_master_invoke_get_tcp_header_info, str("{\"seq\":1}"),
                                "\"{\"seq\":1}\""),
        method("set_device_property", bytes(i32(79), str("lamp"), i32(11), i32(2)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_device_property(h, "lamp", 11, 2); }),
        method("set_random_pin", bytes(i32(80), str("4321")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_random_pin(h, "4321"); }),
        method("unset_random_pin", bytes(i32(81)), rpc_port_proxy_kv_master_invoke_unset_random_pin),
        method("set_device_name_with_device_no", bytes(i32(82), i32(4), str("lamp")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_device_name_with_device_no(h, 4, "lamp"); }),
        method("set_gatt_ble", bytes(i32(83), boolean(true)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_gatt_ble(h, true); }),
        method_with_out<int>("get_thing_status", bytes(i32(84)), rpc_port_proxy_kv_master_invoke_get_thing_status,
                             i32(-12), "-12"),
        method_with_out<bool>("get_signup_status", bytes(i32(85)), rpc_port_proxy_kv_master_invoke_get_signup_status,
                              boolean(true), "true"),
        method("unset_signup_status_changed_cb", bytes(i32(87)),
               rpc_port_proxy_kv_master_invoke_unset_signup_status_changed_cb),
        method_with_out<bool>("get_signin_status", bytes(i32(88)), rpc_port_proxy_kv_master_invoke_get_signin_status,
                              boolean(true), "true"),
        method("unset_signin_status_changed_cb", bytes(i32(90)),
               rpc_port_proxy_kv_master_invoke_unset_signin_status_changed_cb),
        method("set_tnc_type", bytes(i32(91), i32(3)),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_tnc_type(h, 3); }),
        method("set_tnc_url", bytes(i32(92), str("https://example.org/terms")),
               [](H h) { return rpc_port_proxy_kv_master_invoke_set_tnc_url(h, "https://example.org/terms"); }),
        method("unset_tcp_session_disconnected_cb", bytes(i32(94)),
               rpc_port_proxy_kv_master_invoke_unset_tcp_session_disconnected_cb),
        method("unset_provisioning_get_requested_cb", bytes(i32(96)),
               rpc_port_proxy_kv_master_invoke_unset_provisioning_get_requested_cb),
        method("disconnect_cloud_session", bytes(i32(97)), rpc_port_proxy_kv_master_invoke_disconnect_cloud_session),
        method("set_sub_device_presence", bytes(i32(98), count(3), i32(1), i32(-2), i32(3), boolean(true)),
               [](H h) {
                   return sent_by<rpc_port_array_int_destroy>(numbers(), [&](auto *array) {
                       return rpc_port_proxy_kv_master_invoke_set_sub_device_presence(h, array, true);
                   });
               }),
        method_with_out<char *>("get_sub_device_presence", bytes(i32(100)),
                                rpc_port_proxy_kv_master_invoke_get_sub_device_presence, str("[]"), "\"[]\""),
        method_with_out<char *>(
            "common_interface", bytes(i32(102), str("{\"common_interface\":5}")),
            [](H h, char **answer) {
                return rpc_port_proxy_kv_master_invoke_common_interface(h, "{\"common_interface\":5}", answer);
            },
            str("{\"result\":0}"), "\"{\"result\":0}\""),
        method("unset_diagnostics_cb", bytes(i32(107)), rpc_port_proxy_kv_master_invoke_unset_diagnostics_cb),
    };
}

} // namespace kv::test
