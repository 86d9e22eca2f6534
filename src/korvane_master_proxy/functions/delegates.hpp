// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/delegate.hpp"

/*
 * The named functions of the delegates.
 *
 * ..._create   returns a delegate whose events call `callback` with user_data first and the event's values after it;
 *              NULL without memory. The caller owns it until a request that carries it is written, then the proxy.
 * ..._dispose  takes a delegate from the proxy's list and frees it. Returns -1, without a log line, if the list does
 *              not hold it.
 */

using rpc_port_kv_master_status_changed_cb_h = kv::proxy::TypedDelegate<kv::master::status_changed_cb> *;
rpc_port_kv_master_status_changed_cb_h rpc_port_kv_master_status_changed_cb_create(
    kv::proxy::DelegateCallback<kv::master::status_changed_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_status_changed_cb_h delegate);

using rpc_port_kv_master_user_confirm_cb_h = kv::proxy::TypedDelegate<kv::master::user_confirm_cb> *;
rpc_port_kv_master_user_confirm_cb_h rpc_port_kv_master_user_confirm_cb_create(
    kv::proxy::DelegateCallback<kv::master::user_confirm_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_user_confirm_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_user_confirm_cb_h delegate);

using rpc_port_kv_master_reset_confirm_cb_h = kv::proxy::TypedDelegate<kv::master::reset_confirm_cb> *;
rpc_port_kv_master_reset_confirm_cb_h rpc_port_kv_master_reset_confirm_cb_create(
    kv::proxy::DelegateCallback<kv::master::reset_confirm_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_reset_confirm_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_kv_master_reset_confirm_cb_h delegate);

using rpc_port_kv_master_reset_result_cb_h = kv::proxy::TypedDelegate<kv::master::reset_result_cb> *;
rpc_port_kv_master_reset_result_cb_h rpc_port_kv_master_reset_result_cb_create(
    kv::proxy::DelegateCallback<kv::master::reset_result_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_reset_result_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_reset_result_cb_h delegate);

using rpc_port_kv_master_pin_generate_cb_h = kv::proxy::TypedDelegate<kv::master::pin_generate_cb> *;
rpc_port_kv_master_pin_generate_cb_h rpc_port_kv_master_pin_generate_cb_create(
    kv::proxy::DelegateCallback<kv::master::pin_generate_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_pin_generate_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_pin_generate_cb_h delegate);

using rpc_port_kv_master_pin_display_close_cb_h = kv::proxy::TypedDelegate<kv::master::pin_display_close_cb> *;
rpc_port_kv_master_pin_display_close_cb_h rpc_port_kv_master_pin_display_close_cb_create(
    kv::proxy::DelegateCallback<kv::master::pin_display_close_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_pin_display_close_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_pin_display_close_cb_h delegate);

using rpc_port_kv_master_wifi_ap_provisioning_cb_h = kv::proxy::TypedDelegate<kv::master::wifi_ap_provisioning_cb> *;
rpc_port_kv_master_wifi_ap_provisioning_cb_h rpc_port_kv_master_wifi_ap_provisioning_cb_create(
    kv::proxy::DelegateCallback<kv::master::wifi_ap_provisioning_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_wifi_ap_provisioning_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                             rpc_port_kv_master_wifi_ap_provisioning_cb_h delegate);

using rpc_port_kv_master_device_provisioning_cb_h = kv::proxy::TypedDelegate<kv::master::device_provisioning_cb> *;
rpc_port_kv_master_device_provisioning_cb_h rpc_port_kv_master_device_provisioning_cb_create(
    kv::proxy::DelegateCallback<kv::master::device_provisioning_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_device_provisioning_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_device_provisioning_cb_h delegate);

using rpc_port_kv_master_scan_ap_cb_h = kv::proxy::TypedDelegate<kv::master::scan_ap_cb> *;
rpc_port_kv_master_scan_ap_cb_h rpc_port_kv_master_scan_ap_cb_create(
    kv::proxy::DelegateCallback<kv::master::scan_ap_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_scan_ap_cb_dispose(rpc_port_proxy_kv_master_h h, rpc_port_kv_master_scan_ap_cb_h delegate);

using rpc_port_kv_master_softap_stop_cb_h = kv::proxy::TypedDelegate<kv::master::softap_stop_cb> *;
rpc_port_kv_master_softap_stop_cb_h rpc_port_kv_master_softap_stop_cb_create(
    kv::proxy::DelegateCallback<kv::master::softap_stop_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_softap_stop_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                    rpc_port_kv_master_softap_stop_cb_h delegate);

using rpc_port_kv_master_ultrasound_pin_generate_cb_h =
    kv::proxy::TypedDelegate<kv::master::ultrasound_pin_generate_cb> *;
rpc_port_kv_master_ultrasound_pin_generate_cb_h rpc_port_kv_master_ultrasound_pin_generate_cb_create(
    kv::proxy::DelegateCallback<kv::master::ultrasound_pin_generate_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_ultrasound_pin_generate_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_ultrasound_pin_generate_cb_h delegate);

using rpc_port_kv_master_ultrasound_pin_stop_cb_h = kv::proxy::TypedDelegate<kv::master::ultrasound_pin_stop_cb> *;
rpc_port_kv_master_ultrasound_pin_stop_cb_h rpc_port_kv_master_ultrasound_pin_stop_cb_create(
    kv::proxy::DelegateCallback<kv::master::ultrasound_pin_stop_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_ultrasound_pin_stop_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_ultrasound_pin_stop_cb_h delegate);

using rpc_port_kv_master_cloud_device_list_cb_h = kv::proxy::TypedDelegate<kv::master::cloud_device_list_cb> *;
rpc_port_kv_master_cloud_device_list_cb_h rpc_port_kv_master_cloud_device_list_cb_create(
    kv::proxy::DelegateCallback<kv::master::cloud_device_list_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_cloud_device_list_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_cloud_device_list_cb_h delegate);

using rpc_port_kv_master_otm_support_feature_cb_h = kv::proxy::TypedDelegate<kv::master::otm_support_feature_cb> *;
rpc_port_kv_master_otm_support_feature_cb_h rpc_port_kv_master_otm_support_feature_cb_create(
    kv::proxy::DelegateCallback<kv::master::otm_support_feature_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_otm_support_feature_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_otm_support_feature_cb_h delegate);

using rpc_port_kv_master_provisioning_vendor_info_cb_h =
    kv::proxy::TypedDelegate<kv::master::provisioning_vendor_info_cb> *;
rpc_port_kv_master_provisioning_vendor_info_cb_h rpc_port_kv_master_provisioning_vendor_info_cb_create(
    kv::proxy::DelegateCallback<kv::master::provisioning_vendor_info_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_provisioning_vendor_info_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_vendor_info_cb_h delegate);

using rpc_port_kv_master_provisioning_language_cb_h = kv::proxy::TypedDelegate<kv::master::provisioning_language_cb> *;
rpc_port_kv_master_provisioning_language_cb_h rpc_port_kv_master_provisioning_language_cb_create(
    kv::proxy::DelegateCallback<kv::master::provisioning_language_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_provisioning_language_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_provisioning_language_cb_h delegate);

using rpc_port_kv_master_tnc_result_cb_h = kv::proxy::TypedDelegate<kv::master::tnc_result_cb> *;
rpc_port_kv_master_tnc_result_cb_h rpc_port_kv_master_tnc_result_cb_create(
    kv::proxy::DelegateCallback<kv::master::tnc_result_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_tnc_result_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                   rpc_port_kv_master_tnc_result_cb_h delegate);

using rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h =
    kv::proxy::TypedDelegate<kv::master::wifi_ap_prov_with_candidates_cb> *;
rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_create(
    kv::proxy::DelegateCallback<kv::master::wifi_ap_prov_with_candidates_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_wifi_ap_prov_with_candidates_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h delegate);

using rpc_port_kv_master_nick_changed_cb_h = kv::proxy::TypedDelegate<kv::master::nick_changed_cb> *;
rpc_port_kv_master_nick_changed_cb_h rpc_port_kv_master_nick_changed_cb_create(
    kv::proxy::DelegateCallback<kv::master::nick_changed_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_nick_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_nick_changed_cb_h delegate);

using rpc_port_kv_master_last_status_changed_cb_h = kv::proxy::TypedDelegate<kv::master::last_status_changed_cb> *;
rpc_port_kv_master_last_status_changed_cb_h rpc_port_kv_master_last_status_changed_cb_create(
    kv::proxy::DelegateCallback<kv::master::last_status_changed_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_last_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_last_status_changed_cb_h delegate);

using rpc_port_kv_master_keepalive_result_cb_h = kv::proxy::TypedDelegate<kv::master::keepalive_result_cb> *;
rpc_port_kv_master_keepalive_result_cb_h rpc_port_kv_master_keepalive_result_cb_create(
    kv::proxy::DelegateCallback<kv::master::keepalive_result_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_keepalive_result_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_kv_master_keepalive_result_cb_h delegate);

using rpc_port_kv_master_signup_status_changed_cb_h = kv::proxy::TypedDelegate<kv::master::signup_status_changed_cb> *;
rpc_port_kv_master_signup_status_changed_cb_h rpc_port_kv_master_signup_status_changed_cb_create(
    kv::proxy::DelegateCallback<kv::master::signup_status_changed_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_signup_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_signup_status_changed_cb_h delegate);

using rpc_port_kv_master_signin_status_changed_cb_h = kv::proxy::TypedDelegate<kv::master::signin_status_changed_cb> *;
rpc_port_kv_master_signin_status_changed_cb_h rpc_port_kv_master_signin_status_changed_cb_create(
    kv::proxy::DelegateCallback<kv::master::signin_status_changed_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_signin_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_signin_status_changed_cb_h delegate);

using rpc_port_kv_master_tcp_session_disconnected_cb_h =
    kv::proxy::TypedDelegate<kv::master::tcp_session_disconnected_cb> *;
rpc_port_kv_master_tcp_session_disconnected_cb_h rpc_port_kv_master_tcp_session_disconnected_cb_create(
    kv::proxy::DelegateCallback<kv::master::tcp_session_disconnected_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_tcp_session_disconnected_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_tcp_session_disconnected_cb_h delegate);

using rpc_port_kv_master_provisioning_get_requested_cb_h =
    kv::proxy::TypedDelegate<kv::master::provisioning_get_requested_cb> *;
rpc_port_kv_master_provisioning_get_requested_cb_h rpc_port_kv_master_provisioning_get_requested_cb_create(
    kv::proxy::DelegateCallback<kv::master::provisioning_get_requested_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_provisioning_get_requested_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_get_requested_cb_h delegate);

using rpc_port_kv_master_get_group_id_cb_h = kv::proxy::TypedDelegate<kv::master::get_group_id_cb> *;
rpc_port_kv_master_get_group_id_cb_h rpc_port_kv_master_get_group_id_cb_create(
    kv::proxy::DelegateCallback<kv::master::get_group_id_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_get_group_id_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_get_group_id_cb_h delegate);

using rpc_port_kv_master_start_async_cb_h = kv::proxy::TypedDelegate<kv::master::start_async_cb> *;
rpc_port_kv_master_start_async_cb_h rpc_port_kv_master_start_async_cb_create(
    kv::proxy::DelegateCallback<kv::master::start_async_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_start_async_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                    rpc_port_kv_master_start_async_cb_h delegate);

using rpc_port_kv_master_create_hdr_token_info_cb_h = kv::proxy::TypedDelegate<kv::master::create_hdr_token_info_cb> *;
rpc_port_kv_master_create_hdr_token_info_cb_h rpc_port_kv_master_create_hdr_token_info_cb_create(
    kv::proxy::DelegateCallback<kv::master::create_hdr_token_info_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_create_hdr_token_info_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_create_hdr_token_info_cb_h delegate);

using rpc_port_kv_master_create_hdr_certificate_cb_h =
    kv::proxy::TypedDelegate<kv::master::create_hdr_certificate_cb> *;
rpc_port_kv_master_create_hdr_certificate_cb_h rpc_port_kv_master_create_hdr_certificate_cb_create(
    kv::proxy::DelegateCallback<kv::master::create_hdr_certificate_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_create_hdr_certificate_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                               rpc_port_kv_master_create_hdr_certificate_cb_h delegate);

using rpc_port_kv_master_get_hdr_certificate_cb_h = kv::proxy::TypedDelegate<kv::master::get_hdr_certificate_cb> *;
rpc_port_kv_master_get_hdr_certificate_cb_h rpc_port_kv_master_get_hdr_certificate_cb_create(
    kv::proxy::DelegateCallback<kv::master::get_hdr_certificate_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_get_hdr_certificate_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_get_hdr_certificate_cb_h delegate);

using rpc_port_kv_master_diagnostics_cb_h = kv::proxy::TypedDelegate<kv::master::diagnostics_cb> *;
rpc_port_kv_master_diagnostics_cb_h rpc_port_kv_master_diagnostics_cb_create(
    kv::proxy::DelegateCallback<kv::master::diagnostics_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_diagnostics_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                    rpc_port_kv_master_diagnostics_cb_h delegate);

using rpc_port_kv_master_create_hdr_token_info_custom_cb_h =
    kv::proxy::TypedDelegate<kv::master::create_hdr_token_info_custom_cb> *;
rpc_port_kv_master_create_hdr_token_info_custom_cb_h rpc_port_kv_master_create_hdr_token_info_custom_cb_create(
    kv::proxy::DelegateCallback<kv::master::create_hdr_token_info_custom_cb> callback, bool once, void *user_data);
int rpc_port_proxy_kv_master_create_hdr_token_info_custom_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_create_hdr_token_info_custom_cb_h delegate);
