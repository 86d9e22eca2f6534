// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/array_codec.hpp"
#include "src/kv_master/interface.hpp"

/*
 * The named functions of the arrays. All return 0, or -1 with a log line. set_array_... replaces the items by clones of
 * those given, which the caller keeps.
 */

using rpc_port_array_korvane_ap_info_h = kv::master::ArrayValue<kv::master::ap_info_array> *;
int rpc_port_array_korvane_ap_info_create(rpc_port_array_korvane_ap_info_h *h);
int rpc_port_array_korvane_ap_info_destroy(rpc_port_array_korvane_ap_info_h h);
int rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos(rpc_port_array_korvane_ap_info_h h,
                                                              rpc_port_korvane_ap_info_h const *items, int count);

using rpc_port_array_korvane_language_info_h = kv::master::ArrayValue<kv::master::language_info_array> *;
int rpc_port_array_korvane_language_info_create(rpc_port_array_korvane_language_info_h *h);
int rpc_port_array_korvane_language_info_destroy(rpc_port_array_korvane_language_info_h h);
int rpc_port_array_korvane_language_info_set_array_korvane_language_infos(rpc_port_array_korvane_language_info_h h,
                                                                          rpc_port_korvane_language_info_h const *items,
                                                                          int count);

using rpc_port_array_korvane_keepalive_info_h = kv::master::ArrayValue<kv::master::keepalive_info_array> *;
int rpc_port_array_korvane_keepalive_info_create(rpc_port_array_korvane_keepalive_info_h *h);
int rpc_port_array_korvane_keepalive_info_destroy(rpc_port_array_korvane_keepalive_info_h h);
int rpc_port_array_korvane_keepalive_info_set_array_korvane_keepalive_infos(
    rpc_port_array_korvane_keepalive_info_h h, rpc_port_korvane_keepalive_info_h const *items, int count);

using rpc_port_array_korvane_keepalive_index_info_h = kv::master::ArrayValue<kv::master::keepalive_index_info_array> *;
int rpc_port_array_korvane_keepalive_index_info_create(rpc_port_array_korvane_keepalive_index_info_h *h);
int rpc_port_array_korvane_keepalive_index_info_destroy(rpc_port_array_korvane_keepalive_index_info_h h);
int rpc_port_array_korvane_keepalive_index_info_set_array_korvane_keepalive_index_infos(
    rpc_port_array_korvane_keepalive_index_info_h h, rpc_port_korvane_keepalive_index_info_h const *items, int count);

using rpc_port_array_korvane_cloud_device_info_h = kv::master::ArrayValue<kv::master::cloud_device_info_array> *;
int rpc_port_array_korvane_cloud_device_info_create(rpc_port_array_korvane_cloud_device_info_h *h);
int rpc_port_array_korvane_cloud_device_info_destroy(rpc_port_array_korvane_cloud_device_info_h h);
int rpc_port_array_korvane_cloud_device_info_set_array_korvane_cloud_device_infos(
    rpc_port_array_korvane_cloud_device_info_h h, rpc_port_korvane_cloud_device_info_h const *items, int count);

using rpc_port_array_int_h = kv::master::ArrayValue<kv::master::int_array> *;
int rpc_port_array_int_create(rpc_port_array_int_h *h);
int rpc_port_array_int_destroy(rpc_port_array_int_h h);
int rpc_port_array_int_set_array_ints(rpc_port_array_int_h h, const int *items, int count);
