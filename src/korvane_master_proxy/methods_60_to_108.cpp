// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

#include "invoke.hpp"

using namespace kv;
using namespace kv::proxy;

int rpc_port_proxy_kv_master_invoke_set_tnc_result_cb(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_kv_master_tnc_result_cb_h tnc_result_cb)
{
    return on(h).call<master::set_tnc_result_cb>(tnc_result_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_tnc_result_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_tnc_result_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_tnc_status(rpc_port_proxy_kv_master_h h, int status)
{
    return on(h).call<master::set_tnc_status>(status);
}

int rpc_port_proxy_kv_master_invoke_set_tnc_data(rpc_port_proxy_kv_master_h h, const char *tnc_data)
{
    return on(h).call<master::set_tnc_data>(tnc_data);
}

int rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb_v2(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_prov_with_candidates_cb_h wifi_ap_prov_with_candidates_cb)
{
    return on(h).call<master::set_wifi_ap_provisioning_cb_v2>(wifi_ap_prov_with_candidates_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb_v2(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_wifi_ap_provisioning_cb_v2>();
}

int rpc_port_proxy_kv_master_invoke_send_presence(rpc_port_proxy_kv_master_h h, int presence)
{
    return on(h).call<master::send_presence>(presence);
}

int rpc_port_proxy_kv_master_invoke_send_keepalive(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::send_keepalive>();
}

int rpc_port_proxy_kv_master_invoke_set_keepalive_intervals(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_array_korvane_keepalive_info_h intervals)
{
    return on(h).call<master::set_keepalive_intervals>(intervals);
}

int rpc_port_proxy_kv_master_invoke_select_keepalive_intervals(rpc_port_proxy_kv_master_h h,
                                                               rpc_port_array_korvane_keepalive_index_info_h indexes)
{
    return on(h).call<master::select_keepalive_intervals>(indexes);
}

int rpc_port_proxy_kv_master_invoke_set_device_profile(rpc_port_proxy_kv_master_h h, int device_no, const char *profile)
{
    return on(h).call<master::set_device_profile>(device_no, profile);
}

int rpc_port_proxy_kv_master_invoke_set_nick_changed_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_nick_changed_cb_h nick_changed_cb)
{
    return on(h).call<master::set_nick_changed_cb>(nick_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_nick_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_nick_changed_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_last_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_last_status_changed_cb_h last_status_changed_cb)
{
    return on(h).call<master::set_last_status_changed_cb>(last_status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_last_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_last_status_changed_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_keepalive_result_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_keepalive_result_cb_h keepalive_result_cb)
{
    return on(h).call<master::set_keepalive_result_cb>(keepalive_result_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_keepalive_result_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_keepalive_result_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_device_name(rpc_port_proxy_kv_master_h h, const char *device_name)
{
    return on(h).call<master::set_device_name>(device_name);
}

int rpc_port_proxy_kv_master_invoke_get_tcp_header_info(rpc_port_proxy_kv_master_h h, char **tcp_header_info)
{
    return on(h).call<master::get_tcp_header_info>(tcp_header_info);
}

int rpc_port_proxy_kv_master_invoke_set_device_property(rpc_port_proxy_kv_master_h h, const char *device_name,
                                                        int wifi_mode, int wifi_freq)
{
    return on(h).call<master::set_device_property>(device_name, wifi_mode, wifi_freq);
}

int rpc_port_proxy_kv_master_invoke_set_random_pin(rpc_port_proxy_kv_master_h h, const char *pin)
{
    return on(h).call<master::set_random_pin>(pin);
}

int rpc_port_proxy_kv_master_invoke_unset_random_pin(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_random_pin>();
}

int rpc_port_proxy_kv_master_invoke_set_device_name_with_device_no(rpc_port_proxy_kv_master_h h, int device_no,
                                                                   const char *device_name)
{
    return on(h).call<master::set_device_name_with_device_no>(device_no, device_name);
}

int rpc_port_proxy_kv_master_invoke_set_gatt_ble(rpc_port_proxy_kv_master_h h, bool enable)
{
    return on(h).call<master::set_gatt_ble>(enable);
}

int rpc_port_proxy_kv_master_invoke_get_thing_status(rpc_port_proxy_kv_master_h h, int *status)
{
    return on(h).call<master::get_thing_status>(status);
}

int rpc_port_proxy_kv_master_invoke_get_signup_status(rpc_port_proxy_kv_master_h h, bool *is_signed_up)
{
    return on(h).call<master::get_signup_status>(is_signed_up);
}

int rpc_port_proxy_kv_master_invoke_set_signup_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_signup_status_changed_cb_h signup_status_changed_cb)
{
    return on(h).call<master::set_signup_status_changed_cb>(signup_status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_signup_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_signup_status_changed_cb>();
}

int rpc_port_proxy_kv_master_invoke_get_signin_status(rpc_port_proxy_kv_master_h h, bool *is_signed_in)
{
    return on(h).call<master::get_signin_status>(is_signed_in);
}

int rpc_port_proxy_kv_master_invoke_set_signin_status_changed_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_signin_status_changed_cb_h signin_status_changed_cb)
{
    return on(h).call<master::set_signin_status_changed_cb>(signin_status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_signin_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_signin_status_changed_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_tnc_type(rpc_port_proxy_kv_master_h h, int type)
{
    return on(h).call<master::set_tnc_type>(type);
}

int rpc_port_proxy_kv_master_invoke_set_tnc_url(rpc_port_proxy_kv_master_h h, const char *url)
{
    return on(h).call<master::set_tnc_url>(url);
}

int rpc_port_proxy_kv_master_invoke_set_tcp_session_disconnected_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_tcp_session_disconnected_cb_h tcp_session_disconnected_cb)
{
    return on(h).call<master::set_tcp_session_disconnected_cb>(tcp_session_disconnected_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_tcp_session_disconnected_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_tcp_session_disconnected_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_get_requested_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_get_requested_cb_h provisioning_get_requested_cb)
{
    return on(h).call<master::set_provisioning_get_requested_cb>(provisioning_get_requested_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_provisioning_get_requested_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_provisioning_get_requested_cb>();
}

int rpc_port_proxy_kv_master_invoke_disconnect_cloud_session(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::disconnect_cloud_session>();
}

int rpc_port_proxy_kv_master_invoke_set_sub_device_presence(rpc_port_proxy_kv_master_h h,
                                                            rpc_port_array_int_h device_nos, bool presence)
{
    return on(h).call<master::set_sub_device_presence>(device_nos, presence);
}

int rpc_port_proxy_kv_master_invoke_get_group_id(rpc_port_proxy_kv_master_h h,
                                                 rpc_port_kv_master_get_group_id_cb_h get_group_id_cb)
{
    return on(h).call<master::get_group_id>(get_group_id_cb);
}

int rpc_port_proxy_kv_master_invoke_get_sub_device_presence(rpc_port_proxy_kv_master_h h, char **presence_list)
{
    return on(h).call<master::get_sub_device_presence>(presence_list);
}

int rpc_port_proxy_kv_master_invoke_start_async(rpc_port_proxy_kv_master_h h, const char *name, int mode, int flags,
                                                rpc_port_kv_master_start_async_cb_h start_async_cb)
{
    return on(h).call<master::start_async>(name, mode, flags, start_async_cb);
}

int rpc_port_proxy_kv_master_invoke_common_interface(rpc_port_proxy_kv_master_h h, const char *request, char **reply)
{
    return on(h).call<master::common_interface>(request, reply);
}

int rpc_port_proxy_kv_master_invoke_create_hdr_token_info(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_create_hdr_token_info_cb_h create_hdr_token_info_cb)
{
    return on(h).call<master::create_hdr_token_info>(create_hdr_token_info_cb);
}

int rpc_port_proxy_kv_master_invoke_create_hdr_certificate(
    rpc_port_proxy_kv_master_h h, const char *device_type, const char *csr,
    rpc_port_kv_master_create_hdr_certificate_cb_h create_hdr_certificate_cb)
{
    return on(h).call<master::create_hdr_certificate>(device_type, csr, create_hdr_certificate_cb);
}

int rpc_port_proxy_kv_master_invoke_get_hdr_certificate(
    rpc_port_proxy_kv_master_h h, const char *device_type, const char *certificate_arn,
    rpc_port_kv_master_get_hdr_certificate_cb_h get_hdr_certificate_cb)
{
    return on(h).call<master::get_hdr_certificate>(device_type, certificate_arn, get_hdr_certificate_cb);
}

int rpc_port_proxy_kv_master_invoke_set_diagnostics_cb(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_diagnostics_cb_h diagnostics_cb)
{
    return on(h).call<master::set_diagnostics_cb>(diagnostics_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_diagnostics_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_diagnostics_cb>();
}

int rpc_port_proxy_kv_master_invoke_create_hdr_token_info_custom(
    rpc_port_proxy_kv_master_h h, const char *request_data,
    rpc_port_kv_master_create_hdr_token_info_custom_cb_h create_hdr_token_info_custom_cb)
{
    return on(h).call<master::create_hdr_token_info_custom>(request_data, create_hdr_token_info_custom_cb);
}
