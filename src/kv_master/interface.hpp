// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "describe.hpp"
#include "documents.hpp"
#include "record_types.hpp"

/// The agent's kv_master interface: the only place with an id, an order or a wire type. JSON documents are described in
/// documents.hpp.
namespace kv::master {

using namespace describe;

// One line each, in id order, reads best.
// clang-format off

// Records: fields in wire order. The agent fills ap_info for the chosen access point, without signal_level and max_rate;
// the application fills it for each entry of a scan list.

using ap_info = Record<"korvane_ap_info", rpc_port_korvane_ap_info_s,
    Field<String<"ssid">, &rpc_port_korvane_ap_info_s::ssid>,
    Field<Secret<"pwd">, &rpc_port_korvane_ap_info_s::pwd>,
    Field<Int32<"authtype">, &rpc_port_korvane_ap_info_s::authtype>,
    Field<Int32<"enctype">, &rpc_port_korvane_ap_info_s::enctype>,
    Field<Int32<"channel">, &rpc_port_korvane_ap_info_s::channel>,
    Field<String<"bssid">, &rpc_port_korvane_ap_info_s::bssid>,
    Field<Int32<"signal_level">, &rpc_port_korvane_ap_info_s::signal_level>,
    Field<Int32<"max_rate">, &rpc_port_korvane_ap_info_s::max_rate>>;
using keepalive_info = Record<"korvane_keepalive_info", rpc_port_korvane_keepalive_info_s,
    Field<Int32<"interval">, &rpc_port_korvane_keepalive_info_s::interval>>;
using keepalive_index_info = Record<"korvane_keepalive_index_info", rpc_port_korvane_keepalive_index_info_s,
    Field<Int32<"index">, &rpc_port_korvane_keepalive_index_info_s::index>>;
using device_prov_info = Record<"korvane_device_prov_info", rpc_port_korvane_device_prov_info_s,
    Field<String<"language">, &rpc_port_korvane_device_prov_info_s::language>,
    Field<String<"country">, &rpc_port_korvane_device_prov_info_s::country>,
    Field<String<"datetime">, &rpc_port_korvane_device_prov_info_s::datetime>,
    Field<Secret<"rmd">, &rpc_port_korvane_device_prov_info_s::rmd>,
    Field<Secret<"account">, &rpc_port_korvane_device_prov_info_s::account>>;
using language_info = Record<"korvane_language_info", rpc_port_korvane_language_info_s,
    Field<String<"language">, &rpc_port_korvane_language_info_s::language>>;
using cloud_device_info = Record<"korvane_cloud_device_info", rpc_port_korvane_cloud_device_info_s,
    Field<String<"device_id">, &rpc_port_korvane_cloud_device_info_s::device_id>>;
using last_status_info = Record<"korvane_last_status_info", rpc_port_korvane_last_status_info_s,
    Field<Int32<"timestamp">, &rpc_port_korvane_last_status_info_s::timestamp>,
    Field<String<"error_code">, &rpc_port_korvane_last_status_info_s::error_code>>;
using platform_info = Record<"korvane_platform_info", rpc_port_korvane_platform_info_s,
    Field<String<"model_number">, &rpc_port_korvane_platform_info_s::model_number>,
    Field<String<"platform_version">, &rpc_port_korvane_platform_info_s::platform_version>>;
using cloud_info = Record<"korvane_cloud_info", rpc_port_korvane_cloud_info_s,
    Field<String<"region">, &rpc_port_korvane_cloud_info_s::region>,
    Field<String<"auth_provider">, &rpc_port_korvane_cloud_info_s::auth_provider>,
    Field<Secret<"access_token">, &rpc_port_korvane_cloud_info_s::access_token>,
    Field<Secret<"refresh_token">, &rpc_port_korvane_cloud_info_s::refresh_token>,
    Field<Secret<"user_id">, &rpc_port_korvane_cloud_info_s::user_id>,
    Field<Secret<"client_id">, &rpc_port_korvane_cloud_info_s::client_id>>;

// Arrays.

using int_array = IntArray<"array_int">;
using ap_info_array = RecordArray<"array_korvane_ap_info", ap_info>;
using language_info_array = RecordArray<"array_korvane_language_info", language_info>;
using keepalive_info_array = RecordArray<"array_korvane_keepalive_info", keepalive_info>;
using keepalive_index_info_array = RecordArray<"array_korvane_keepalive_index_info", keepalive_index_info>;
using cloud_device_info_array = RecordArray<"array_korvane_cloud_device_info", cloud_device_info>;

// Delegates: the values of the event, in wire order.

using status_changed_cb = Delegate<1, "status_changed_cb", Int32<"status">>;
using user_confirm_cb = Delegate<2, "user_confirm_cb">;
using reset_confirm_cb = Delegate<3, "reset_confirm_cb">;
using reset_result_cb = Delegate<4, "reset_result_cb", Bool<"result">>;
using pin_generate_cb = Delegate<5, "pin_generate_cb", Secret<"pin">, Int32<"value">>;
using pin_display_close_cb = Delegate<6, "pin_display_close_cb">;
using wifi_ap_provisioning_cb = Delegate<7, "wifi_ap_provisioning_cb", Rec<ap_info, "ap_info">>;
using device_provisioning_cb = Delegate<8, "device_provisioning_cb", Rec<device_prov_info, "info">>;
using scan_ap_cb = Delegate<9, "scan_ap_cb", Int32<"req_id">>;
using softap_stop_cb = Delegate<10, "softap_stop_cb">;
using ultrasound_pin_generate_cb = Delegate<11, "ultrasound_pin_generate_cb", Secret<"pin">, Int32<"value">>;
using ultrasound_pin_stop_cb = Delegate<12, "ultrasound_pin_stop_cb">;
using cloud_device_list_cb = Delegate<13, "cloud_device_list_cb", Arr<cloud_device_info_array, "devices">>;
using otm_support_feature_cb = Delegate<14, "otm_support_feature_cb", Int32<"feature">>;
using provisioning_vendor_info_cb = Delegate<15, "provisioning_vendor_info_cb", Int32<"value">, Secret<"text">>;
using provisioning_language_cb = Delegate<16, "provisioning_language_cb", Int32<"req_id">, String<"type">, String<"value">>;
using tnc_result_cb = Delegate<17, "tnc_result_cb", Secret<"result">>;
using wifi_ap_prov_with_candidates_cb = Delegate<18, "wifi_ap_prov_with_candidates_cb", DocumentText<documents::wifi_ap::document, "ap_info">>;
using nick_changed_cb = Delegate<19, "nick_changed_cb", Int32<"device_no">, String<"nick">>;
using last_status_changed_cb = Delegate<20, "last_status_changed_cb", String<"last_status">>;
using keepalive_result_cb = Delegate<21, "keepalive_result_cb", Int32<"result">>;
using signup_status_changed_cb = Delegate<22, "signup_status_changed_cb", Bool<"status">>;
using signin_status_changed_cb = Delegate<23, "signin_status_changed_cb", Bool<"status">>;
using tcp_session_disconnected_cb = Delegate<24, "tcp_session_disconnected_cb", Int32<"last_error_code">>;
using provisioning_get_requested_cb = Delegate<25, "provisioning_get_requested_cb", Secret<"text">, Int32<"value">>;
using get_group_id_cb = Delegate<26, "get_group_id_cb", String<"group_id">>;
using start_async_cb = Delegate<27, "start_async_cb", Int32<"result">>;
using create_hdr_token_info_cb = Delegate<28, "create_hdr_token_info_cb", Int32<"result">, DocumentText<documents::token::document, "token_info">>;
using create_hdr_certificate_cb = Delegate<29, "create_hdr_certificate_cb", Int32<"result">, Secret<"text">>;
using get_hdr_certificate_cb = Delegate<30, "get_hdr_certificate_cb", Int32<"result">, Secret<"text1">, Secret<"text2">>;
using diagnostics_cb = Delegate<31, "diagnostics_cb", Int32<"value">, Secret<"text">>;
using create_hdr_token_info_custom_cb = Delegate<32, "create_hdr_token_info_custom_cb", Int32<"result">, DocumentText<documents::token::document, "token_info">>;

// Methods. Only the agent knows the meaning of the text and integers of start and start_async; this library sends "", 0, 0.

using is_update_ready = Method<2, "is_update_ready", Since<1, 0>, In<>, Out<Bool<"is_ready">>>;
using start = Method<3, "start", Since<1, 0>, In<String<"name">, Int32<"mode">, Int32<"flags">>>;
using stop = Method<4, "stop", Since<1, 0>>;
using set_status_changed_cb = Method<6, "set_status_changed_cb", Since<1, 0>, In<Callback<status_changed_cb>>>;
using unset_status_changed_cb = Method<7, "unset_status_changed_cb", Since<1, 0>>;
using set_user_confirm_cb = Method<8, "set_user_confirm_cb", Since<1, 0>, In<Callback<user_confirm_cb>>>;
using unset_user_confirm_cb = Method<9, "unset_user_confirm_cb", Since<1, 0>>;
using send_user_confirm = Method<10, "send_user_confirm", Since<1, 0>, In<Bool<"confirm">>>;
using set_reset_confirm_cb = Method<11, "set_reset_confirm_cb", Since<1, 0>, In<Callback<reset_confirm_cb>>>;
using unset_reset_confirm_cb = Method<12, "unset_reset_confirm_cb", Since<1, 0>>;
using set_reset_result_cb = Method<13, "set_reset_result_cb", Since<1, 0>, In<Callback<reset_result_cb>>>;
using unset_reset_result_cb = Method<14, "unset_reset_result_cb", Since<1, 0>>;
using send_reset_confirm = Method<15, "send_reset_confirm", Since<1, 0>, In<Bool<"confirm">>>;
using reset = Method<16, "reset", Since<1, 0>>;
using set_pin_cb = Method<17, "set_pin_cb", Since<1, 0>, In<Callback<pin_generate_cb>, Callback<pin_display_close_cb>>>;
using unset_pin_cb = Method<18, "unset_pin_cb", Since<1, 0>>;
using set_wifi_ap_provisioning_cb = Method<19, "set_wifi_ap_provisioning_cb", Since<1, 0>, In<Callback<wifi_ap_provisioning_cb>>>;
using unset_wifi_ap_provisioning_cb = Method<20, "unset_wifi_ap_provisioning_cb", Since<1, 0>>;
using set_device_provisioning_cb = Method<21, "set_device_provisioning_cb", Since<1, 0>, In<Callback<device_provisioning_cb>>>;
using unset_device_provisioning_cb = Method<22, "unset_device_provisioning_cb", Since<1, 0>>;
using set_scan_ap_cb = Method<23, "set_scan_ap_cb", Since<1, 0>, In<Callback<scan_ap_cb>>>;
using unset_scan_ap_cb = Method<24, "unset_scan_ap_cb", Since<1, 0>>;
using send_ap_list = Method<25, "send_ap_list", Since<1, 0>, In<Int32<"req_id">, Arr<ap_info_array, "ap_list">>>;
using set_softap_stop_cb = Method<26, "set_softap_stop_cb", Since<1, 0>, In<Callback<softap_stop_cb>>>;
using unset_softap_stop_cb = Method<27, "unset_softap_stop_cb", Since<1, 0>>;
using get_device_id = Method<28, "get_device_id", Since<1, 0>, In<>, Out<String<"device_id">>>;
using get_easysetup_status = Method<29, "get_easysetup_status", Since<1, 0>, In<>, Out<Bool<"status">>>;
using signup_cloud = Method<32, "signup_cloud", Since<1, 0>, In<Rec<cloud_info, "cloud_info">>>;
using set_preconfigured_pin = Method<33, "set_preconfigured_pin", Since<1, 0>, In<Secret<"pin">>>;
using set_mot_status = Method<34, "set_mot_status", Since<1, 0>, In<Bool<"enable">>>;
using set_ultrasound_pin_cb = Method<35, "set_ultrasound_pin_cb", Since<1, 1>, In<Callback<ultrasound_pin_generate_cb>, Callback<ultrasound_pin_stop_cb>>>;
using unset_ultrasound_pin_cb = Method<36, "unset_ultrasound_pin_cb", Since<1, 1>>;
using set_platform_info = Method<37, "set_platform_info", Since<1, 1>, In<Rec<platform_info, "platform_info">>>;
using set_regist_set_device = Method<38, "set_regist_set_device", Since<1, 1>, In<String<"regist_set_device">>>;
using set_api_version = Method<39, "set_api_version", Since<1, 1>, In<Int32<"major">, Int32<"minor">, Int32<"patch">>>;
using set_last_status_info = Method<40, "set_last_status_info", Since<1, 1>, In<Rec<last_status_info, "last_status_info">>>;
using register_sub_device = Method<41, "register_sub_device", Since<1, 1>, In<Int32<"device_no">, String<"device_id">>>;
using unregister_sub_device = Method<42, "unregister_sub_device", Since<1, 1>, In<Int32<"device_no">>>;
using set_cloud_device_list_cb = Method<43, "set_cloud_device_list_cb", Since<1, 1>, In<Callback<cloud_device_list_cb>>>;
using unset_cloud_device_list_cb = Method<44, "unset_cloud_device_list_cb", Since<1, 1>>;
using get_device_owned_status = Method<45, "get_device_owned_status", Since<1, 2>, In<>, Out<Bool<"is_owned">>>;
using set_platform_info_with_device_no = Method<46, "set_platform_info_with_device_no", Since<1, 2>, In<Int32<"device_no">, DocumentText<documents::platform_info::document, "platform_info">>>;
using set_nick_name = Method<47, "set_nick_name", Since<1, 2>, In<Int32<"device_no">, String<"nick">>>;
using set_otm_support_feature_cb = Method<48, "set_otm_support_feature_cb", Since<1, 3>, In<Callback<otm_support_feature_cb>>>;
using unset_otm_support_feature_cb = Method<49, "unset_otm_support_feature_cb", Since<1, 3>>;
using set_wifi_connection_error_code = Method<50, "set_wifi_connection_error_code", Since<1, 3>, In<Int32<"error_code">>>;
using set_provisioning_vendor_info = Method<51, "set_provisioning_vendor_info", Since<1, 3>, In<Secret<"vendor_info">>>;
using set_provisioning_vendor_info_cb = Method<52, "set_provisioning_vendor_info_cb", Since<1, 3>, In<Callback<provisioning_vendor_info_cb>>>;
using unset_provisioning_vendor_info_cb = Method<53, "unset_provisioning_vendor_info_cb", Since<1, 3>>;
using set_easysetup_version_info = Method<54, "set_easysetup_version_info", Since<1, 3>, In<String<"version_info">>>;
using set_sso_list = Method<55, "set_sso_list", Since<1, 3>, In<Secret<"sso_list">>>;
using set_provisioning_language_cb = Method<56, "set_provisioning_language_cb", Since<1, 3>, In<Callback<provisioning_language_cb>>>;
using unset_provisioning_language_cb = Method<57, "unset_provisioning_language_cb", Since<1, 3>>;
using send_provisioning_language_setting_result = Method<58, "send_provisioning_language_setting_result", Since<1, 3>, In<Int32<"req_id">, Bool<"result">>>;
using set_language_list = Method<59, "set_language_list", Since<1, 3>, In<Arr<language_info_array, "languages">>>;
using set_tnc_result_cb = Method<60, "set_tnc_result_cb", Since<1, 3>, In<Callback<tnc_result_cb>>>;
using unset_tnc_result_cb = Method<61, "unset_tnc_result_cb", Since<1, 3>>;
using set_tnc_status = Method<62, "set_tnc_status", Since<1, 3>, In<Int32<"status">>>;
using set_tnc_data = Method<63, "set_tnc_data", Since<1, 3>, In<DocumentText<documents::terms::document, "tnc_data">>>;
using set_wifi_ap_provisioning_cb_v2 = Method<64, "set_wifi_ap_provisioning_cb_v2", Since<1, 3>, In<Callback<wifi_ap_prov_with_candidates_cb>>>;
using unset_wifi_ap_provisioning_cb_v2 = Method<65, "unset_wifi_ap_provisioning_cb_v2", Since<1, 3>>;
using send_presence = Method<66, "send_presence", Since<1, 3>, In<Int32<"presence">>>;
using send_keepalive = Method<67, "send_keepalive", Since<1, 3>>;
using set_keepalive_intervals = Method<68, "set_keepalive_intervals", Since<1, 3>, In<Arr<keepalive_info_array, "intervals">>>;
using select_keepalive_intervals = Method<69, "select_keepalive_intervals", Since<1, 3>, In<Arr<keepalive_index_info_array, "indexes">>>;
using set_device_profile = Method<70, "set_device_profile", Since<1, 3>, In<Int32<"device_no">, DocumentText<documents::device_profile::document, "profile">>>;
using set_nick_changed_cb = Method<71, "set_nick_changed_cb", Since<1, 3>, In<Callback<nick_changed_cb>>>;
using unset_nick_changed_cb = Method<72, "unset_nick_changed_cb", Since<1, 3>>;
using set_last_status_changed_cb = Method<73, "set_last_status_changed_cb", Since<1, 4>, In<Callback<last_status_changed_cb>>>;
using unset_last_status_changed_cb = Method<74, "unset_last_status_changed_cb", Since<1, 4>>;
using set_keepalive_result_cb = Method<75, "set_keepalive_result_cb", Since<1, 4>, In<Callback<keepalive_result_cb>>>;
using unset_keepalive_result_cb = Method<76, "unset_keepalive_result_cb", Since<1, 4>>;
using set_device_name = Method<77, "set_device_name", Since<1, 4>, In<String<"device_name">>>;
using get_tcp_header_info = Method<78, "get_tcp_header_info", Since<1, 4>, In<>, Out<DocumentText<documents::tcp_header::document, "tcp_header_info">>>;
using set_device_property = Method<79, "set_device_property", Since<1, 0>, In<String<"device_name">, Int32<"wifi_mode">, Int32<"wifi_freq">>>;
using set_random_pin = Method<80, "set_random_pin", Since<1, 4>, In<Secret<"pin">>>;
using unset_random_pin = Method<81, "unset_random_pin", Since<1, 4>>;
using set_device_name_with_device_no = Method<82, "set_device_name_with_device_no", Since<1, 4>, In<Int32<"device_no">, String<"device_name">>>;
using set_gatt_ble = Method<83, "set_gatt_ble", Since<1, 4>, In<Bool<"enable">>>;
using get_thing_status = Method<84, "get_thing_status", Since<1, 4>, In<>, Out<Int32<"status">>>;
using get_signup_status = Method<85, "get_signup_status", Since<1, 4>, In<>, Out<Bool<"is_signed_up">>>;
using set_signup_status_changed_cb = Method<86, "set_signup_status_changed_cb", Since<1, 4>, In<Callback<signup_status_changed_cb>>>;
using unset_signup_status_changed_cb = Method<87, "unset_signup_status_changed_cb", Since<1, 4>>;
using get_signin_status = Method<88, "get_signin_status", Since<1, 4>, In<>, Out<Bool<"is_signed_in">>>;
using set_signin_status_changed_cb = Method<89, "set_signin_status_changed_cb", Since<1, 4>, In<Callback<signin_status_changed_cb>>>;
using unset_signin_status_changed_cb = Method<90, "unset_signin_status_changed_cb", Since<1, 4>>;
using set_tnc_type = Method<91, "set_tnc_type", Since<1, 4>, In<Int32<"type">>>;
using set_tnc_url = Method<92, "set_tnc_url", Since<1, 4>, In<String<"url">>>;
using set_tcp_session_disconnected_cb = Method<93, "set_tcp_session_disconnected_cb", Since<1, 4>, In<Callback<tcp_session_disconnected_cb>>>;
using unset_tcp_session_disconnected_cb = Method<94, "unset_tcp_session_disconnected_cb", Since<1, 4>>;
using set_provisioning_get_requested_cb = Method<95, "set_provisioning_get_requested_cb", Since<1, 4>, In<Callback<provisioning_get_requested_cb>>>;
using unset_provisioning_get_requested_cb = Method<96, "unset_provisioning_get_requested_cb", Since<1, 4>>;
using disconnect_cloud_session = Method<97, "disconnect_cloud_session", Since<1, 4>>;
using set_sub_device_presence = Method<98, "set_sub_device_presence", Since<1, 4>, In<Arr<int_array, "device_nos">, Bool<"presence">>>;
using get_group_id = Method<99, "get_group_id", Since<1, 5>, In<Callback<get_group_id_cb>>>;
using get_sub_device_presence = Method<100, "get_sub_device_presence", Since<1, 6>, In<>, Out<DocumentText<documents::presence::document, "presence_list">>>;
using start_async = Method<101, "start_async", Since<2, 0>, In<String<"name">, Int32<"mode">, Int32<"flags">, Callback<start_async_cb>>>;
using common_interface = Method<102, "common_interface", Since<2, 0>, In<DocumentText<commands::all, "request">>, Out<Secret<"reply">>>;
using create_hdr_token_info = Method<103, "create_hdr_token_info", Since<2, 1>, In<Callback<create_hdr_token_info_cb>>>;
using create_hdr_certificate = Method<104, "create_hdr_certificate", Since<2, 1>, In<String<"device_type">, Secret<"csr">, Callback<create_hdr_certificate_cb>>>;
using get_hdr_certificate = Method<105, "get_hdr_certificate", Since<2, 1>, In<String<"device_type">, String<"certificate_arn">, Callback<get_hdr_certificate_cb>>>;
using set_diagnostics_cb = Method<106, "set_diagnostics_cb", Since<2, 2>, In<Callback<diagnostics_cb>>>;
using unset_diagnostics_cb = Method<107, "unset_diagnostics_cb", Since<2, 2>>;
using create_hdr_token_info_custom = Method<108, "create_hdr_token_info_custom", Since<2, 3>, In<Secret<"request_data">, Callback<create_hdr_token_info_custom_cb>>>;

// Events that an application registers for.

namespace events {
using status_changed = Event<"status_changed", set_status_changed_cb, unset_status_changed_cb>;
using user_confirm = Event<"user_confirm", set_user_confirm_cb, unset_user_confirm_cb>;
using reset_confirm = Event<"reset_confirm", set_reset_confirm_cb, unset_reset_confirm_cb>;
using reset_result = Event<"reset_result", set_reset_result_cb, unset_reset_result_cb>;
using pin = Event<"pin", set_pin_cb, unset_pin_cb>;
using wifi_ap_provisioning = Event<"wifi_ap_provisioning", set_wifi_ap_provisioning_cb, unset_wifi_ap_provisioning_cb>;
using wifi_ap_provisioning_v2 = Event<"wifi_ap_provisioning", set_wifi_ap_provisioning_cb_v2, unset_wifi_ap_provisioning_cb_v2>; // with a document instead of the record
using device_provisioning = Event<"device_provisioning", set_device_provisioning_cb, unset_device_provisioning_cb>;
using scan_ap = Event<"scan_ap", set_scan_ap_cb, unset_scan_ap_cb>;
using stop_soft_ap = Event<"stop_soft_ap", set_softap_stop_cb, unset_softap_stop_cb>;
using ultrasound_pin = Event<"ultrasound_pin", set_ultrasound_pin_cb, unset_ultrasound_pin_cb>;
using cloud_device_list = Event<"cloud_device_list", set_cloud_device_list_cb, unset_cloud_device_list_cb>;
using otm_support_feature = Event<"otm_support_feature", set_otm_support_feature_cb, unset_otm_support_feature_cb>;
using provisioning_vendor_info = Event<"provisioning_vendor_info", set_provisioning_vendor_info_cb, unset_provisioning_vendor_info_cb>;
using provisioning_language = Event<"provisioning_language", set_provisioning_language_cb, unset_provisioning_language_cb>;
using tnc_result = Event<"tnc_result", set_tnc_result_cb, unset_tnc_result_cb>;
using nick_changed = Event<"nick_changed", set_nick_changed_cb, unset_nick_changed_cb>;
using last_status_changed = Event<"last_status_changed", set_last_status_changed_cb, unset_last_status_changed_cb>;
using keepalive_result = Event<"keepalive_result", set_keepalive_result_cb, unset_keepalive_result_cb>;
using signup_status_changed = Event<"signup_status_changed", set_signup_status_changed_cb, unset_signup_status_changed_cb>;
using signin_status_changed = Event<"signin_status_changed", set_signin_status_changed_cb, unset_signin_status_changed_cb>;
using tcp_session_disconnected = Event<"tcp_session_disconnected", set_tcp_session_disconnected_cb, unset_tcp_session_disconnected_cb>;
using provisioning_get_requested = Event<"provisioning_get_requested", set_provisioning_get_requested_cb, unset_provisioning_get_requested_cb>;
using diagnostics = Event<"diagnostics", set_diagnostics_cb, unset_diagnostics_cb>;
} // namespace events

using Records = List<
    ap_info, keepalive_info, keepalive_index_info, device_prov_info, language_info, cloud_device_info,
    last_status_info, platform_info, cloud_info>;

using Arrays = List<
    int_array, ap_info_array, language_info_array, keepalive_info_array, keepalive_index_info_array,
    cloud_device_info_array>;

using Delegates = List<
    status_changed_cb, user_confirm_cb, reset_confirm_cb, reset_result_cb, pin_generate_cb, pin_display_close_cb,
    wifi_ap_provisioning_cb, device_provisioning_cb, scan_ap_cb, softap_stop_cb, ultrasound_pin_generate_cb,
    ultrasound_pin_stop_cb, cloud_device_list_cb, otm_support_feature_cb, provisioning_vendor_info_cb,
    provisioning_language_cb, tnc_result_cb, wifi_ap_prov_with_candidates_cb, nick_changed_cb,
    last_status_changed_cb, keepalive_result_cb, signup_status_changed_cb, signin_status_changed_cb,
    tcp_session_disconnected_cb, provisioning_get_requested_cb, get_group_id_cb, start_async_cb,
    create_hdr_token_info_cb, create_hdr_certificate_cb, get_hdr_certificate_cb, diagnostics_cb,
    create_hdr_token_info_custom_cb>;

using Methods = List<
    is_update_ready, start, stop, set_status_changed_cb, unset_status_changed_cb, set_user_confirm_cb,
    unset_user_confirm_cb, send_user_confirm, set_reset_confirm_cb, unset_reset_confirm_cb, set_reset_result_cb,
    unset_reset_result_cb, send_reset_confirm, reset, set_pin_cb, unset_pin_cb, set_wifi_ap_provisioning_cb,
    unset_wifi_ap_provisioning_cb, set_device_provisioning_cb, unset_device_provisioning_cb, set_scan_ap_cb,
    unset_scan_ap_cb, send_ap_list, set_softap_stop_cb, unset_softap_stop_cb, get_device_id, get_easysetup_status,
    signup_cloud, set_preconfigured_pin, set_mot_status, set_ultrasound_pin_cb, unset_ultrasound_pin_cb,
    set_platform_info, set_regist_set_device, set_api_version, set_last_status_info, register_sub_device,
    unregister_sub_device, set_cloud_device_list_cb, unset_cloud_device_list_cb, get_device_owned_status,
    set_platform_info_with_device_no, set_nick_name, set_otm_support_feature_cb, unset_otm_support_feature_cb,
    set_wifi_connection_error_code, set_provisioning_vendor_info, set_provisioning_vendor_info_cb,
    unset_provisioning_vendor_info_cb, set_easysetup_version_info, set_sso_list, set_provisioning_language_cb,
    unset_provisioning_language_cb, send_provisioning_language_setting_result, set_language_list, set_tnc_result_cb,
    unset_tnc_result_cb, set_tnc_status, set_tnc_data, set_wifi_ap_provisioning_cb_v2,
    unset_wifi_ap_provisioning_cb_v2, send_presence, send_keepalive, set_keepalive_intervals,
    select_keepalive_intervals, set_device_profile, set_nick_changed_cb, unset_nick_changed_cb,
    set_last_status_changed_cb, unset_last_status_changed_cb, set_keepalive_result_cb, unset_keepalive_result_cb,
    set_device_name, get_tcp_header_info, set_device_property, set_random_pin, unset_random_pin,
    set_device_name_with_device_no, set_gatt_ble, get_thing_status, get_signup_status, set_signup_status_changed_cb,
    unset_signup_status_changed_cb, get_signin_status, set_signin_status_changed_cb, unset_signin_status_changed_cb,
    set_tnc_type, set_tnc_url, set_tcp_session_disconnected_cb, unset_tcp_session_disconnected_cb,
    set_provisioning_get_requested_cb, unset_provisioning_get_requested_cb, disconnect_cloud_session,
    set_sub_device_presence, get_group_id, get_sub_device_presence, start_async, common_interface,
    create_hdr_token_info, create_hdr_certificate, get_hdr_certificate, set_diagnostics_cb, unset_diagnostics_cb,
    create_hdr_token_info_custom>;

using Events = List<
    events::status_changed, events::user_confirm, events::reset_confirm, events::reset_result, events::pin,
    events::wifi_ap_provisioning, events::wifi_ap_provisioning_v2, events::device_provisioning, events::scan_ap,
    events::stop_soft_ap, events::ultrasound_pin, events::cloud_device_list, events::otm_support_feature,
    events::provisioning_vendor_info, events::provisioning_language, events::tnc_result, events::nick_changed,
    events::last_status_changed, events::keepalive_result, events::signup_status_changed,
    events::signin_status_changed, events::tcp_session_disconnected, events::provisioning_get_requested,
    events::diagnostics>;
// clang-format on

/// The first int32 of every parcel that is not a request. Method ids begin after these.
enum Kind : int { result = 0, callback = 1 };

static_assert(Records::count == 9 && names_are_unique(Records{}));
static_assert(Arrays::count == 6 && names_are_unique(Arrays{}));
static_assert(Delegates::count == 32 && ids_ascend(Delegates{}) && names_are_unique(Delegates{}));
static_assert(create_hdr_token_info_custom_cb::id == Delegates::count, "delegate ids have no gap");
static_assert(Methods::count == 104 && ids_ascend(Methods{}) && names_are_unique(Methods{}));
static_assert(is_update_ready::id == 2 && create_hdr_token_info_custom::id == 2 + 104 + 3 - 1,
              "method ids run from 2 with three that this library never sends: 5, 30 and 31");
static_assert(Events::count == 24);

} // namespace kv::master
