// SPDX-License-Identifier: Apache-2.0
#include "delegates.hpp"

using namespace kv;
using namespace kv::proxy;

rpc_port_kv_master_status_changed_cb_h rpc_port_kv_master_status_changed_cb_create(
    DelegateCallback<master::status_changed_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::status_changed_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_status_changed_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::status_changed_cb::id);
}

rpc_port_kv_master_user_confirm_cb_h rpc_port_kv_master_user_confirm_cb_create(
    DelegateCallback<master::user_confirm_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::user_confirm_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_user_confirm_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_user_confirm_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::user_confirm_cb::id);
}

rpc_port_kv_master_reset_confirm_cb_h rpc_port_kv_master_reset_confirm_cb_create(
    DelegateCallback<master::reset_confirm_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::reset_confirm_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_reset_confirm_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_kv_master_reset_confirm_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::reset_confirm_cb::id);
}

rpc_port_kv_master_reset_result_cb_h rpc_port_kv_master_reset_result_cb_create(
    DelegateCallback<master::reset_result_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::reset_result_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_reset_result_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_reset_result_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::reset_result_cb::id);
}

rpc_port_kv_master_pin_generate_cb_h rpc_port_kv_master_pin_generate_cb_create(
    DelegateCallback<master::pin_generate_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::pin_generate_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_pin_generate_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_pin_generate_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::pin_generate_cb::id);
}

rpc_port_kv_master_pin_display_close_cb_h rpc_port_kv_master_pin_display_close_cb_create(
    DelegateCallback<master::pin_display_close_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::pin_display_close_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_pin_display_close_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_pin_display_close_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::pin_display_close_cb::id);
}

rpc_port_kv_master_wifi_ap_provisioning_cb_h rpc_port_kv_master_wifi_ap_provisioning_cb_create(
    DelegateCallback<master::wifi_ap_provisioning_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::wifi_ap_provisioning_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_wifi_ap_provisioning_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                             rpc_port_kv_master_wifi_ap_provisioning_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::wifi_ap_provisioning_cb::id);
}

rpc_port_kv_master_device_provisioning_cb_h rpc_port_kv_master_device_provisioning_cb_create(
    DelegateCallback<master::device_provisioning_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::device_provisioning_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_device_provisioning_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_device_provisioning_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::device_provisioning_cb::id);
}

rpc_port_kv_master_scan_ap_cb_h rpc_port_kv_master_scan_ap_cb_create(DelegateCallback<master::scan_ap_cb> callback,
                                                                     bool once, void *user_data)
{
    return create_delegate<master::scan_ap_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_scan_ap_cb_dispose(rpc_port_proxy_kv_master_h h, rpc_port_kv_master_scan_ap_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::scan_ap_cb::id);
}

rpc_port_kv_master_softap_stop_cb_h rpc_port_kv_master_softap_stop_cb_create(
    DelegateCallback<master::softap_stop_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::softap_stop_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_softap_stop_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                    rpc_port_kv_master_softap_stop_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::softap_stop_cb::id);
}

rpc_port_kv_master_ultrasound_pin_generate_cb_h rpc_port_kv_master_ultrasound_pin_generate_cb_create(
    DelegateCallback<master::ultrasound_pin_generate_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::ultrasound_pin_generate_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_ultrasound_pin_generate_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_ultrasound_pin_generate_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::ultrasound_pin_generate_cb::id);
}

rpc_port_kv_master_ultrasound_pin_stop_cb_h rpc_port_kv_master_ultrasound_pin_stop_cb_create(
    DelegateCallback<master::ultrasound_pin_stop_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::ultrasound_pin_stop_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_ultrasound_pin_stop_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_ultrasound_pin_stop_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::ultrasound_pin_stop_cb::id);
}

rpc_port_kv_master_cloud_device_list_cb_h rpc_port_kv_master_cloud_device_list_cb_create(
    DelegateCallback<master::cloud_device_list_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::cloud_device_list_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_cloud_device_list_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_cloud_device_list_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::cloud_device_list_cb::id);
}

rpc_port_kv_master_otm_support_feature_cb_h rpc_port_kv_master_otm_support_feature_cb_create(
    DelegateCallback<master::otm_support_feature_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::otm_support_feature_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_otm_support_feature_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_otm_support_feature_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::otm_support_feature_cb::id);
}

rpc_port_kv_master_provisioning_vendor_info_cb_h rpc_port_kv_master_provisioning_vendor_info_cb_create(
    DelegateCallback<master::provisioning_vendor_info_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::provisioning_vendor_info_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_provisioning_vendor_info_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_vendor_info_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::provisioning_vendor_info_cb::id);
}

rpc_port_kv_master_provisioning_language_cb_h rpc_port_kv_master_provisioning_language_cb_create(
    DelegateCallback<master::provisioning_language_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::provisioning_language_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_provisioning_language_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_provisioning_language_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::provisioning_language_cb::id);
}

rpc_port_kv_master_tnc_result_cb_h rpc_port_kv_master_tnc_result_cb_create(
    DelegateCallback<master::tnc_result_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::tnc_result_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_tnc_result_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                   rpc_port_kv_master_tnc_result_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::tnc_result_cb::id);
}

rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_create(
    DelegateCallback<master::wifi_ap_prov_with_candidates_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::wifi_ap_prov_with_candidates_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_wifi_ap_prov_with_candidates_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::wifi_ap_prov_with_candidates_cb::id);
}

rpc_port_kv_master_nick_changed_cb_h rpc_port_kv_master_nick_changed_cb_create(
    DelegateCallback<master::nick_changed_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::nick_changed_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_nick_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_nick_changed_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::nick_changed_cb::id);
}

rpc_port_kv_master_last_status_changed_cb_h rpc_port_kv_master_last_status_changed_cb_create(
    DelegateCallback<master::last_status_changed_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::last_status_changed_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_last_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_last_status_changed_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::last_status_changed_cb::id);
}

rpc_port_kv_master_keepalive_result_cb_h rpc_port_kv_master_keepalive_result_cb_create(
    DelegateCallback<master::keepalive_result_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::keepalive_result_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_keepalive_result_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_kv_master_keepalive_result_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::keepalive_result_cb::id);
}

rpc_port_kv_master_signup_status_changed_cb_h rpc_port_kv_master_signup_status_changed_cb_create(
    DelegateCallback<master::signup_status_changed_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::signup_status_changed_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_signup_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_signup_status_changed_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::signup_status_changed_cb::id);
}

rpc_port_kv_master_signin_status_changed_cb_h rpc_port_kv_master_signin_status_changed_cb_create(
    DelegateCallback<master::signin_status_changed_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::signin_status_changed_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_signin_status_changed_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_signin_status_changed_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::signin_status_changed_cb::id);
}

rpc_port_kv_master_tcp_session_disconnected_cb_h rpc_port_kv_master_tcp_session_disconnected_cb_create(
    DelegateCallback<master::tcp_session_disconnected_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::tcp_session_disconnected_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_tcp_session_disconnected_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_tcp_session_disconnected_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::tcp_session_disconnected_cb::id);
}

rpc_port_kv_master_provisioning_get_requested_cb_h rpc_port_kv_master_provisioning_get_requested_cb_create(
    DelegateCallback<master::provisioning_get_requested_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::provisioning_get_requested_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_provisioning_get_requested_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_get_requested_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::provisioning_get_requested_cb::id);
}

rpc_port_kv_master_get_group_id_cb_h rpc_port_kv_master_get_group_id_cb_create(
    DelegateCallback<master::get_group_id_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::get_group_id_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_get_group_id_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                     rpc_port_kv_master_get_group_id_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::get_group_id_cb::id);
}

rpc_port_kv_master_start_async_cb_h rpc_port_kv_master_start_async_cb_create(
    DelegateCallback<master::start_async_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::start_async_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_start_async_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                    rpc_port_kv_master_start_async_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::start_async_cb::id);
}

rpc_port_kv_master_create_hdr_token_info_cb_h rpc_port_kv_master_create_hdr_token_info_cb_create(
    DelegateCallback<master::create_hdr_token_info_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::create_hdr_token_info_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_create_hdr_token_info_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                              rpc_port_kv_master_create_hdr_token_info_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::create_hdr_token_info_cb::id);
}

rpc_port_kv_master_create_hdr_certificate_cb_h rpc_port_kv_master_create_hdr_certificate_cb_create(
    DelegateCallback<master::create_hdr_certificate_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::create_hdr_certificate_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_create_hdr_certificate_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                               rpc_port_kv_master_create_hdr_certificate_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::create_hdr_certificate_cb::id);
}

rpc_port_kv_master_get_hdr_certificate_cb_h rpc_port_kv_master_get_hdr_certificate_cb_create(
    DelegateCallback<master::get_hdr_certificate_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::get_hdr_certificate_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_get_hdr_certificate_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_kv_master_get_hdr_certificate_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::get_hdr_certificate_cb::id);
}

rpc_port_kv_master_diagnostics_cb_h rpc_port_kv_master_diagnostics_cb_create(
    DelegateCallback<master::diagnostics_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::diagnostics_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_diagnostics_cb_dispose(rpc_port_proxy_kv_master_h h,
                                                    rpc_port_kv_master_diagnostics_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::diagnostics_cb::id);
}

rpc_port_kv_master_create_hdr_token_info_custom_cb_h rpc_port_kv_master_create_hdr_token_info_custom_cb_create(
    DelegateCallback<master::create_hdr_token_info_custom_cb> callback, bool once, void *user_data)
{
    return create_delegate<master::create_hdr_token_info_custom_cb>(callback, once, user_data);
}

int rpc_port_proxy_kv_master_create_hdr_token_info_custom_cb_dispose(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_create_hdr_token_info_custom_cb_h delegate)
{
    return dispose_delegate(h, delegate, master::create_hdr_token_info_custom_cb::id);
}
