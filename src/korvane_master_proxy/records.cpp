// SPDX-License-Identifier: Apache-2.0
#include "records.hpp"

#include "record_functions.hpp"
#include "src/kv_master/interface.hpp"

using namespace kv;
using namespace kv::proxy;

// ap_info

int rpc_port_korvane_ap_info_create(rpc_port_korvane_ap_info_h *h)
{
    return create_record<master::ap_info>(h);
}

int rpc_port_korvane_ap_info_destroy(rpc_port_korvane_ap_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_ap_info_clone(rpc_port_korvane_ap_info_h source, rpc_port_korvane_ap_info_h *copy)
{
    return clone_record<master::ap_info>(source, copy);
}

int rpc_port_korvane_ap_info_set_ssid(rpc_port_korvane_ap_info_h h, const char *ssid)
{
    return set_text(h, &rpc_port_korvane_ap_info_s::ssid, ssid);
}

int rpc_port_korvane_ap_info_set_pwd(rpc_port_korvane_ap_info_h h, const char *pwd)
{
    return set_text(h, &rpc_port_korvane_ap_info_s::pwd, pwd);
}

int rpc_port_korvane_ap_info_set_authtype(rpc_port_korvane_ap_info_h h, int authtype)
{
    return set_number(h, &rpc_port_korvane_ap_info_s::authtype, authtype);
}

int rpc_port_korvane_ap_info_set_enctype(rpc_port_korvane_ap_info_h h, int enctype)
{
    return set_number(h, &rpc_port_korvane_ap_info_s::enctype, enctype);
}

int rpc_port_korvane_ap_info_set_channel(rpc_port_korvane_ap_info_h h, int channel)
{
    return set_number(h, &rpc_port_korvane_ap_info_s::channel, channel);
}

int rpc_port_korvane_ap_info_set_bssid(rpc_port_korvane_ap_info_h h, const char *bssid)
{
    return set_text(h, &rpc_port_korvane_ap_info_s::bssid, bssid);
}

int rpc_port_korvane_ap_info_set_signal_level(rpc_port_korvane_ap_info_h h, int signal_level)
{
    return set_number(h, &rpc_port_korvane_ap_info_s::signal_level, signal_level);
}

int rpc_port_korvane_ap_info_set_max_rate(rpc_port_korvane_ap_info_h h, int max_rate)
{
    return set_number(h, &rpc_port_korvane_ap_info_s::max_rate, max_rate);
}

int rpc_port_korvane_ap_info_get_ssid(rpc_port_korvane_ap_info_h h, char **ssid)
{
    return get_text(h, &rpc_port_korvane_ap_info_s::ssid, "ssid", ssid);
}

int rpc_port_korvane_ap_info_get_pwd(rpc_port_korvane_ap_info_h h, char **pwd)
{
    return get_text(h, &rpc_port_korvane_ap_info_s::pwd, "pwd", pwd);
}

int rpc_port_korvane_ap_info_get_authtype(rpc_port_korvane_ap_info_h h, int *authtype)
{
    return get_number(h, &rpc_port_korvane_ap_info_s::authtype, authtype);
}

int rpc_port_korvane_ap_info_get_enctype(rpc_port_korvane_ap_info_h h, int *enctype)
{
    return get_number(h, &rpc_port_korvane_ap_info_s::enctype, enctype);
}

int rpc_port_korvane_ap_info_get_channel(rpc_port_korvane_ap_info_h h, int *channel)
{
    return get_number(h, &rpc_port_korvane_ap_info_s::channel, channel);
}

int rpc_port_korvane_ap_info_get_bssid(rpc_port_korvane_ap_info_h h, char **bssid)
{
    return get_text(h, &rpc_port_korvane_ap_info_s::bssid, "bssid", bssid);
}

// keepalive_info

int rpc_port_korvane_keepalive_info_create(rpc_port_korvane_keepalive_info_h *h)
{
    return create_record<master::keepalive_info>(h);
}

int rpc_port_korvane_keepalive_info_destroy(rpc_port_korvane_keepalive_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_keepalive_info_clone(rpc_port_korvane_keepalive_info_h source,
                                          rpc_port_korvane_keepalive_info_h *copy)
{
    return clone_record<master::keepalive_info>(source, copy);
}

int rpc_port_korvane_keepalive_info_set_interval(rpc_port_korvane_keepalive_info_h h, int interval)
{
    return set_number(h, &rpc_port_korvane_keepalive_info_s::interval, interval);
}

// keepalive_index_info

int rpc_port_korvane_keepalive_index_info_create(rpc_port_korvane_keepalive_index_info_h *h)
{
    return create_record<master::keepalive_index_info>(h);
}

int rpc_port_korvane_keepalive_index_info_destroy(rpc_port_korvane_keepalive_index_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_keepalive_index_info_clone(rpc_port_korvane_keepalive_index_info_h source,
                                                rpc_port_korvane_keepalive_index_info_h *copy)
{
    return clone_record<master::keepalive_index_info>(source, copy);
}

int rpc_port_korvane_keepalive_index_info_set_index(rpc_port_korvane_keepalive_index_info_h h, int index)
{
    return set_number(h, &rpc_port_korvane_keepalive_index_info_s::index, index);
}

// device_prov_info

int rpc_port_korvane_device_prov_info_create(rpc_port_korvane_device_prov_info_h *h)
{
    return create_record<master::device_prov_info>(h);
}

int rpc_port_korvane_device_prov_info_destroy(rpc_port_korvane_device_prov_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_device_prov_info_clone(rpc_port_korvane_device_prov_info_h source,
                                            rpc_port_korvane_device_prov_info_h *copy)
{
    return clone_record<master::device_prov_info>(source, copy);
}

int rpc_port_korvane_device_prov_info_set_language(rpc_port_korvane_device_prov_info_h h, const char *language)
{
    return set_text(h, &rpc_port_korvane_device_prov_info_s::language, language);
}

int rpc_port_korvane_device_prov_info_set_country(rpc_port_korvane_device_prov_info_h h, const char *country)
{
    return set_text(h, &rpc_port_korvane_device_prov_info_s::country, country);
}

int rpc_port_korvane_device_prov_info_set_datetime(rpc_port_korvane_device_prov_info_h h, const char *datetime)
{
    return set_text(h, &rpc_port_korvane_device_prov_info_s::datetime, datetime);
}

int rpc_port_korvane_device_prov_info_set_rmd(rpc_port_korvane_device_prov_info_h h, const char *rmd)
{
    return set_text(h, &rpc_port_korvane_device_prov_info_s::rmd, rmd);
}

int rpc_port_korvane_device_prov_info_set_account(rpc_port_korvane_device_prov_info_h h, const char *account)
{
    return set_text(h, &rpc_port_korvane_device_prov_info_s::account, account);
}

int rpc_port_korvane_device_prov_info_get_language(rpc_port_korvane_device_prov_info_h h, char **language)
{
    return get_text(h, &rpc_port_korvane_device_prov_info_s::language, "language", language);
}

int rpc_port_korvane_device_prov_info_get_country(rpc_port_korvane_device_prov_info_h h, char **country)
{
    return get_text(h, &rpc_port_korvane_device_prov_info_s::country, "country", country);
}

int rpc_port_korvane_device_prov_info_get_datetime(rpc_port_korvane_device_prov_info_h h, char **datetime)
{
    return get_text(h, &rpc_port_korvane_device_prov_info_s::datetime, "datetime", datetime);
}

int rpc_port_korvane_device_prov_info_get_rmd(rpc_port_korvane_device_prov_info_h h, char **rmd)
{
    return get_text(h, &rpc_port_korvane_device_prov_info_s::rmd, "rmd", rmd);
}

// language_info

int rpc_port_korvane_language_info_create(rpc_port_korvane_language_info_h *h)
{
    return create_record<master::language_info>(h);
}

int rpc_port_korvane_language_info_destroy(rpc_port_korvane_language_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_language_info_clone(rpc_port_korvane_language_info_h source,
                                         rpc_port_korvane_language_info_h *copy)
{
    return clone_record<master::language_info>(source, copy);
}

int rpc_port_korvane_language_info_set_language(rpc_port_korvane_language_info_h h, const char *language)
{
    return set_text(h, &rpc_port_korvane_language_info_s::language, language);
}

// cloud_device_info

int rpc_port_korvane_cloud_device_info_create(rpc_port_korvane_cloud_device_info_h *h)
{
    return create_record<master::cloud_device_info>(h);
}

int rpc_port_korvane_cloud_device_info_destroy(rpc_port_korvane_cloud_device_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_cloud_device_info_clone(rpc_port_korvane_cloud_device_info_h source,
                                             rpc_port_korvane_cloud_device_info_h *copy)
{
    return clone_record<master::cloud_device_info>(source, copy);
}

int rpc_port_korvane_cloud_device_info_set_device_id(rpc_port_korvane_cloud_device_info_h h, const char *device_id)
{
    return set_text(h, &rpc_port_korvane_cloud_device_info_s::device_id, device_id);
}

int rpc_port_korvane_cloud_device_info_get_device_id(rpc_port_korvane_cloud_device_info_h h, char **device_id)
{
    return get_text(h, &rpc_port_korvane_cloud_device_info_s::device_id, "device_id", device_id);
}

// last_status_info

int rpc_port_korvane_last_status_info_create(rpc_port_korvane_last_status_info_h *h)
{
    return create_record<master::last_status_info>(h);
}

int rpc_port_korvane_last_status_info_destroy(rpc_port_korvane_last_status_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_last_status_info_clone(rpc_port_korvane_last_status_info_h source,
                                            rpc_port_korvane_last_status_info_h *copy)
{
    return clone_record<master::last_status_info>(source, copy);
}

int rpc_port_korvane_last_status_info_set_timestamp(rpc_port_korvane_last_status_info_h h, int timestamp)
{
    return set_number(h, &rpc_port_korvane_last_status_info_s::timestamp, timestamp);
}

int rpc_port_korvane_last_status_info_set_error_code(rpc_port_korvane_last_status_info_h h, const char *error_code)
{
    return set_text(h, &rpc_port_korvane_last_status_info_s::error_code, error_code);
}

// platform_info

int rpc_port_korvane_platform_info_create(rpc_port_korvane_platform_info_h *h)
{
    return create_record<master::platform_info>(h);
}

int rpc_port_korvane_platform_info_destroy(rpc_port_korvane_platform_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_platform_info_clone(rpc_port_korvane_platform_info_h source,
                                         rpc_port_korvane_platform_info_h *copy)
{
    return clone_record<master::platform_info>(source, copy);
}

int rpc_port_korvane_platform_info_set_model_number(rpc_port_korvane_platform_info_h h, const char *model_number)
{
    return set_text(h, &rpc_port_korvane_platform_info_s::model_number, model_number);
}

int rpc_port_korvane_platform_info_set_platform_version(rpc_port_korvane_platform_info_h h,
                                                        const char *platform_version)
{
    return set_text(h, &rpc_port_korvane_platform_info_s::platform_version, platform_version);
}

// cloud_info

int rpc_port_korvane_cloud_info_create(rpc_port_korvane_cloud_info_h *h)
{
    return create_record<master::cloud_info>(h);
}

int rpc_port_korvane_cloud_info_destroy(rpc_port_korvane_cloud_info_h h)
{
    return destroy_record(h);
}

int rpc_port_korvane_cloud_info_clone(rpc_port_korvane_cloud_info_h source, rpc_port_korvane_cloud_info_h *copy)
{
    return clone_record<master::cloud_info>(source, copy);
}

int rpc_port_korvane_cloud_info_set_region(rpc_port_korvane_cloud_info_h h, const char *region)
{
    return set_text(h, &rpc_port_korvane_cloud_info_s::region, region);
}

int rpc_port_korvane_cloud_info_set_auth_provider(rpc_port_korvane_cloud_info_h h, const char *auth_provider)
{
    return set_text(h, &rpc_port_korvane_cloud_info_s::auth_provider, auth_provider);
}

int rpc_port_korvane_cloud_info_set_access_token(rpc_port_korvane_cloud_info_h h, const char *access_token)
{
    return set_text(h, &rpc_port_korvane_cloud_info_s::access_token, access_token);
}

int rpc_port_korvane_cloud_info_set_refresh_token(rpc_port_korvane_cloud_info_h h, const char *refresh_token)
{
    return set_text(h, &rpc_port_korvane_cloud_info_s::refresh_token, refresh_token);
}

int rpc_port_korvane_cloud_info_set_user_id(rpc_port_korvane_cloud_info_h h, const char *user_id)
{
    return set_text(h, &rpc_port_korvane_cloud_info_s::user_id, user_id);
}

int rpc_port_korvane_cloud_info_set_client_id(rpc_port_korvane_cloud_info_h h, const char *client_id)
{
    return set_text(h, &rpc_port_korvane_cloud_info_s::client_id, client_id);
}
