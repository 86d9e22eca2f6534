// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"
#include "decode.hpp"

/// A value of each kind that events carry, as a command writes it: what an event brings when nothing is said of it. Values
/// that only some sense has are chosen by name.
namespace kv::virtual_agent {

template <FixedText Name>
Json sample(describe::Int32<Name>)
{
    return 0;
}
inline Json sample(describe::Int32<"status">)
{
    return 1;
}
inline Json sample(describe::Int32<"req_id">)
{
    return 1;
}
inline Json sample(describe::Int32<"channel">)
{
    return 11;
}

template <FixedText Name>
Json sample(describe::Bool<Name>)
{
    return true;
}

template <FixedText Name>
Json sample(describe::String<Name>)
{
    return Name.text;
}
inline Json sample(describe::String<"ssid">)
{
    return "home";
}
inline Json sample(describe::Secret<"pwd">)
{
    return "password";
}
inline Json sample(describe::String<"bssid">)
{
    return "02:00:00:00:00:01";
}
inline Json sample(describe::Secret<"pin">)
{
    return "12345678";
}
inline Json sample(describe::String<"language">)
{
    return "en-GB";
}
inline Json sample(describe::String<"country">)
{
    return "GB";
}
inline Json sample(describe::String<"datetime">)
{
    return "2026-01-01T12:00:00Z";
}
inline Json sample(describe::String<"account">)
{
    return "user@example.org";
}
inline Json sample(describe::String<"group_id">)
{
    return "00000000-0000-4000-8000-000000000001";
}
inline Json sample(describe::String<"device_id">)
{
    return "00000000-0000-4000-8000-000000000002";
}

// Texts that are documents.
inline Json sample(describe::String<"text">)
{
    return std::move(Json::object().set("sample", true));
}
inline Json sample(describe::String<"result">)
{
    return std::move(Json::object().set("accepted", true));
}
inline Json sample(describe::String<"last_status">)
{
    return std::move(Json::object().set("timestamp", 1'767'268'800).set("error_code", "0"));
}
inline Json sample(describe::Secret<"ap_info">)
{
    Json network = Json::object();
    network.set("ap_ssid", "home").set("ap_pwd", "password").set("ap_authtype", 3).set("ap_enctype", 3);
    network.set("ap_channel", 11).set("ap_bssid", "02:00:00:00:00:01").set("ap_candidates", "[]");
    return network;
}
inline Json sample(describe::Secret<"token_info">)
{
    Json token = Json::object();
    token.set("uuid", "00000000-0000-4000-8000-000000000002").set("server_name", "cloud");
    token.set("server_url", "https://cloud.example.org").set("expiration_time", 1'798'804'800);
    token.set("access_token", "sample-token");
    return token;
}

template <class R, FixedText Name>
Json sample(describe::Rec<R, Name>);

template <class R>
Json sample_record(R)
{
    Json fields = Json::object();
    describe::for_each(typename R::fields{},
                       [&]<class F>() { fields.set(F::element::name, sample(typename F::element{})); });
    return fields;
}

template <class R, FixedText Name>
Json sample(describe::Rec<R, Name>)
{
    return sample_record(R{});
}

template <FixedText Name, class R>
Json sample_item(describe::RecordArray<Name, R>)
{
    return sample_record(R{});
}
template <FixedText Name>
Json sample_item(describe::IntArray<Name>)
{
    return 1;
}

template <class A, FixedText Name>
Json sample(describe::Arr<A, Name>)
{
    return std::move(Json::array().append(sample_item(A{})));
}

} // namespace kv::virtual_agent
