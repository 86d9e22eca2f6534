// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

#include "invoke.hpp"

using namespace kv;
using namespace kv::proxy;

int rpc_port_proxy_kv_master_invoke_set_tnc_result_cb(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_kv_master_tnc_result_cb_h tnc_result_cb)
{
    return invoke<master::set_tnc_result_cb>(h, tnc_result_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_tnc_result_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_tnc_result_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_tnc_status(rpc_port_proxy_kv_master_h h, int status)
{
    return invoke<master::set_tnc_status>(h, status);
}

int rpc_port_proxy_kv_master_invoke_set_tnc_data(rpc_port_proxy_kv_master_h h, const char *tnc_data)
{
    return invoke<master::set_tnc_data>(h, tnc_data);
}

int rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb_v2(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h wifi_ap_prov_with_candidates_cb)
{
    return invoke<master::set_wifi_ap_provisioning_cb_v2>(h, wifi_ap_prov_with_candidates_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb_v2(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_wifi_ap_provisioning_cb_v2>(h);
}

int rpc_port_proxy_kv_master_invoke_send_presence(rpc_port_proxy_kv_master_h h, int presence)
{
    return invoke<master::send_presence>(h, presence);
}

int rpc_port_proxy_kv_master_invoke_send_keepalive(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::send_keepalive>(h);
}

int rpc_port_proxy_kv_master_invoke_set_keepalive_intervals(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_array_korvane_keepalive_info_h intervals)
{
    return invoke<master::set_keepalive_intervals>(h, intervals);
}

int rpc_port_proxy_kv_master_invoke_select_keepalive_intervals(rpc_port_proxy_kv_master_h h,
                                                               rpc_port_array_korvane_keepalive_index_info_h indexes)
{
    return invoke<master::select_keepalive_intervals>(h, indexes);
}

int rpc_port_proxy_kv_master_invoke_set_device_profile(rpc_port_proxy_kv_master_h h, int device_no, const char *profile)
{
    return invoke<master::set_device_profile>(h, device_no, profile);
}

int rpc_port_proxy_kv_master_invoke_set_nick_changed_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_nick_changed_cb_h nick_changed_cb)
{
    return invoke<master::set_nick_changed_cb>(h, nick_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_nick_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_nick_changed_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_last_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_last_status_changed_cb_h last_status_changed_cb)
{
    return invoke<master::set_last_status_changed_cb>(h, last_status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_last_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_last_status_changed_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_keepalive_result_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_keepalive_result_cb_h keepalive_result_cb)
{
    return invoke<master::set_keepalive_result_cb>(h, keepalive_result_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_keepalive_result_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_keepalive_result_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_device_name(rpc_port_proxy_kv_master_h h, const char *device_name)
{
    return invoke<master::set_device_name>(h, device_name);
}

int rpc_port_proxy_kv_master_invoke_get_tcp_header_info(rpc_port_proxy_kv_master_h h, char **tcp_header_info)
{
    return invoke<master::get_tcp_header_info>(h, tcp_header_info);
}

int rpc_port_proxy_kv_master_invoke_set_device_property(rpc_port_proxy_kv_master_h h, const char *device_name,
                                                        int wifi_mode, int wifi_freq)
{
    return invoke<master::set_device_property>(h, device_name, wifi_mode, wifi_freq);
}

int rpc_port_proxy_kv_master_invoke_set_random_pin(rpc_port_proxy_kv_master_h h, const char *pin)
{
    return invoke<master::set_random_pin>(h, pin);
}

int rpc_port_proxy_kv_master_invoke_unset_random_pin(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_random_pin>(h);
}

int rpc_port_proxy_kv_master_invoke_set_device_name_with_device_no(rpc_port_proxy_kv_master_h h, int device_no,
                                                                   const char *device_name)
{
    return invoke<master::set_device_name_with_device_no>(h, device_no, device_name);
}

int rpc_port_proxy_kv_master_invoke_set_gatt_ble(rpc_port_proxy_kv_master_h h, bool enable)
{
    return invoke<master::set_gatt_ble>(h, enable);
}

int rpc_port_proxy_kv_master_invoke_get_thing_status(rpc_port_proxy_kv_master_h h, int *status)
{
    return invoke<master::get_thing_status>(h, status);
}

int rpc_port_proxy_kv_master_invoke_get_signup_status(rpc_port_proxy_kv_master_h h, bool *is_signed_up)
{
    return invoke<master::get_signup_status>(h, is_signed_up);
}

int rpc_port_proxy_kv_master_invoke_set_signup_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_signup_status_changed_cb_h signup_status_changed_cb)
{
    return invoke<master::set_signup_status_changed_cb>(h, signup_status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_signup_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_signup_status_changed_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_get_signin_status(rpc_port_proxy_kv_master_h h, bool *is_signed_in)
{
    return invoke<master::get_signin_status>(h, is_signed_in);
}

int rpc_port_proxy_kv_master_invoke_set_signin_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_signin_status_changed_cb_h signin_status_changed_cb)
{
    return invoke<master::set_signin_status_changed_cb>(h, signin_status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_signin_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_signin_status_changed_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_tnc_type(rpc_port_proxy_kv_master_h h, int type)
{
    return invoke<master::set_tnc_type>(h, type);
}

int rpc_port_proxy_kv_master_invoke_set_tnc_url(rpc_port_proxy_kv_master_h h, const char *url)
{
    return invoke<master::set_tnc_url>(h, url);
}

int rpc_port_proxy_kv_master_invoke_set_tcp_session_disconnected_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_tcp_session_disconnected_cb_h tcp_session_disconnected_cb)
{
    return invoke<master::set_tcp_session_disconnected_cb>(h, tcp_session_disconnected_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_tcp_session_disconnected_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_tcp_session_disconnected_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_get_requested_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_get_requested_cb_h provisioning_get_requested_cb)
{
    return invoke<master::set_provisioning_get_requested_cb>(h, provisioning_get_requested_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_provisioning_get_requested_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_provisioning_get_requested_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_disconnect_cloud_session(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::disconnect_cloud_session>(h);
}

int rpc_port_proxy_kv_master_invoke_set_sub_device_presence(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_array_int_h device_nos, bool presence)
{
    return invoke<master::set_sub_device_presence>(h, device_nos, presence);
}

int rpc_port_proxy_kv_master_invoke_get_group_id(rpc_port_proxy_kv_master_h h,
                                                 rpc_port_kv_master_get_group_id_cb_h get_group_id_cb)
{
    return invoke<master::get_group_id>(h, get_group_id_cb);
}

int rpc_port_proxy_kv_master_invoke_get_sub_device_presence(rpc_port_proxy_kv_master_h h, char **presence_list)
{
    return invoke<master::get_sub_device_presence>(h, presence_list);
}

int rpc_port_proxy_kv_master_invoke_start_async(rpc_port_proxy_kv_master_h h, const char *name, int mode, int flags,
                                                rpc_port_kv_master_start_async_cb_h start_async_cb)
{
    return invoke<master::start_async>(h, name, mode, flags, start_async_cb);
}

int rpc_port_proxy_kv_master_invoke_common_interface(rpc_port_proxy_kv_master_h h, const char *request, char **reply)
{
    return invoke<master::common_interface>(h, request, reply);
}

int rpc_port_proxy_kv_master_invoke_create_hdr_token_info(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_create_hdr_token_info_cb_h create_hdr_token_info_cb)
{
    return invoke<master::create_hdr_token_info>(h, create_hdr_token_info_cb);
}

int rpc_port_proxy_kv_master_invoke_create_hdr_certificate(
    rpc_port_proxy_kv_master_h h, const char *device_type, const char *csr,
    rpc_port_kv_master_create_hdr_certificate_cb_h create_hdr_certificate_cb)
{
    return invoke<master::create_hdr_certificate>(h, device_type, csr, create_hdr_certificate_cb);
}

int rpc_port_proxy_kv_master_invoke_get_hdr_certificate(
    rpc_port_proxy_kv_master_h h, const char *device_type, const char *certificate_arn,
    rpc_port_kv_master_get_hdr_certificate_cb_h get_hdr_certificate_cb)
{
    return invoke<master::get_hdr_certificate>(h, device_type, certificate_arn, get_hdr_certificate_cb);
}

int rpc_port_proxy_kv_master_invoke_set_diagnostics_cb(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_diagnostics_cb_h diagnostics_cb)
{
    return invoke<master::set_diagnostics_cb>(h, diagnostics_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_diagnostics_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_diagnostics_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_create_hdr_token_info_custom(
    rpc_port_proxy_kv_master_h h, const char *request_data,
    rpc_port_kv_master_create_hdr_token_info_custom_cb_h create_hdr_token_info_custom_cb)
{
    return invoke<master::create_hdr_token_info_custom>(h, request_data, create_hdr_token_info_custom_cb);
}
