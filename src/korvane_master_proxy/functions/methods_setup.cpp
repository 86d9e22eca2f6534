// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

#include "invoke.hpp"

using namespace kv;
using namespace kv::proxy;

int rpc_port_proxy_kv_master_invoke_is_update_ready(rpc_port_proxy_kv_master_h h, bool *is_ready)
{
    return invoke<master::is_update_ready>(h, is_ready);
}

int rpc_port_proxy_kv_master_invoke_start(rpc_port_proxy_kv_master_h h, const char *name, int mode, int flags)
{
    return invoke<master::start>(h, name, mode, flags);
}

int rpc_port_proxy_kv_master_invoke_stop(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::stop>(h);
}

int rpc_port_proxy_kv_master_invoke_set_status_changed_cb(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_status_changed_cb_h status_changed_cb)
{
    return invoke<master::set_status_changed_cb>(h, status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_status_changed_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_user_confirm_cb_h user_confirm_cb)
{
    return invoke<master::set_user_confirm_cb>(h, user_confirm_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_user_confirm_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_user_confirm_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_send_user_confirm(rpc_port_proxy_kv_master_h h, bool confirm)
{
    return invoke<master::send_user_confirm>(h, confirm);
}

int rpc_port_proxy_kv_master_invoke_set_reset_confirm_cb(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_kv_master_reset_confirm_cb_h reset_confirm_cb)
{
    return invoke<master::set_reset_confirm_cb>(h, reset_confirm_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_reset_confirm_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_reset_confirm_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_reset_result_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_reset_result_cb_h reset_result_cb)
{
    return invoke<master::set_reset_result_cb>(h, reset_result_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_reset_result_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_reset_result_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_send_reset_confirm(rpc_port_proxy_kv_master_h h, bool confirm)
{
    return invoke<master::send_reset_confirm>(h, confirm);
}

int rpc_port_proxy_kv_master_invoke_reset(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::reset>(h);
}

int rpc_port_proxy_kv_master_invoke_set_pin_cb(rpc_port_proxy_kv_master_h h,
                                               rpc_port_kv_master_pin_generate_cb_h pin_generate_cb,
                                               rpc_port_kv_master_pin_display_close_cb_h pin_display_close_cb)
{
    return invoke<master::set_pin_cb>(h, pin_generate_cb, pin_display_close_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_pin_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_pin_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_provisioning_cb_h wifi_ap_provisioning_cb)
{
    return invoke<master::set_wifi_ap_provisioning_cb>(h, wifi_ap_provisioning_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_wifi_ap_provisioning_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_device_provisioning_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_device_provisioning_cb_h device_provisioning_cb)
{
    return invoke<master::set_device_provisioning_cb>(h, device_provisioning_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_device_provisioning_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_device_provisioning_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_scan_ap_cb(rpc_port_proxy_kv_master_h h,
                                                   rpc_port_kv_master_scan_ap_cb_h scan_ap_cb)
{
    return invoke<master::set_scan_ap_cb>(h, scan_ap_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_scan_ap_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_scan_ap_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_send_ap_list(rpc_port_proxy_kv_master_h h, int req_id,
                                                 rpc_port_array_korvane_ap_info_h ap_list)
{
    return invoke<master::send_ap_list>(h, req_id, ap_list);
}

int rpc_port_proxy_kv_master_invoke_set_softap_stop_cb(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_softap_stop_cb_h softap_stop_cb)
{
    return invoke<master::set_softap_stop_cb>(h, softap_stop_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_softap_stop_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_softap_stop_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_get_device_id(rpc_port_proxy_kv_master_h h, char **device_id)
{
    return invoke<master::get_device_id>(h, device_id);
}

int rpc_port_proxy_kv_master_invoke_get_easysetup_status(rpc_port_proxy_kv_master_h h, bool *status)
{
    return invoke<master::get_easysetup_status>(h, status);
}

int rpc_port_proxy_kv_master_invoke_signup_cloud(rpc_port_proxy_kv_master_h h, rpc_port_korvane_cloud_info_h cloud_info)
{
    return invoke<master::signup_cloud>(h, cloud_info);
}

int rpc_port_proxy_kv_master_invoke_set_preconfigured_pin(rpc_port_proxy_kv_master_h h, const char *pin)
{
    return invoke<master::set_preconfigured_pin>(h, pin);
}

int rpc_port_proxy_kv_master_invoke_set_mot_status(rpc_port_proxy_kv_master_h h, bool enable)
{
    return invoke<master::set_mot_status>(h, enable);
}

int rpc_port_proxy_kv_master_invoke_set_ultrasound_pin_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_ultrasound_pin_generate_cb_h ultrasound_pin_generate_cb,
    rpc_port_kv_master_ultrasound_pin_stop_cb_h ultrasound_pin_stop_cb)
{
    return invoke<master::set_ultrasound_pin_cb>(h, ultrasound_pin_generate_cb, ultrasound_pin_stop_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_ultrasound_pin_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_ultrasound_pin_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_platform_info(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_korvane_platform_info_h platform_info)
{
    return invoke<master::set_platform_info>(h, platform_info);
}

int rpc_port_proxy_kv_master_invoke_set_regist_set_device(rpc_port_proxy_kv_master_h h, const char *regist_set_device)
{
    return invoke<master::set_regist_set_device>(h, regist_set_device);
}

int rpc_port_proxy_kv_master_invoke_set_api_version(rpc_port_proxy_kv_master_h h, int major, int minor, int patch)
{
    return invoke<master::set_api_version>(h, major, minor, patch);
}

int rpc_port_proxy_kv_master_invoke_set_last_status_info(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_korvane_last_status_info_h last_status_info)
{
    return invoke<master::set_last_status_info>(h, last_status_info);
}

int rpc_port_proxy_kv_master_invoke_register_sub_device(rpc_port_proxy_kv_master_h h, int device_no,
                                                        const char *device_id)
{
    return invoke<master::register_sub_device>(h, device_no, device_id);
}

int rpc_port_proxy_kv_master_invoke_unregister_sub_device(rpc_port_proxy_kv_master_h h, int device_no)
{
    return invoke<master::unregister_sub_device>(h, device_no);
}

int rpc_port_proxy_kv_master_invoke_set_cloud_device_list_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_cloud_device_list_cb_h cloud_device_list_cb)
{
    return invoke<master::set_cloud_device_list_cb>(h, cloud_device_list_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_cloud_device_list_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_cloud_device_list_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_get_device_owned_status(rpc_port_proxy_kv_master_h h, bool *is_owned)
{
    return invoke<master::get_device_owned_status>(h, is_owned);
}

int rpc_port_proxy_kv_master_invoke_set_platform_info_with_device_no(rpc_port_proxy_kv_master_h h, int device_no,
                                                                     const char *platform_info)
{
    return invoke<master::set_platform_info_with_device_no>(h, device_no, platform_info);
}

int rpc_port_proxy_kv_master_invoke_set_nick_name(rpc_port_proxy_kv_master_h h, int device_no, const char *nick)
{
    return invoke<master::set_nick_name>(h, device_no, nick);
}

int rpc_port_proxy_kv_master_invoke_set_otm_support_feature_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_otm_support_feature_cb_h otm_support_feature_cb)
{
    return invoke<master::set_otm_support_feature_cb>(h, otm_support_feature_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_otm_support_feature_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_otm_support_feature_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_wifi_connection_error_code(rpc_port_proxy_kv_master_h h, int error_code)
{
    return invoke<master::set_wifi_connection_error_code>(h, error_code);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info(rpc_port_proxy_kv_master_h h, const char *vendor_info)
{
    return invoke<master::set_provisioning_vendor_info>(h, vendor_info);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_vendor_info_cb_h provisioning_vendor_info_cb)
{
    return invoke<master::set_provisioning_vendor_info_cb>(h, provisioning_vendor_info_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_provisioning_vendor_info_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_provisioning_vendor_info_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_set_easysetup_version_info(rpc_port_proxy_kv_master_h h, const char *version_info)
{
    return invoke<master::set_easysetup_version_info>(h, version_info);
}

int rpc_port_proxy_kv_master_invoke_set_sso_list(rpc_port_proxy_kv_master_h h, const char *sso_list)
{
    return invoke<master::set_sso_list>(h, sso_list);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_language_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_language_cb_h provisioning_language_cb)
{
    return invoke<master::set_provisioning_language_cb>(h, provisioning_language_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_provisioning_language_cb(rpc_port_proxy_kv_master_h h)
{
    return invoke<master::unset_provisioning_language_cb>(h);
}

int rpc_port_proxy_kv_master_invoke_send_provisioning_language_setting_result(rpc_port_proxy_kv_master_h h, int req_id,
                                                                              bool result)
{
    return invoke<master::send_provisioning_language_setting_result>(h, req_id, result);
}

int rpc_port_proxy_kv_master_invoke_set_language_list(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_array_korvane_language_info_h languages)
{
    return invoke<master::set_language_list>(h, languages);
}
