// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/owned.hpp"

#include <rpc_port.h>

namespace kv::master {

/// The beginning of every value with a writer and a reader of its own. The platform calls the two functions and takes no
/// result from them, so the value itself records whether it was transferred completely.
struct Parcelable {
    rpc_port_parcelable_t functions{};
    bool complete = true;
};

} // namespace kv::master

// The records of the interface. They own their texts; a text is null if it was not set or if memory ran out.

struct rpc_port_korvane_ap_info_s : kv::master::Parcelable {
    kv::CText ssid;
    kv::CText pwd;
    int authtype = 0;
    int enctype = 0;
    int channel = 0;
    kv::CText bssid;
    int signal_level = 0;
    int max_rate = 0;
};

struct rpc_port_korvane_keepalive_info_s : kv::master::Parcelable {
    int interval = 0;
};

struct rpc_port_korvane_keepalive_index_info_s : kv::master::Parcelable {
    int index = 0;
};

struct rpc_port_korvane_device_prov_info_s : kv::master::Parcelable {
    kv::CText language;
    kv::CText country;
    kv::CText datetime;
    kv::CText rmd; // the registering mobile device
    kv::CText account;
};

struct rpc_port_korvane_language_info_s : kv::master::Parcelable {
    kv::CText language;
};

struct rpc_port_korvane_cloud_device_info_s : kv::master::Parcelable {
    kv::CText device_id;
};

struct rpc_port_korvane_last_status_info_s : kv::master::Parcelable {
    int timestamp = 0;
    kv::CText error_code;
};

struct rpc_port_korvane_platform_info_s : kv::master::Parcelable {
    kv::CText model_number;
    kv::CText platform_version;
};

struct rpc_port_korvane_cloud_info_s : kv::master::Parcelable {
    kv::CText region;
    kv::CText auth_provider;
    kv::CText access_token;
    kv::CText refresh_token;
    kv::CText user_id;
    kv::CText client_id;
};

using rpc_port_korvane_ap_info_h = rpc_port_korvane_ap_info_s *;
using rpc_port_korvane_keepalive_info_h = rpc_port_korvane_keepalive_info_s *;
using rpc_port_korvane_keepalive_index_info_h = rpc_port_korvane_keepalive_index_info_s *;
using rpc_port_korvane_device_prov_info_h = rpc_port_korvane_device_prov_info_s *;
using rpc_port_korvane_language_info_h = rpc_port_korvane_language_info_s *;
using rpc_port_korvane_cloud_device_info_h = rpc_port_korvane_cloud_device_info_s *;
using rpc_port_korvane_last_status_info_h = rpc_port_korvane_last_status_info_s *;
using rpc_port_korvane_platform_info_h = rpc_port_korvane_platform_info_s *;
using rpc_port_korvane_cloud_info_h = rpc_port_korvane_cloud_info_s *;
