// SPDX-License-Identifier: Apache-2.0
#include "methods.hpp"

#include "invoke.hpp"

using namespace kv;
using namespace kv::proxy;

int rpc_port_proxy_kv_master_invoke_is_update_ready(rpc_port_proxy_kv_master_h h, bool *is_ready)
{
    return on(h).call<master::is_update_ready>(is_ready);
}

int rpc_port_proxy_kv_master_invoke_start(rpc_port_proxy_kv_master_h h, const char *name, int mode, int flags)
{
    return on(h).call<master::start>(name, mode, flags);
}

int rpc_port_proxy_kv_master_invoke_stop(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::stop>();
}

int rpc_port_proxy_kv_master_invoke_set_status_changed_cb(rpc_port_proxy_kv_master_h h,
                                                          rpc_port_kv_master_status_changed_cb_h status_changed_cb)
{
    return on(h).call<master::set_status_changed_cb>(status_changed_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_status_changed_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_status_changed_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_user_confirm_cb_h user_confirm_cb)
{
    return on(h).call<master::set_user_confirm_cb>(user_confirm_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_user_confirm_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_user_confirm_cb>();
}

int rpc_port_proxy_kv_master_invoke_send_user_confirm(rpc_port_proxy_kv_master_h h, bool confirm)
{
    return on(h).call<master::send_user_confirm>(confirm);
}

int rpc_port_proxy_kv_master_invoke_set_reset_confirm_cb(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_kv_master_reset_confirm_cb_h reset_confirm_cb)
{
    return on(h).call<master::set_reset_confirm_cb>(reset_confirm_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_reset_confirm_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_reset_confirm_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_reset_result_cb(rpc_port_proxy_kv_master_h h,
                                                        rpc_port_kv_master_reset_result_cb_h reset_result_cb)
{
    return on(h).call<master::set_reset_result_cb>(reset_result_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_reset_result_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_reset_result_cb>();
}

int rpc_port_proxy_kv_master_invoke_send_reset_confirm(rpc_port_proxy_kv_master_h h, bool confirm)
{
    return on(h).call<master::send_reset_confirm>(confirm);
}

int rpc_port_proxy_kv_master_invoke_reset(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::reset>();
}

int rpc_port_proxy_kv_master_invoke_set_pin_cb(rpc_port_proxy_kv_master_h h,
                                               rpc_port_kv_master_pin_generate_cb_h pin_generate_cb,
                                               rpc_port_kv_master_pin_display_close_cb_h pin_display_close_cb)
{
    return on(h).call<master::set_pin_cb>(pin_generate_cb, pin_display_close_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_pin_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_pin_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_wifi_ap_provisioning_cb_h wifi_ap_provisioning_cb)
{
    return on(h).call<master::set_wifi_ap_provisioning_cb>(wifi_ap_provisioning_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_wifi_ap_provisioning_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_wifi_ap_provisioning_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_device_provisioning_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_device_provisioning_cb_h device_provisioning_cb)
{
    return on(h).call<master::set_device_provisioning_cb>(device_provisioning_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_device_provisioning_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_device_provisioning_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_scan_ap_cb(rpc_port_proxy_kv_master_h h,
                                                   rpc_port_kv_master_scan_ap_cb_h scan_ap_cb)
{
    return on(h).call<master::set_scan_ap_cb>(scan_ap_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_scan_ap_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_scan_ap_cb>();
}

int rpc_port_proxy_kv_master_invoke_send_ap_list(rpc_port_proxy_kv_master_h h, int req_id,
                                                 rpc_port_array_korvane_ap_info_h ap_list)
{
    return on(h).call<master::send_ap_list>(req_id, ap_list);
}

int rpc_port_proxy_kv_master_invoke_set_softap_stop_cb(rpc_port_proxy_kv_master_h h,
                                                       rpc_port_kv_master_softap_stop_cb_h softap_stop_cb)
{
    return on(h).call<master::set_softap_stop_cb>(softap_stop_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_softap_stop_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_softap_stop_cb>();
}

int rpc_port_proxy_kv_master_invoke_get_device_id(rpc_port_proxy_kv_master_h h, char **device_id)
{
    return on(h).call<master::get_device_id>(device_id);
}

int rpc_port_proxy_kv_master_invoke_get_easysetup_status(rpc_port_proxy_kv_master_h h, bool *status)
{
    return on(h).call<master::get_easysetup_status>(status);
}

int rpc_port_proxy_kv_master_invoke_signup_cloud(rpc_port_proxy_kv_master_h h, rpc_port_korvane_cloud_info_h cloud_info)
{
    return on(h).call<master::signup_cloud>(cloud_info);
}

int rpc_port_proxy_kv_master_invoke_set_preconfigured_pin(rpc_port_proxy_kv_master_h h, const char *pin)
{
    return on(h).call<master::set_preconfigured_pin>(pin);
}

int rpc_port_proxy_kv_master_invoke_set_mot_status(rpc_port_proxy_kv_master_h h, bool enable)
{
    return on(h).call<master::set_mot_status>(enable);
}

int rpc_port_proxy_kv_master_invoke_set_ultrasound_pin_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_ultrasound_pin_generate_cb_h ultrasound_pin_generate_cb,
    rpc_port_kv_master_ultrasound_pin_stop_cb_h ultrasound_pin_stop_cb)
{
    return on(h).call<master::set_ultrasound_pin_cb>(ultrasound_pin_generate_cb, ultrasound_pin_stop_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_ultrasound_pin_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_ultrasound_pin_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_platform_info(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_korvane_platform_info_h platform_info)
{
    return on(h).call<master::set_platform_info>(platform_info);
}

int rpc_port_proxy_kv_master_invoke_set_regist_set_device(rpc_port_proxy_kv_master_h h, const char *regist_set_device)
{
    return on(h).call<master::set_regist_set_device>(regist_set_device);
}

int rpc_port_proxy_kv_master_invoke_set_api_version(rpc_port_proxy_kv_master_h h, int major, int minor, int patch)
{
    return on(h).call<master::set_api_version>(major, minor, patch);
}

int rpc_port_proxy_kv_master_invoke_set_last_status_info(rpc_port_proxy_kv_master_h h,
                                                         rpc_port_korvane_last_status_info_h last_status_info)
{
    return on(h).call<master::set_last_status_info>(last_status_info);
}

int rpc_port_proxy_kv_master_invoke_register_sub_device(rpc_port_proxy_kv_master_h h, int device_no,
                                                        const char *device_id)
{
    return on(h).call<master::register_sub_device>(device_no, device_id);
}

int rpc_port_proxy_kv_master_invoke_unregister_sub_device(rpc_port_proxy_kv_master_h h, int device_no)
{
    return on(h).call<master::unregister_sub_device>(device_no);
}

int rpc_port_proxy_kv_master_invoke_set_cloud_device_list_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_cloud_device_list_cb_h cloud_device_list_cb)
{
    return on(h).call<master::set_cloud_device_list_cb>(cloud_device_list_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_cloud_device_list_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_cloud_device_list_cb>();
}

int rpc_port_proxy_kv_master_invoke_get_device_owned_status(rpc_port_proxy_kv_master_h h, bool *is_owned)
{
    return on(h).call<master::get_device_owned_status>(is_owned);
}

int rpc_port_proxy_kv_master_invoke_set_platform_info_with_device_no(rpc_port_proxy_kv_master_h h, int device_no,
                                                                     const char *platform_info)
{
    return on(h).call<master::set_platform_info_with_device_no>(device_no, platform_info);
}

int rpc_port_proxy_kv_master_invoke_set_nick_name(rpc_port_proxy_kv_master_h h, int device_no, const char *nick)
{
    return on(h).call<master::set_nick_name>(device_no, nick);
}

int rpc_port_proxy_kv_master_invoke_set_otm_support_feature_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_otm_support_feature_cb_h otm_support_feature_cb)
{
    return on(h).call<master::set_otm_support_feature_cb>(otm_support_feature_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_otm_support_feature_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_otm_support_feature_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_wifi_connection_error_code(rpc_port_proxy_kv_master_h h, int error_code)
{
    return on(h).call<master::set_wifi_connection_error_code>(error_code);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info(rpc_port_proxy_kv_master_h h, const char *vendor_info)
{
    return on(h).call<master::set_provisioning_vendor_info>(vendor_info);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_vendor_info_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_vendor_info_cb_h provisioning_vendor_info_cb)
{
    return on(h).call<master::set_provisioning_vendor_info_cb>(provisioning_vendor_info_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_provisioning_vendor_info_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_provisioning_vendor_info_cb>();
}

int rpc_port_proxy_kv_master_invoke_set_easysetup_version_info(rpc_port_proxy_kv_master_h h, const char *version_info)
{
    return on(h).call<master::set_easysetup_version_info>(version_info);
}

int rpc_port_proxy_kv_master_invoke_set_sso_list(rpc_port_proxy_kv_master_h h, const char *sso_list)
{
    return on(h).call<master::set_sso_list>(sso_list);
}

int rpc_port_proxy_kv_master_invoke_set_provisioning_language_cb(
    rpc_port_proxy_kv_master_h h, rpc_port_kv_master_provisioning_language_cb_h provisioning_language_cb)
{
    return on(h).call<master::set_provisioning_language_cb>(provisioning_language_cb);
}

int rpc_port_proxy_kv_master_invoke_unset_provisioning_language_cb(rpc_port_proxy_kv_master_h h)
{
    return on(h).call<master::unset_provisioning_language_cb>();
}

int rpc_port_proxy_kv_master_invoke_send_provisioning_language_setting_result(rpc_port_proxy_kv_master_h h, int req_id,
                                                                              bool result)
{
    return on(h).call<master::send_provisioning_language_setting_result>(req_id, result);
}

int rpc_port_proxy_kv_master_invoke_set_language_list(rpc_port_proxy_kv_master_h h,
                                                      rpc_port_array_korvane_language_info_h languages)
{
    return on(h).call<master::set_language_list>(languages);
}
