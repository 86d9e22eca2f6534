// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/proxy_fixture.hpp"

#include <string>
#include <type_traits>

/// The values in golden parcels, and the conversion of values to text.
namespace kv::test {

template <class Function>
struct FirstParameter;

template <class Result, class First, class... Rest>
struct FirstParameter<Result (*)(First, Rest...)> {
    using Type = First;
};

// Records and arrays in which every field has a different value.
rpc_port_korvane_ap_info_h an_ap(const char *ssid);
rpc_port_korvane_keepalive_info_h an_interval(int interval);
rpc_port_korvane_keepalive_index_info_h an_index(int index);
rpc_port_korvane_device_prov_info_h a_provisioning();
rpc_port_korvane_language_info_h a_language(const char *language);
rpc_port_korvane_cloud_device_info_h a_cloud_device(const char *device_id);
rpc_port_korvane_last_status_info_h a_last_status();
rpc_port_korvane_platform_info_h a_platform();
rpc_port_korvane_cloud_info_h a_cloud();
rpc_port_array_int_h numbers();                             // 1, -2, 3
rpc_port_array_korvane_ap_info_h aps();                     // home, attic
rpc_port_array_korvane_language_info_h languages();         // en_US, ko_KR
rpc_port_array_korvane_keepalive_info_h intervals();        // 60, 240
rpc_port_array_korvane_keepalive_index_info_h indexes();    // 0, 3
rpc_port_array_korvane_cloud_device_info_h cloud_devices(); // d-1, d-2

// The text of a record contains its type, so that a value of a wrong type differs.
std::string shown(int value);
std::string shown(bool value);
std::string shown(const char *value);
std::string shown(rpc_port_korvane_ap_info_h record);
std::string shown(rpc_port_korvane_keepalive_info_h record);
std::string shown(rpc_port_korvane_keepalive_index_info_h record);
std::string shown(rpc_port_korvane_device_prov_info_h record);
std::string shown(rpc_port_korvane_language_info_h record);
std::string shown(rpc_port_korvane_cloud_device_info_h record);
std::string shown(rpc_port_korvane_last_status_info_h record);
std::string shown(rpc_port_korvane_platform_info_h record);
std::string shown(rpc_port_korvane_cloud_info_h record);

inline const std::string &separator(bool needed)
{
    static const std::string comma = ", ";
    static const std::string nothing;
    return needed ? comma : nothing;
}

template <class Item>
std::string shown(kv::master::Array<Item> *array)
{
    std::string text = "[";
    for (int i = 0; i < array->present; ++i)
        text += separator(i > 0) + shown(array->items[i]);
    return text + "]";
}

} // namespace kv::test
