// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_members.hpp"
#include "src/korvane/core/session/event_slot.hpp"
#include "src/korvane/core/values/record_members.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

namespace {

namespace document = master::documents::wifi_ap;

/// A member of the access point in both formats: its JSON key, the out argument's name for the log, the lowest agent
/// version that knows it, and its getter in the record. Agents that send records do not know the last two.
template <class Value>
struct Member {
    JsonField in_document;
    RecordGetter<rpc_port_korvane_ap_info_s, Value> in_record;
};

constexpr Member<char *> ssid_member{{document::ssid.key, "ssid", any_agent},
                                     {"rpc_port_korvane_ap_info_get_ssid", rpc_port_korvane_ap_info_get_ssid}};
constexpr Member<char *> pwd_member{{document::password.key, "pwd", any_agent},
                                    {"rpc_port_korvane_ap_info_get_pwd", rpc_port_korvane_ap_info_get_pwd}};
constexpr Member<int> authtype_member{{document::authtype.key, "authtype", any_agent},
                                      {"rpc_port_korvane_ap_info_get_authtype", rpc_port_korvane_ap_info_get_authtype}};
constexpr Member<int> enctype_member{{document::enctype.key, "enctype", any_agent},
                                     {"rpc_port_korvane_ap_info_get_enctype", rpc_port_korvane_ap_info_get_enctype}};
constexpr Member<int> channel_member{{document::channel.key, "channel", any_agent},
                                     {"rpc_port_korvane_ap_info_get_channel", rpc_port_korvane_ap_info_get_channel}};
constexpr Member<char *> candidates_member{{document::candidates.key, "candidate_ap_json", document::candidates.since},
                                           {}};
constexpr Member<char *> bssid_member{{document::bssid.key, "bssid", document::bssid.since}, {}};

template <class Value>
[[gnu::noinline]] int read(Caller caller, korvane_ap_info_h ap_info, const Member<Value> &member, Value *value)
{
    LocalCall call{ap_info, member.in_document.minimum, caller};
    call.require_given(value, member.in_document.name);
    if (!require_agents_format(call, ap_info))
        return call.result();
    if (ap_info->format == WireFormat::record)
        return read_member(call, ap_info->record(), member.in_record, value);
    return hand_out(call, cJSON_GetObjectItem(ap_info->json.get(), member.in_document.key), value);
}

} // namespace

int korvane_apinfo_get_ssid(korvane_ap_info_h ap_info, char **ssid)
{
    return read(Caller::here(), ap_info, ssid_member, ssid);
}

int korvane_apinfo_get_password(korvane_ap_info_h ap_info, char **pwd)
{
    return read(Caller::here(), ap_info, pwd_member, pwd);
}

int korvane_apinfo_get_authtype(korvane_ap_info_h ap_info, int *authtype)
{
    return read(Caller::here(), ap_info, authtype_member, authtype);
}

int korvane_apinfo_get_enctype(korvane_ap_info_h ap_info, int *enctype)
{
    return read(Caller::here(), ap_info, enctype_member, enctype);
}

int korvane_apinfo_get_channel(korvane_ap_info_h ap_info, int *channel)
{
    return read(Caller::here(), ap_info, channel_member, channel);
}

int korvane_apinfo_get_candidate_ap(korvane_ap_info_h ap_info, char **candidate_ap_json)
{
    return read(Caller::here(), ap_info, candidates_member, candidate_ap_json);
}

int korvane_apinfo_get_bssid(korvane_ap_info_h ap_info, char **bssid)
{
    return read(Caller::here(), ap_info, bssid_member, bssid);
}
