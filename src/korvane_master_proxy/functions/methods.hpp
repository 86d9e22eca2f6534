// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "delegates.hpp"
#include "src/korvane_master_proxy/arrays.hpp"
#include "src/korvane_master_proxy/records.hpp"

/*
 * The named functions of the methods. Each sends its request, waits for the reply and returns the agent's result, or -1
 * without a whole reply; the thread's last result is then -5 if the link failed, and 0 otherwise. Out values are stored
 * only with a result of 0; texts among them are the caller's to free. The proxy owns a delegate once the request holds it.
 */

int rpc_port_proxy_kv_master_invoke_is_update_ready(rpc_port_proxy_kv_master_h h, bool *is_ready);
int rpc_port_proxy_kv_master_invoke_start(rpc_port_proxy_kv_master_h h, const char *name, int mode, int flags);
int rpc_port_proxy_kv_master_invoke_stop(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_status_changed_cb(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_status_changed_cb_h status_changed_cb);
int rpc_port_proxy_kv_master_invoke_unset_status_changed_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_user_confirm_cb_h user_confirm_cb);
int rpc_port_proxy_kv_master_invoke_unset_user_confirm_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_send_user_confirm(rpc_port_proxy_kv_master_h h, bool confirm);
int rpc_port_proxy_kv_master_invoke_set_reset_confirm_cb(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_kv_master_reset_confirm_cb_h reset_confirm_cb);
int rpc_port_proxy_kv_master_invoke_unset_reset_confirm_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_reset_result_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_reset_result_cb_h reset_result_cb);
int rpc_port_proxy_kv_master_invoke_unset_reset_result_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_send_reset_confirm(rpc_port_proxy_kv_master_h h, bool confirm);
int rpc_port_proxy_kv_master_invoke_reset(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_pin_cb(rpc_port_proxy_kv_master_h h,
                                               rpc_port_kv_master_pin_generate_cb_h pin_generate_cb,
                                               rpc_port_kv_master_pin_display_close_cb_h pin_display_close_cb);
int rpc_port_proxy_kv_master_invoke_unset_pin_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_provisioning_cb_h wifi_ap_provisioning_cb);
int rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_device_provisioning_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_device_provisioning_cb_h device_provisioning_cb);
int rpc_port_proxy_kv_master_invoke_unset_device_provisioning_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_scan_ap_cb(rpc_port_proxy_kv_master_h h,
                                                   rpc_port_kv_master_scan_ap_cb_h scan_ap_cb);
int rpc_port_proxy_kv_master_invoke_unset_scan_ap_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_send_ap_list(rpc_port_proxy_kv_master_h h, int req_id,
                                                 rpc_port_array_korvane_ap_info_h ap_list);
int rpc_port_proxy_kv_master_invoke_set_softap_stop_cb(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_softap_stop_cb_h softap_stop_cb);
int rpc_port_proxy_kv_master_invoke_unset_softap_stop_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_get_device_id(rpc_port_proxy_kv_master_h h, char **device_id);
int rpc_port_proxy_kv_master_invoke_get_easysetup_status(rpc_port_proxy_kv_master_h h, bool *status);
int rpc_port_proxy_kv_master_invoke_signup_cloud(rpc_port_proxy_kv_master_h h,
                                                 rpc_port_korvane_cloud_info_h cloud_info);
int rpc_port_proxy_kv_master_invoke_set_preconfigured_pin(rpc_port_proxy_kv_master_h h, const char *pin);
int rpc_port_proxy_kv_master_invoke_set_mot_status(rpc_port_proxy_kv_master_h h, bool enable);
int rpc_port_proxy_kv_master_invoke_set_ultrasound_pin_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_ultrasound_pin_generate_cb_h ultrasound_pin_generate_cb,
    rpc_port_kv_master_ultrasound_pin_stop_cb_h ultrasound_pin_stop_cb);
int rpc_port_proxy_kv_master_invoke_unset_ultrasound_pin_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_platform_info(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_korvane_platform_info_h platform_info);
int rpc_port_proxy_kv_master_invoke_set_regist_set_device(rpc_port_proxy_kv_master_h h, const char *regist_set_device);
int rpc_port_proxy_kv_master_invoke_set_api_version(rpc_port_proxy_kv_master_h h, int major, int minor, int patch);
int rpc_port_proxy_kv_master_invoke_set_last_status_info(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_korvane_last_status_info_h last_status_info);
int rpc_port_proxy_kv_master_invoke_register_sub_device(rpc_port_proxy_kv_master_h h, int device_no,
                                                        const char *device_id);
int rpc_port_proxy_kv_master_invoke_unregister_sub_device(rpc_port_proxy_kv_master_h h, int device_no);
int rpc_port_proxy_kv_master_invoke_set_cloud_device_list_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_cloud_device_list_cb_h cloud_device_list_cb);
int rpc_port_proxy_kv_master_invoke_unset_cloud_device_list_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_get_device_owned_status(rpc_port_proxy_kv_master_h h, bool *is_owned);
int rpc_port_proxy_kv_master_invoke_set_platform_info_with_device_no(rpc_port_proxy_kv_master_h h, int device_no,
                                                                     const char *platform_info);
int rpc_port_proxy_kv_master_invoke_set_nick_name(rpc_port_proxy_kv_master_h h, int device_no, const char *nick);
int rpc_port_proxy_kv_master_invoke_set_otm_support_feature_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_otm_support_feature_cb_h otm_support_feature_cb);
int rpc_port_proxy_kv_master_invoke_unset_otm_support_feature_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_wifi_connection_error_code(rpc_port_proxy_kv_master_h h, int error_code);
int rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info(rpc_port_proxy_kv_master_h h, const char *vendor_info);
int rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_vendor_info_cb_h provisioning_vendor_info_cb);
int rpc_port_proxy_kv_master_invoke_unset_provisioning_vendor_info_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_easysetup_version_info(rpc_port_proxy_kv_master_h h, const char *version_info);
int rpc_port_proxy_kv_master_invoke_set_sso_list(rpc_port_proxy_kv_master_h h, const char *sso_list);
int rpc_port_proxy_kv_master_invoke_set_provisioning_language_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_language_cb_h provisioning_language_cb);
int rpc_port_proxy_kv_master_invoke_unset_provisioning_language_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_send_provisioning_language_setting_result(rpc_port_proxy_kv_master_h h, int req_id,
                                                                              bool result);
int rpc_port_proxy_kv_master_invoke_set_language_list(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_array_korvane_language_info_h languages);
int rpc_port_proxy_kv_master_invoke_set_tnc_result_cb(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_kv_master_tnc_result_cb_h tnc_result_cb);
int rpc_port_proxy_kv_master_invoke_unset_tnc_result_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_tnc_status(rpc_port_proxy_kv_master_h h, int status);
int rpc_port_proxy_kv_master_invoke_set_tnc_data(rpc_port_proxy_kv_master_h h, const char *tnc_data);
int rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb_v2(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h wifi_ap_prov_with_candidates_cb);
int rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb_v2(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_send_presence(rpc_port_proxy_kv_master_h h, int presence);
int rpc_port_proxy_kv_master_invoke_send_keepalive(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_keepalive_intervals(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_array_korvane_keepalive_info_h intervals);
int rpc_port_proxy_kv_master_invoke_select_keepalive_intervals(rpc_port_proxy_kv_master_h h,
                                                               rpc_port_array_korvane_keepalive_index_info_h indexes);
int rpc_port_proxy_kv_master_invoke_set_device_profile(rpc_port_proxy_kv_master_h h, int device_no,
                                                       const char *profile);
int rpc_port_proxy_kv_master_invoke_set_nick_changed_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_nick_changed_cb_h nick_changed_cb);
int rpc_port_proxy_kv_master_invoke_unset_nick_changed_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_last_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_last_status_changed_cb_h last_status_changed_cb);
int rpc_port_proxy_kv_master_invoke_unset_last_status_changed_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_keepalive_result_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_keepalive_result_cb_h keepalive_result_cb);
int rpc_port_proxy_kv_master_invoke_unset_keepalive_result_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_device_name(rpc_port_proxy_kv_master_h h, const char *device_name);
int rpc_port_proxy_kv_master_invoke_get_tcp_header_info(rpc_port_proxy_kv_master_h h, char **tcp_header_info);
int rpc_port_proxy_kv_master_invoke_set_device_property(rpc_port_proxy_kv_master_h h, const char *device_name,
                                                        int wifi_mode, int wifi_freq);
int rpc_port_proxy_kv_master_invoke_set_random_pin(rpc_port_proxy_kv_master_h h, const char *pin);
int rpc_port_proxy_kv_master_invoke_unset_random_pin(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_device_name_with_device_no(rpc_port_proxy_kv_master_h h, int device_no,
                                                                   const char *device_name);
int rpc_port_proxy_kv_master_invoke_set_gatt_ble(rpc_port_proxy_kv_master_h h, bool enable);
int rpc_port_proxy_kv_master_invoke_get_thing_status(rpc_port_proxy_kv_master_h h, int *status);
int rpc_port_proxy_kv_master_invoke_get_signup_status(rpc_port_proxy_kv_master_h h, bool *is_signed_up);
int rpc_port_proxy_kv_master_invoke_set_signup_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_signup_status_changed_cb_h signup_status_changed_cb);
int rpc_port_proxy_kv_master_invoke_unset_signup_status_changed_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_get_signin_status(rpc_port_proxy_kv_master_h h, bool *is_signed_in);
int rpc_port_proxy_kv_master_invoke_set_signin_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_signin_status_changed_cb_h signin_status_changed_cb);
int rpc_port_proxy_kv_master_invoke_unset_signin_status_changed_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_tnc_type(rpc_port_proxy_kv_master_h h, int type);
int rpc_port_proxy_kv_master_invoke_set_tnc_url(rpc_port_proxy_kv_master_h h, const char *url);
int rpc_port_proxy_kv_master_invoke_set_tcp_session_disconnected_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_tcp_session_disconnected_cb_h tcp_session_disconnected_cb);
int rpc_port_proxy_kv_master_invoke_unset_tcp_session_disconnected_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_provisioning_get_requested_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_get_requested_cb_h provisioning_get_requested_cb);
int rpc_port_proxy_kv_master_invoke_unset_provisioning_get_requested_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_disconnect_cloud_session(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_set_sub_device_presence(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_array_int_h device_nos, bool presence);
int rpc_port_proxy_kv_master_invoke_get_group_id(rpc_port_proxy_kv_master_h h,
                                                 rpc_port_kv_master_get_group_id_cb_h get_group_id_cb);
int rpc_port_proxy_kv_master_invoke_get_sub_device_presence(rpc_port_proxy_kv_master_h h, char **presence_list);
int rpc_port_proxy_kv_master_invoke_start_async(rpc_port_proxy_kv_master_h h, const char *name, int mode, int flags,
                                                rpc_port_kv_master_start_async_cb_h start_async_cb);
int rpc_port_proxy_kv_master_invoke_common_interface(rpc_port_proxy_kv_master_h h, const char *request, char **reply);
int rpc_port_proxy_kv_master_invoke_create_hdr_token_info(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_create_hdr_token_info_cb_h create_hdr_token_info_cb);
int rpc_port_proxy_kv_master_invoke_create_hdr_certificate(
    rpc_port_proxy_kv_master_h h, const char *device_type, const char *csr,
    rpc_port_kv_master_create_hdr_certificate_cb_h create_hdr_certificate_cb);
int rpc_port_proxy_kv_master_invoke_get_hdr_certificate(
    rpc_port_proxy_kv_master_h h, const char *device_type, const char *certificate_arn,
    rpc_port_kv_master_get_hdr_certificate_cb_h get_hdr_certificate_cb);
int rpc_port_proxy_kv_master_invoke_set_diagnostics_cb(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_diagnostics_cb_h diagnostics_cb);
int rpc_port_proxy_kv_master_invoke_unset_diagnostics_cb(rpc_port_proxy_kv_master_h h);
int rpc_port_proxy_kv_master_invoke_create_hdr_token_info_custom(
    rpc_port_proxy_kv_master_h h, const char *request_data,
    rpc_port_kv_master_create_hdr_token_info_custom_cb_h create_hdr_token_info_custom_cb);
