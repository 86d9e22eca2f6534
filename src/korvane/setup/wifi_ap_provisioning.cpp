// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"
#include "src/korvane_master_proxy/records.hpp"

#include <cstring>

/// The access point to join. There are two generations of the event: a record from older agents, a JSON document from
/// newer ones. Each has its delegate and methods; the application's callback is the same.

using namespace kv;
using namespace kv::api;

namespace {

/// Returns a handle over a copy of the record, or null without memory.
Owned<korvane_ap_info_s> clone_record(rpc_port_korvane_ap_info_h received)
{
    Owned ap_info{make_zeroed<korvane_ap_info_s>(WireFormat::record)};
    rpc_port_korvane_ap_info_h clone = nullptr;
    if (!ap_info || rpc_port_korvane_ap_info_clone(received, &clone) != 0)
        return {};
    ap_info->any_record = clone;
    return ap_info;
}

/// Returns a handle over the document, or null if the text is no JSON or memory runs out.
Owned<korvane_ap_info_s> document_handle(const char *text)
{
    Owned ap_info{make_zeroed<korvane_ap_info_s>(WireFormat::json)};
    if (!ap_info)
        return {};
    ap_info->json = parse_document(text);
    return ap_info->json ? std::move(ap_info) : Owned<korvane_ap_info_s>{};
}

/// Keeps the data of the event in the session in place of the last event's, and calls the application, with NULL if the
/// data could not be converted.
template <auto Convert, class Received>
void keep_and_deliver(void *user_data, Caller caller, Received received)
{
    const RegisteredDelegate *delegate = delegate_of(user_data, caller);
    if (!delegate)
        return;
    Owned<korvane_ap_info_s> &ap_info = delegate->session->event_data.ap_info;
    ap_info.reset();
    if (!delegate->app_callback)
        return;
    ap_info = Convert(received);
    deliver<korvane_wifi_ap_provisioning_cb>(user_data, caller, ap_info.get());
}

void _wifi_ap_provisioning_cb(void *user_data, rpc_port_korvane_ap_info_h received)
{
    log::info()("ssid [%s], authtype [%d], enctype [%d], channel [%d], bssid [%s]"_fmt, received->ssid.get(),
                received->authtype, received->enctype, received->channel, received->bssid.get());
    keep_and_deliver<clone_record>(user_data, Caller::here(), received);
}

void _wifi_ap_provisioning_cb_v2(void *user_data, const char *text)
{
    log::info()("text length [%d]"_fmt, text ? static_cast<int>(strlen(text)) : 0); // it has the password
    keep_and_deliver<document_handle>(user_data, Caller::here(), text);
}

using RecordGeneration = RegistrationOf<master::events::wifi_ap_provisioning, "callback is NULL",
                                        ConvertedEvent<korvane_wifi_ap_provisioning_cb, _wifi_ap_provisioning_cb>>;

using JsonGeneration = RegistrationOf<master::events::wifi_ap_provisioning_v2, "callback is NULL",
                                      ConvertedEvent<korvane_wifi_ap_provisioning_cb, _wifi_ap_provisioning_cb_v2>>;

/// Both generations use one slot of the session.
consteval RegistrationRow beside(RegistrationRow row, const RegistrationRow &other)
{
    row.slot = RecordGeneration::row.slot;
    row.other_generation = other.delegate_ids[0];
    row.minimum_version = any_agent; // the set function chooses a generation that the agent knows
    return row;
}

constexpr RegistrationRow record_row = beside(RecordGeneration::row, JsonGeneration::row);
constexpr RegistrationRow json_row = beside(JsonGeneration::row, RecordGeneration::row);

const RegistrationRow &row_of_agent()
{
    return korvane_ap_info_s::of_agent() == WireFormat::record ? record_row : json_row;
}

/// Releases the data of the last event. `logged` says whether a present one is worth a line.
void release_ap_info(ReadyCall &call, bool logged)
{
    Owned<korvane_ap_info_s> &ap_info = call.session()->event_data.ap_info;
    if (ap_info && logged)
        log::info(call.caller())("ap_info_h is already allocated, thus it will be released now"_fmt);
    ap_info.reset();
}

} // namespace

int korvane_set_wifi_ap_provisioning_cb(korvane_h handle, korvane_wifi_ap_provisioning_cb callback, void *user_data)
{
    AgentCall call{handle, any_agent};
    ReadyCall &ready = call.require_given(callback, "callback").ready();
    if (!ready)
        return ready.result();

    const RegistrationRow &row = row_of_agent();
    release_ap_info(ready, true);
    return set_registration(ready, row, reinterpret_cast<AnyFunction>(callback), nullptr, user_data);
}

int korvane_unset_wifi_ap_provisioning_cb(korvane_h handle)
{
    AgentCall call{handle, any_agent};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    const RegistrationRow &row = row_of_agent();
    const auto &ap_info = handle->event_data.ap_info;
    release_ap_info(ready, ap_info && ap_info->format == WireFormat::json);
    return unset_registration(ready, row);
}
