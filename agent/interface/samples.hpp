// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"
#include "parcel.hpp"

#include <string_view>

/// A plausible value for each kind of element, as JSON: what `emit` sends when no values are given. Where a type alone
/// says too little, the name of the element selects the value.
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

/// Texts by the name of the element; where `is_json` is set, the text holds JSON.
struct SampleText {
    std::string_view name;
    const char *text;
    bool is_json = false;
};

// A table
// clang-format off
inline constexpr SampleText sample_texts[] = {
    {"ssid", "home"},
    {"pwd", "password"},
    {"bssid", "02:00:00:00:00:01"},
    {"pin", "12345678"},
    {"language", "en-GB"},
    {"country", "GB"},
    {"datetime", "2026-01-01T12:00:00Z"},
    {"account", "user@example.org"},
    {"group_id", "00000000-0000-4000-8000-000000000001"},
    {"device_id", "00000000-0000-4000-8000-000000000002"},
    {"text", R"({"sample":true})", true},
    {"result", R"({"accepted":true})", true},
    {"last_status", R"({"timestamp":1767268800,"error_code":"0"})", true},
    {"ap_info", R"({"ap_ssid":"home","ap_pwd":"password","ap_authtype":3,"ap_enctype":3,"ap_channel":11,"ap_bssid":"02:00:00:00:00:01","ap_candidates":"[]"})", true},
    {"token_info", R"({"uuid":"00000000-0000-4000-8000-000000000002","server_name":"cloud","server_url":"https://cloud.example.org","expiration_time":1798804800,"access_token":"sample-token"})", true},
};
// clang-format on

template <FixedText Name>
Json sample(describe::String<Name>)
{
    for (const SampleText &known : sample_texts)
        if (known.name == Name.text)
            return known.is_json ? Json::parse(known.text) : Json{known.text};
    return Name.text;
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
