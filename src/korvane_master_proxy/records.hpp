// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/record_types.hpp"

/*
 * The named functions of the records. All return 0, or -1 with a log line.
 *
 * create    stores a new, zero-filled record, which the caller destroys
 * clone     stores a copy of a record; texts that are NULL stay NULL
 * set_...   stores a copy of a text, or a number; a NULL text is refused
 * get_...   stores a copy of a text, which the caller frees, or a number; fails for a text that is NULL
 */

int rpc_port_korvane_ap_info_create(rpc_port_korvane_ap_info_h *h);
int rpc_port_korvane_ap_info_destroy(rpc_port_korvane_ap_info_h h);
int rpc_port_korvane_ap_info_clone(rpc_port_korvane_ap_info_h source, rpc_port_korvane_ap_info_h *copy);
int rpc_port_korvane_ap_info_set_ssid(rpc_port_korvane_ap_info_h h, const char *ssid);
int rpc_port_korvane_ap_info_set_pwd(rpc_port_korvane_ap_info_h h, const char *pwd);
int rpc_port_korvane_ap_info_set_authtype(rpc_port_korvane_ap_info_h h, int authtype);
int rpc_port_korvane_ap_info_set_enctype(rpc_port_korvane_ap_info_h h, int enctype);
int rpc_port_korvane_ap_info_set_channel(rpc_port_korvane_ap_info_h h, int channel);
int rpc_port_korvane_ap_info_set_bssid(rpc_port_korvane_ap_info_h h, const char *bssid);
int rpc_port_korvane_ap_info_set_signal_level(rpc_port_korvane_ap_info_h h, int signal_level);
int rpc_port_korvane_ap_info_set_max_rate(rpc_port_korvane_ap_info_h h, int max_rate);
int rpc_port_korvane_ap_info_get_ssid(rpc_port_korvane_ap_info_h h, char **ssid);
int rpc_port_korvane_ap_info_get_pwd(rpc_port_korvane_ap_info_h h, char **pwd);
int rpc_port_korvane_ap_info_get_authtype(rpc_port_korvane_ap_info_h h, int *authtype);
int rpc_port_korvane_ap_info_get_enctype(rpc_port_korvane_ap_info_h h, int *enctype);
int rpc_port_korvane_ap_info_get_channel(rpc_port_korvane_ap_info_h h, int *channel);
int rpc_port_korvane_ap_info_get_bssid(rpc_port_korvane_ap_info_h h, char **bssid);

int rpc_port_korvane_keepalive_info_create(rpc_port_korvane_keepalive_info_h *h);
int rpc_port_korvane_keepalive_info_destroy(rpc_port_korvane_keepalive_info_h h);
int rpc_port_korvane_keepalive_info_clone(rpc_port_korvane_keepalive_info_h source,
                                          rpc_port_korvane_keepalive_info_h *copy);
int rpc_port_korvane_keepalive_info_set_interval(rpc_port_korvane_keepalive_info_h h, int interval);

int rpc_port_korvane_keepalive_index_info_create(rpc_port_korvane_keepalive_index_info_h *h);
int rpc_port_korvane_keepalive_index_info_destroy(rpc_port_korvane_keepalive_index_info_h h);
int rpc_port_korvane_keepalive_index_info_clone(rpc_port_korvane_keepalive_index_info_h source,
                                                rpc_port_korvane_keepalive_index_info_h *copy);
int rpc_port_korvane_keepalive_index_info_set_index(rpc_port_korvane_keepalive_index_info_h h, int index);

int rpc_port_korvane_device_prov_info_create(rpc_port_korvane_device_prov_info_h *h);
int rpc_port_korvane_device_prov_info_destroy(rpc_port_korvane_device_prov_info_h h);
int rpc_port_korvane_device_prov_info_clone(rpc_port_korvane_device_prov_info_h source,
                                            rpc_port_korvane_device_prov_info_h *copy);
int rpc_port_korvane_device_prov_info_set_language(rpc_port_korvane_device_prov_info_h h, const char *language);
int rpc_port_korvane_device_prov_info_set_country(rpc_port_korvane_device_prov_info_h h, const char *country);
int rpc_port_korvane_device_prov_info_set_datetime(rpc_port_korvane_device_prov_info_h h, const char *datetime);
int rpc_port_korvane_device_prov_info_set_rmd(rpc_port_korvane_device_prov_info_h h, const char *rmd);
int rpc_port_korvane_device_prov_info_set_account(rpc_port_korvane_device_prov_info_h h, const char *account);
int rpc_port_korvane_device_prov_info_get_language(rpc_port_korvane_device_prov_info_h h, char **language);
int rpc_port_korvane_device_prov_info_get_country(rpc_port_korvane_device_prov_info_h h, char **country);
int rpc_port_korvane_device_prov_info_get_datetime(rpc_port_korvane_device_prov_info_h h, char **datetime);
int rpc_port_korvane_device_prov_info_get_rmd(rpc_port_korvane_device_prov_info_h h, char **rmd);

int rpc_port_korvane_language_info_create(rpc_port_korvane_language_info_h *h);
int rpc_port_korvane_language_info_destroy(rpc_port_korvane_language_info_h h);
int rpc_port_korvane_language_info_clone(rpc_port_korvane_language_info_h source,
                                         rpc_port_korvane_language_info_h *copy);
int rpc_port_korvane_language_info_set_language(rpc_port_korvane_language_info_h h, const char *language);

int rpc_port_korvane_cloud_device_info_create(rpc_port_korvane_cloud_device_info_h *h);
int rpc_port_korvane_cloud_device_info_destroy(rpc_port_korvane_cloud_device_info_h h);
int rpc_port_korvane_cloud_device_info_clone(rpc_port_korvane_cloud_device_info_h source,
                                             rpc_port_korvane_cloud_device_info_h *copy);
int rpc_port_korvane_cloud_device_info_set_device_id(rpc_port_korvane_cloud_device_info_h h, const char *device_id);
int rpc_port_korvane_cloud_device_info_get_device_id(rpc_port_korvane_cloud_device_info_h h, char **device_id);

int rpc_port_korvane_last_status_info_create(rpc_port_korvane_last_status_info_h *h);
int rpc_port_korvane_last_status_info_destroy(rpc_port_korvane_last_status_info_h h);
int rpc_port_korvane_last_status_info_clone(rpc_port_korvane_last_status_info_h source,
                                            rpc_port_korvane_last_status_info_h *copy);
int rpc_port_korvane_last_status_info_set_timestamp(rpc_port_korvane_last_status_info_h h, int timestamp);
int rpc_port_korvane_last_status_info_set_error_code(rpc_port_korvane_last_status_info_h h, const char *error_code);

int rpc_port_korvane_platform_info_create(rpc_port_korvane_platform_info_h *h);
int rpc_port_korvane_platform_info_destroy(rpc_port_korvane_platform_info_h h);
int rpc_port_korvane_platform_info_clone(rpc_port_korvane_platform_info_h source,
                                         rpc_port_korvane_platform_info_h *copy);
int rpc_port_korvane_platform_info_set_model_number(rpc_port_korvane_platform_info_h h, const char *model_number);
int rpc_port_korvane_platform_info_set_platform_version(rpc_port_korvane_platform_info_h h,
                                                        const char *platform_version);

int rpc_port_korvane_cloud_info_create(rpc_port_korvane_cloud_info_h *h);
int rpc_port_korvane_cloud_info_destroy(rpc_port_korvane_cloud_info_h h);
int rpc_port_korvane_cloud_info_clone(rpc_port_korvane_cloud_info_h source, rpc_port_korvane_cloud_info_h *copy);
int rpc_port_korvane_cloud_info_set_region(rpc_port_korvane_cloud_info_h h, const char *region);
int rpc_port_korvane_cloud_info_set_auth_provider(rpc_port_korvane_cloud_info_h h, const char *auth_provider);
int rpc_port_korvane_cloud_info_set_access_token(rpc_port_korvane_cloud_info_h h, const char *access_token);
int rpc_port_korvane_cloud_info_set_refresh_token(rpc_port_korvane_cloud_info_h h, const char *refresh_token);
int rpc_port_korvane_cloud_info_set_user_id(rpc_port_korvane_cloud_info_h h, const char *user_id);
int rpc_port_korvane_cloud_info_set_client_id(rpc_port_korvane_cloud_info_h h, const char *client_id);
