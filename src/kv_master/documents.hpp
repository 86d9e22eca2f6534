// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"

#include <algorithm>
#include <cstdint>

/// The JSON documents of the agent's interface: the only place with their keys, types and secrets. A document is a
/// namespace with one constant per member, and `document`, the table of them. The elements of methods and delegates that
/// hold a document name it (`DocumentText` in interface.hpp).
namespace kv::master {

enum class JsonType : std::uint8_t { string, number, boolean, array, object, any };

struct Document;

struct Member {
    const char *key;
    JsonType type;
    bool secret = false;             // no log, journal or trace shows it
    int since = any_agent;           // the lowest agent version that knows it
    const Document *items = nullptr; // of an array of objects
};

struct Document {
    const char *name;
    int since; // the lowest agent version that knows it
    const Member *members;
    int count;

    template <int Count>
    constexpr Document(const char *document_name, int first_version, const Member (&table)[Count])
        : name(document_name), since(first_version), members(table), count(Count)
    {
    }
};

namespace documents {

/// The access point that the device is to join.
namespace wifi_ap {
inline constexpr Member ssid{.key = "ap_ssid", .type = JsonType::string};
inline constexpr Member password{.key = "ap_pwd", .type = JsonType::string, .secret = true};
inline constexpr Member authtype{.key = "ap_authtype", .type = JsonType::number};
inline constexpr Member enctype{.key = "ap_enctype", .type = JsonType::number};
inline constexpr Member channel{.key = "ap_channel", .type = JsonType::number};
inline constexpr Member bssid{.key = "ap_bssid", .type = JsonType::string, .since = since(1, 4)};
inline constexpr Member candidates{.key = "ap_candidates", .type = JsonType::string, .since = since(1, 3)}; // JSON text
inline constexpr Member members[] = {ssid, password, authtype, enctype, channel, bssid, candidates};
inline constexpr Document document{"wifi_ap", since(1, 3), members};
} // namespace wifi_ap

/// One access point of a scan list.
namespace ap_list_entry {
inline constexpr Member ssid{.key = "ssid", .type = JsonType::string};
inline constexpr Member bssid{.key = "bssid", .type = JsonType::string};
inline constexpr Member authtype{.key = "authtype", .type = JsonType::number};
inline constexpr Member enctype{.key = "enctype", .type = JsonType::number};
inline constexpr Member channel{.key = "channel", .type = JsonType::number};
inline constexpr Member signal_level{.key = "signal_level", .type = JsonType::number};
inline constexpr Member max_rate{.key = "max_rate", .type = JsonType::number};
inline constexpr Member frequency{.key = "frequency", .type = JsonType::number};
inline constexpr Member members[] = {ssid, bssid, authtype, enctype, channel, signal_level, max_rate, frequency};
inline constexpr Document document{"ap_list_entry", since(2, 3), members};
} // namespace ap_list_entry

/// Model and versions of a device or sub-device.
namespace platform_info {
inline constexpr Member model_number{.key = "model_number", .type = JsonType::string};
inline constexpr Member platform_version{.key = "p_ver", .type = JsonType::string};
inline constexpr Member vendor_id{.key = "vid", .type = JsonType::string};
inline constexpr Member manufacture_date{.key = "mf_date", .type = JsonType::string, .since = since(1, 4)};
inline constexpr Member firmware_version{.key = "f_ver", .type = JsonType::string, .since = since(1, 4)};
inline constexpr Member members[] = {model_number, platform_version, vendor_id, manufacture_date, firmware_version};
inline constexpr Document document{"platform_info", since(1, 2), members};
} // namespace platform_info

/// Name, language and push registration of a device.
namespace device_profile {
inline constexpr Member nick{.key = "nick", .type = JsonType::string};
inline constexpr Member locale{.key = "locale", .type = JsonType::string};
inline constexpr Member push_reg_id{.key = "pushregid", .type = JsonType::string, .secret = true};
inline constexpr Member push_app_id{.key = "pushappid", .type = JsonType::string};
inline constexpr Member push_provider{.key = "pushprovider", .type = JsonType::string};
inline constexpr Member serial_number{.key = "sn", .type = JsonType::string, .since = since(2, 0)};
inline constexpr Member members[] = {nick, locale, push_reg_id, push_app_id, push_provider, serial_number};
inline constexpr Document document{"device_profile", since(1, 3), members};
} // namespace device_profile

/// Terms and conditions that a user is to accept. They are private to user and cloud.
namespace terms {
inline constexpr Member version{.key = "tnc_version", .type = JsonType::string, .secret = true};
inline constexpr Member header{.key = "tnc_header", .type = JsonType::string, .secret = true};
inline constexpr Member members[] = {version, header};
inline constexpr Document document{"terms", since(1, 3), members};
} // namespace terms

/// The TCP connection of the agent to the cloud.
namespace tcp_header {
inline constexpr Member ip_version{.key = "tcp_header_info_ip_version", .type = JsonType::number};
inline constexpr Member src_addr{.key = "tcp_header_info_src_addr", .type = JsonType::string};
inline constexpr Member src_port{.key = "tcp_header_info_src_port", .type = JsonType::number};
inline constexpr Member dst_addr{.key = "tcp_header_info_dst_addr", .type = JsonType::string};
inline constexpr Member dst_port{.key = "tcp_header_info_dst_port", .type = JsonType::number};
inline constexpr Member seq_num{.key = "tcp_header_info_seq_num", .type = JsonType::number};
inline constexpr Member ack_num{.key = "tcp_header_info_ack_num", .type = JsonType::number};
inline constexpr Member window{.key = "tcp_header_info_window", .type = JsonType::number};
inline constexpr Member window_scale{.key = "tcp_header_info_window_scale", .type = JsonType::number};
inline constexpr Member members[] = {ip_version, src_addr, src_port, dst_addr,    dst_port,
                                     seq_num,    ack_num,  window,   window_scale};
inline constexpr Document document{"tcp_header", since(1, 4), members};
} // namespace tcp_header

/// One sub-device of a presence list, which is an array of these.
namespace presence {
inline constexpr Member device_id{.key = "di", .type = JsonType::string};
inline constexpr Member state{.key = "prs", .type = JsonType::number};
inline constexpr Member members[] = {device_id, state};
inline constexpr Document document{"presence", since(1, 6), members};
} // namespace presence

/// A token for a service of the cloud.
namespace token {
inline constexpr Member uuid{.key = "uuid", .type = JsonType::string};
inline constexpr Member server_name{.key = "server_name", .type = JsonType::string};
inline constexpr Member server_url{.key = "server_url", .type = JsonType::string};
inline constexpr Member expiration_time{.key = "expiration_time", .type = JsonType::number};
inline constexpr Member access_token{.key = "access_token", .type = JsonType::string, .secret = true};
inline constexpr Member error{.key = "error", .type = JsonType::string}; // in place of the others
inline constexpr Member members[] = {uuid, server_name, server_url, expiration_time, access_token, error};
inline constexpr Document document{"token", since(2, 1), members};
} // namespace token

inline constexpr const Document *all[] = {&wifi_ap::document,        &ap_list_entry::document, &platform_info::document,
                                          &device_profile::document, &terms::document,         &tcp_header::document,
                                          &presence::document,       &token::document};

} // namespace documents

/// A request of the generic method: a document whose member "common_interface" is the command number.
struct Command : Document {
    int number;

    template <int Count>
    constexpr Command(int command_number, const char *command_name, int first_version, const Member (&table)[Count])
        : Document(command_name, first_version, table), number(command_number)
    {
    }
};

namespace commands {

inline constexpr Member number{.key = "common_interface", .type = JsonType::number};
inline constexpr Member device_no{.key = "device_no", .type = JsonType::number};

namespace set_device_type {
inline constexpr Member device_type{.key = "device_type", .type = JsonType::string};
inline constexpr Member members[] = {number, device_no, device_type};
inline constexpr Command command{1, "set_device_type", since(2, 0), members};
} // namespace set_device_type

namespace custom_push_message {
inline constexpr Member message{.key = "custom_push_msg", .type = JsonType::any, .secret = true};
inline constexpr Member members[] = {number, message};
inline constexpr Command command{2, "custom_push_message", since(2, 0), members};
} // namespace custom_push_message

namespace sign_up_cloud {
inline constexpr Member region{.key = "region", .type = JsonType::string};
inline constexpr Member auth_provider{.key = "auth_provider", .type = JsonType::string};
inline constexpr Member access_token{.key = "access_token", .type = JsonType::string, .secret = true};
inline constexpr Member refresh_token{.key = "refresh_token", .type = JsonType::string, .secret = true};
inline constexpr Member user_id{.key = "user_id", .type = JsonType::string, .secret = true};
inline constexpr Member client_id{.key = "client_id", .type = JsonType::string, .secret = true};
inline constexpr Member ci_server{.key = "ci_server", .type = JsonType::string};
inline constexpr Member deploy_env{.key = "deploy_env", .type = JsonType::string};
inline constexpr Member token_type{.key = "iatt", .type = JsonType::number};
inline constexpr Member members[] = {region,    auth_provider, access_token, refresh_token, user_id,
                                     client_id, ci_server,     deploy_env,   token_type,    number};
inline constexpr Command command{3, "sign_up_cloud", since(2, 0), members};
} // namespace sign_up_cloud

namespace set_device_property {
inline constexpr Member dev_name{.key = "dev_name", .type = JsonType::string};
inline constexpr Member wifi_mode{.key = "wifi_mode", .type = JsonType::number};
inline constexpr Member wifi_freq{.key = "wifi_freq", .type = JsonType::number};
inline constexpr Member wifi_authtype{.key = "wifi_authtype", .type = JsonType::array}; // of numbers
inline constexpr Member members[] = {number, dev_name, wifi_mode, wifi_freq, wifi_authtype};
inline constexpr Command command{4, "set_device_property", since(2, 2), members};
} // namespace set_device_property

namespace disable_signin {
inline constexpr Member disable{.key = "disable_signin", .type = JsonType::boolean};
inline constexpr Member members[] = {number, disable};
inline constexpr Command command{5, "disable_signin", since(2, 2), members};
} // namespace disable_signin

namespace send_ap_list {
inline constexpr Member ap_list{
    .key = "ap_list_array", .type = JsonType::array, .items = &documents::ap_list_entry::document};
inline constexpr Member req_id{.key = "req_id", .type = JsonType::number};
inline constexpr Member members[] = {ap_list, number, req_id};
inline constexpr Command command{6, "send_ap_list", since(2, 3), members};
} // namespace send_ap_list

/// The description of a request whose number is not below.
namespace unknown {
inline constexpr Member members[] = {number};
inline constexpr Document document{"unknown", since(2, 0), members};
} // namespace unknown

/// By number, from 1.
inline constexpr const Command *all[] = {&set_device_type::command, &custom_push_message::command,
                                         &sign_up_cloud::command,   &set_device_property::command,
                                         &disable_signin::command,  &send_ap_list::command};

} // namespace commands

constexpr bool may_hold_secrets(const Document &document)
{
    return std::any_of(document.members, document.members + document.count,
                       [](const Member &one) { return one.secret; });
}

/// Commands are one element whose secrets depend on the number in it.
template <int Count>
constexpr bool may_hold_secrets(const Command *const (&)[Count])
{
    return true;
}

constexpr bool holds_only_secrets(const Document &document)
{
    return std::all_of(document.members, document.members + document.count,
                       [](const Member &one) { return one.secret; });
}

} // namespace kv::master
