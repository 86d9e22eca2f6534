// SPDX-License-Identifier: Apache-2.0
#include "arrays.hpp"

#include "record_functions.hpp"

using namespace kv;
using namespace kv::proxy;

int rpc_port_array_korvane_ap_info_create(rpc_port_array_korvane_ap_info_h *h)
{
    return create_array<master::ap_info_array>(h);
}

int rpc_port_array_korvane_ap_info_destroy(rpc_port_array_korvane_ap_info_h h)
{
    return destroy_record(h);
}

int rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos(rpc_port_array_korvane_ap_info_h h,
                                                              rpc_port_korvane_ap_info_h const *items, int count)
{
    return set_items<master::ap_info_array>(h, items, count);
}

int rpc_port_array_korvane_language_info_create(rpc_port_array_korvane_language_info_h *h)
{
    return create_array<master::language_info_array>(h);
}

int rpc_port_array_korvane_language_info_destroy(rpc_port_array_korvane_language_info_h h)
{
    return destroy_record(h);
}

int rpc_port_array_korvane_language_info_set_array_korvane_language_infos(rpc_port_array_korvane_language_info_h h,
                                                                          rpc_port_korvane_language_info_h const *items,
                                                                          int count)
{
    return set_items<master::language_info_array>(h, items, count);
}

int rpc_port_array_korvane_keepalive_info_create(rpc_port_array_korvane_keepalive_info_h *h)
{
    return create_array<master::keepalive_info_array>(h);
}

int rpc_port_array_korvane_keepalive_info_destroy(rpc_port_array_korvane_keepalive_info_h h)
{
    return destroy_record(h);
}

int rpc_port_array_korvane_keepalive_info_set_array_korvane_keepalive_infos(
    rpc_port_array_korvane_keepalive_info_h h, rpc_port_korvane_keepalive_info_h const *items, int count)
{
    return set_items<master::keepalive_info_array>(h, items, count);
}

int rpc_port_array_korvane_keepalive_index_info_create(rpc_port_array_korvane_keepalive_index_info_h *h)
{
    return create_array<master::keepalive_index_info_array>(h);
}

int rpc_port_array_korvane_keepalive_index_info_destroy(rpc_port_array_korvane_keepalive_index_info_h h)
{
    return destroy_record(h);
}

int rpc_port_array_korvane_keepalive_index_info_set_array_korvane_keepalive_index_infos(
    rpc_port_array_korvane_keepalive_index_info_h h, rpc_port_korvane_keepalive_index_info_h const *items, int count)
{
    return set_items<master::keepalive_index_info_array>(h, items, count);
}

int rpc_port_array_korvane_cloud_device_info_create(rpc_port_array_korvane_cloud_device_info_h *h)
{
    return create_array<master::cloud_device_info_array>(h);
}

int rpc_port_array_korvane_cloud_device_info_destroy(rpc_port_array_korvane_cloud_device_info_h h)
{
    return destroy_record(h);
}

int rpc_port_array_korvane_cloud_device_info_set_array_korvane_cloud_device_infos(
    rpc_port_array_korvane_cloud_device_info_h h, rpc_port_korvane_cloud_device_info_h const *items, int count)
{
    return set_items<master::cloud_device_info_array>(h, items, count);
}

int rpc_port_array_int_create(rpc_port_array_int_h *h)
{
    return create_array<master::int_array>(h);
}

int rpc_port_array_int_destroy(rpc_port_array_int_h h)
{
    return destroy_record(h);
}

int rpc_port_array_int_set_array_ints(rpc_port_array_int_h h, const int *items, int count)
{
    return set_items<master::int_array>(h, items, count);
}
