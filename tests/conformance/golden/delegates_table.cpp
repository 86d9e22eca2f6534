// SPDX-License-Identifier: Apache-2.0
#include "delegates.hpp"

namespace kv::test {

namespace {

using H = ProxyHandle;

/// Whether this library registers the delegate as a one-shot one.
enum Serves { again, once };

/// Makes a row from the delegate's functions and the function of the method that carries it.
template <auto Create, auto Dispose, auto Carry, Serves How = again>
GoldenDelegate golden(int id, std::string type, std::string method, Bytes request, Bytes values, std::string text)
{
    using Delegate = decltype(Create(nullptr, false, nullptr));
    return {id,
            std::move(type),
            std::move(method),
            How == once,
            std::move(request),
            [](H h, Seen &seen) -> int { return Carry(h, numbered(Create(note, How == once, &seen), seq_71)); },
            [](Seen &seen) -> kv::proxy::Delegate * { return Create(note, How == once, &seen); },
            [](H h, kv::proxy::Delegate *delegate) -> int { return Dispose(h, static_cast<Delegate>(delegate)); },
            std::move(values),
            std::move(text)};
}

// Methods with more arguments than one delegate.

int carry_pin(H h, rpc_port_kv_master_pin_generate_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_set_pin_cb(
        h, delegate, numbered(rpc_port_kv_master_pin_display_close_cb_create([](void *) {}, false, nullptr), seq_72));
}

int carry_pin_close(H h, rpc_port_kv_master_pin_display_close_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_set_pin_cb(
        h,
        numbered(rpc_port_kv_master_pin_generate_cb_create([](void *, const char *, int) {}, false, nullptr), seq_72),
        delegate);
}

int carry_ultrasound(H h, rpc_port_kv_master_ultrasound_pin_generate_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_set_ultrasound_pin_cb(
        h, delegate, numbered(rpc_port_kv_master_ultrasound_pin_stop_cb_create([](void *) {}, false, nullptr), seq_72));
}

int carry_ultrasound_stop(H h, rpc_port_kv_master_ultrasound_pin_stop_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_set_ultrasound_pin_cb(
        h,
        numbered(rpc_port_kv_master_ultrasound_pin_generate_cb_create([](void *, const char *, int) {}, false, nullptr),
                 seq_72),
        delegate);
}

int carry_start_async(H h, rpc_port_kv_master_start_async_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_start_async(h, "thing", 5, -6, delegate);
}

int carry_create_certificate(H h, rpc_port_kv_master_create_hdr_certificate_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_create_hdr_certificate(h, "first", "second", delegate);
}

int carry_get_certificate(H h, rpc_port_kv_master_get_hdr_certificate_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_get_hdr_certificate(h, "first", "second", delegate);
}

int carry_token_custom(H h, rpc_port_kv_master_create_hdr_token_info_custom_cb_h delegate)
{
    return rpc_port_proxy_kv_master_invoke_create_hdr_token_info_custom(h, "request", delegate);
}

} // namespace

std::vector<GoldenDelegate> golden_delegates()
{
    return {
        golden<rpc_port_kv_master_status_changed_cb_create, rpc_port_proxy_kv_master_status_changed_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_status_changed_cb>(1, "status_changed_cb", "set_status_changed_cb",
                                                                      bytes(i32(6), i32(1), i32(71), boolean(false)),
                                                                      i32(-5), "-5"),
        golden<rpc_port_kv_master_user_confirm_cb_create, rpc_port_proxy_kv_master_user_confirm_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_user_confirm_cb>(
            2, "user_confirm_cb", "set_user_confirm_cb", bytes(i32(8), i32(2), i32(71), boolean(false)), {}, ""),
        golden<rpc_port_kv_master_reset_confirm_cb_create, rpc_port_proxy_kv_master_reset_confirm_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_reset_confirm_cb>(
            3, "reset_confirm_cb", "set_reset_confirm_cb", bytes(i32(11), i32(3), i32(71), boolean(false)), {}, ""),
        golden<rpc_port_kv_master_reset_result_cb_create, rpc_port_proxy_kv_master_reset_result_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_reset_result_cb>(4, "reset_result_cb", "set_reset_result_cb",
                                                                    bytes(i32(13), i32(4), i32(71), boolean(false)),
                                                                    boolean(true), "true"),
        golden<rpc_port_kv_master_pin_generate_cb_create, rpc_port_proxy_kv_master_pin_generate_cb_dispose, carry_pin>(
            5, "pin_generate_cb", "set_pin_cb",
            bytes(i32(17), i32(5), i32(71), boolean(false), i32(6), i32(72), boolean(false)),
            bytes(str("1234"), i32(8)), "\"1234\", 8"),
        golden<rpc_port_kv_master_pin_display_close_cb_create, rpc_port_proxy_kv_master_pin_display_close_cb_dispose,
               carry_pin_close>(6, "pin_display_close_cb", "set_pin_cb",
                                bytes(i32(17), i32(5), i32(72), boolean(false), i32(6), i32(71), boolean(false)), {},
                                ""),
        golden<rpc_port_kv_master_wifi_ap_provisioning_cb_create,
               rpc_port_proxy_kv_master_wifi_ap_provisioning_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb>(
            7, "wifi_ap_provisioning_cb", "set_wifi_ap_provisioning_cb",
            bytes(i32(19), i32(7), i32(71), boolean(false)),
            bytes(str("home"), str("secret"), i32(4), i32(3), i32(11), str("02:00:00:00:00:01"), i32(-60), i32(54)),
            R"(ap_info("home", "secret", 4, 3, 11, "02:00:00:00:00:01", -60, 54))"),
        golden<rpc_port_kv_master_device_provisioning_cb_create,
               rpc_port_proxy_kv_master_device_provisioning_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_device_provisioning_cb>(
            8, "device_provisioning_cb", "set_device_provisioning_cb", bytes(i32(21), i32(8), i32(71), boolean(false)),
            bytes(str("en_US"), str("US"), str("2026-11-21T10:00:00"), str("phone-1"), str("someone")),
            R"(device_prov_info("en_US", "US", "2026-11-21T10:00:00", "phone-1", "someone"))"),
        golden<rpc_port_kv_master_scan_ap_cb_create, rpc_port_proxy_kv_master_scan_ap_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_scan_ap_cb>(
            9, "scan_ap_cb", "set_scan_ap_cb", bytes(i32(23), i32(9), i32(71), boolean(false)), i32(77), "77"),
        golden<rpc_port_kv_master_softap_stop_cb_create, rpc_port_proxy_kv_master_softap_stop_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_softap_stop_cb>(
            10, "softap_stop_cb", "set_softap_stop_cb", bytes(i32(26), i32(10), i32(71), boolean(false)), {}, ""),
        golden<rpc_port_kv_master_ultrasound_pin_generate_cb_create,
               rpc_port_proxy_kv_master_ultrasound_pin_generate_cb_dispose, carry_ultrasound>(
            11, "ultrasound_pin_generate_cb", "set_ultrasound_pin_cb",
            bytes(i32(35), i32(11), i32(71), boolean(false), i32(12), i32(72), boolean(false)),
            bytes(str("9876"), i32(4)), "\"9876\", 4"),
        golden<rpc_port_kv_master_ultrasound_pin_stop_cb_create,
               rpc_port_proxy_kv_master_ultrasound_pin_stop_cb_dispose, carry_ultrasound_stop>(
            12, "ultrasound_pin_stop_cb", "set_ultrasound_pin_cb",
            bytes(i32(35), i32(11), i32(72), boolean(false), i32(12), i32(71), boolean(false)), {}, ""),
        golden<rpc_port_kv_master_cloud_device_list_cb_create, rpc_port_proxy_kv_master_cloud_device_list_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_cloud_device_list_cb>(
            13, "cloud_device_list_cb", "set_cloud_device_list_cb", bytes(i32(43), i32(13), i32(71), boolean(false)),
            bytes(count(2), str("d-1"), str("d-2")), R"([cloud_device_info("d-1"), cloud_device_info("d-2")])"),
        golden<rpc_port_kv_master_otm_support_feature_cb_create,
               rpc_port_proxy_kv_master_otm_support_feature_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_otm_support_feature_cb>(
            14, "otm_support_feature_cb", "set_otm_support_feature_cb",
            bytes(i32(48), i32(14), i32(71), boolean(false)), i32(3), "3"),
        golden<rpc_port_kv_master_provisioning_vendor_info_cb_create,
               rpc_port_proxy_kv_master_provisioning_vendor_info_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info_cb>(
            15, "provisioning_vendor_info_cb", "set_provisioning_vendor_info_cb",
            bytes(i32(52), i32(15), i32(71), boolean(false)), bytes(i32(2), str("vendor")), "2, \"vendor\""),
        golden<rpc_port_kv_master_provisioning_language_cb_create,
               rpc_port_proxy_kv_master_provisioning_language_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_provisioning_language_cb>(
            16, "provisioning_language_cb", "set_provisioning_language_cb",
            bytes(i32(56), i32(16), i32(71), boolean(false)), bytes(i32(9), str("type"), str("value")),
            R"(9, "type", "value")"),
        golden<rpc_port_kv_master_tnc_result_cb_create, rpc_port_proxy_kv_master_tnc_result_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_tnc_result_cb>(17, "tnc_result_cb", "set_tnc_result_cb",
                                                                  bytes(i32(60), i32(17), i32(71), boolean(false)),
                                                                  str("agreed"), "\"agreed\""),
        golden<rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_create,
               rpc_port_proxy_kv_master_wifi_ap_prov_with_candidates_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb_v2>(
            18, "wifi_ap_prov_with_candidates_cb", "set_wifi_ap_provisioning_cb_v2",
            bytes(i32(64), i32(18), i32(71), boolean(false)), str("{\"ssid\":\"home\"}"), R"("{"ssid":"home"}")"),
        golden<rpc_port_kv_master_nick_changed_cb_create, rpc_port_proxy_kv_master_nick_changed_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_nick_changed_cb>(19, "nick_changed_cb", "set_nick_changed_cb",
                                                                    bytes(i32(71), i32(19), i32(71), boolean(false)),
                                                                    bytes(i32(3), str("attic")), "3, \"attic\""),
        golden<rpc_port_kv_master_last_status_changed_cb_create,
               rpc_port_proxy_kv_master_last_status_changed_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_last_status_changed_cb>(
            20, "last_status_changed_cb", "set_last_status_changed_cb",
            bytes(i32(73), i32(20), i32(71), boolean(false)), str("E-12"), "\"E-12\""),
        golden<rpc_port_kv_master_keepalive_result_cb_create, rpc_port_proxy_kv_master_keepalive_result_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_keepalive_result_cb>(
            21, "keepalive_result_cb", "set_keepalive_result_cb", bytes(i32(75), i32(21), i32(71), boolean(false)),
            i32(-1), "-1"),
        golden<rpc_port_kv_master_signup_status_changed_cb_create,
               rpc_port_proxy_kv_master_signup_status_changed_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_signup_status_changed_cb>(
            22, "signup_status_changed_cb", "set_signup_status_changed_cb",
            bytes(i32(86), i32(22), i32(71), boolean(false)), boolean(true), "true"),
        golden<rpc_port_kv_master_signin_status_changed_cb_create,
               rpc_port_proxy_kv_master_signin_status_changed_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_signin_status_changed_cb>(
            23, "signin_status_changed_cb", "set_signin_status_changed_cb",
            bytes(i32(89), i32(23), i32(71), boolean(false)), boolean(false), "false"),
        golden<rpc_port_kv_master_tcp_session_disconnected_cb_create,
               rpc_port_proxy_kv_master_tcp_session_disconnected_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_tcp_session_disconnected_cb>(
            24, "tcp_session_disconnected_cb", "set_tcp_session_disconnected_cb",
            bytes(i32(93), i32(24), i32(71), boolean(false)), i32(104), "104"),
        golden<rpc_port_kv_master_provisioning_get_requested_cb_create,
               rpc_port_proxy_kv_master_provisioning_get_requested_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_provisioning_get_requested_cb>(
            25, "provisioning_get_requested_cb", "set_provisioning_get_requested_cb",
            bytes(i32(95), i32(25), i32(71), boolean(false)), bytes(str("what"), i32(6)), "\"what\", 6"),
        golden<rpc_port_kv_master_get_group_id_cb_create, rpc_port_proxy_kv_master_get_group_id_cb_dispose,
               rpc_port_proxy_kv_master_invoke_get_group_id, once>(26, "get_group_id_cb", "get_group_id",
                                                                   bytes(i32(99), i32(26), i32(71), boolean(true)),
                                                                   str("group-1"), "\"group-1\""),
        golden<rpc_port_kv_master_start_async_cb_create, rpc_port_proxy_kv_master_start_async_cb_dispose,
               carry_start_async, once>(27, "start_async_cb", "start_async",
                                        bytes(i32(101), str("thing"), i32(5), i32(-6), i32(27), i32(71), boolean(true)),
                                        i32(-3), "-3"),
        golden<rpc_port_kv_master_create_hdr_token_info_cb_create,
               rpc_port_proxy_kv_master_create_hdr_token_info_cb_dispose,
               rpc_port_proxy_kv_master_invoke_create_hdr_token_info, once>(
            28, "create_hdr_token_info_cb", "create_hdr_token_info", bytes(i32(103), i32(28), i32(71), boolean(true)),
            bytes(i32(1), str("{}")), "1, \"{}\""),
        golden<rpc_port_kv_master_create_hdr_certificate_cb_create,
               rpc_port_proxy_kv_master_create_hdr_certificate_cb_dispose, carry_create_certificate, once>(
            29, "create_hdr_certificate_cb", "create_hdr_certificate",
            bytes(i32(104), str("first"), str("second"), i32(29), i32(71), boolean(true)), bytes(i32(2), str("pem")),
            "2, \"pem\""),
        golden<rpc_port_kv_master_get_hdr_certificate_cb_create,
               rpc_port_proxy_kv_master_get_hdr_certificate_cb_dispose, carry_get_certificate, once>(
            30, "get_hdr_certificate_cb", "get_hdr_certificate",
            bytes(i32(105), str("first"), str("second"), i32(30), i32(71), boolean(true)),
            bytes(i32(4), str("one"), str("two")), R"(4, "one", "two")"),
        golden<rpc_port_kv_master_diagnostics_cb_create, rpc_port_proxy_kv_master_diagnostics_cb_dispose,
               rpc_port_proxy_kv_master_invoke_set_diagnostics_cb>(31, "diagnostics_cb", "set_diagnostics_cb",
                                                                   bytes(i32(106), i32(31), i32(71), boolean(false)),
                                                                   bytes(i32(5), str("report")), "5, \"report\""),
        golden<rpc_port_kv_master_create_hdr_token_info_custom_cb_create,
               rpc_port_proxy_kv_master_create_hdr_token_info_custom_cb_dispose, carry_token_custom, once>(
            32, "create_hdr_token_info_custom_cb", "create_hdr_token_info_custom",
            bytes(i32(108), str("request"), i32(32), i32(71), boolean(true)), bytes(i32(6), str("[]")), "6, \"[]\""),
    };
}

} // namespace kv::test
