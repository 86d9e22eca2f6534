// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/command_document.hpp"
#include "src/korvane/core/events/event.hpp"
#include "src/korvane/core/values/record_array.hpp"
#include "src/korvane/core/values/versioned_handle.hpp"
#include "src/korvane_master_proxy/arrays.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

/// An array of records, or a document with an array of objects.
struct korvane_aplist_s : VersionedHandle<RecordArray<master::ap_info_array>, since(2, 3)> {
    using VersionedHandle::VersionedHandle;

    /// Returns the document's array, or null. It is looked up once: a document keeps the array that it was created with.
    const cJSON *json_array();

    /// Returns an entry of the document's array, or null. Walks from the entry that it returned last, so that a loop over a list
    /// takes one step per entry. Entries are neither added nor removed once the list is created.
    cJSON *json_entry(int idx);

private:
    const cJSON *array_ = nullptr;
    cJSON *last_entry_ = nullptr;
    int last_idx_ = 0;
};

const cJSON *korvane_aplist_s::json_array()
{
    if (!array_)
        array_ = cJSON_GetObjectItem(json.get(), master::commands::send_ap_list::ap_list.key);
    return array_;
}

cJSON *korvane_aplist_s::json_entry(int idx)
{
    if (!last_entry_)
        last_entry_ = cJSON_GetArrayItem(json_array(), 0);
    cJSON *entry = last_entry_;
    int at = last_idx_;
    for (; entry && at < idx; ++at)
        entry = entry->next;
    for (; at > idx && at > 0; --at)
        entry = entry->prev;
    if (!entry || at != idx)
        return nullptr;
    last_idx_ = idx;
    return last_entry_ = entry;
}

namespace {

/// A parcel has at most 16 MiB, and the smallest entry takes 32 bytes of it.
constexpr int max_entries = (16 << 20) / 32;

namespace request = master::commands::send_ap_list;
namespace entry_document = master::documents::ap_list_entry;

using ScanAp =
    RegistrationOf<master::events::scan_ap, "scan_ap_cb is NULL", PlainEvent<korvane_scan_ap_cb, "req_id [%d]">>;

template <class Value>
using EntryField = Field<rpc_port_korvane_ap_info_s, Value>;

constexpr EntryField<const char *> ssid_field{entry_document::ssid.key, rpc_port_korvane_ap_info_set_ssid};
constexpr EntryField<const char *> bssid_field{entry_document::bssid.key, rpc_port_korvane_ap_info_set_bssid};
constexpr EntryField<int> authtype_field{entry_document::authtype.key, rpc_port_korvane_ap_info_set_authtype};
constexpr EntryField<int> enctype_field{entry_document::enctype.key, rpc_port_korvane_ap_info_set_enctype};
constexpr EntryField<int> channel_field{entry_document::channel.key, rpc_port_korvane_ap_info_set_channel};
constexpr EntryField<int> signal_level_field{entry_document::signal_level.key,
                                             rpc_port_korvane_ap_info_set_signal_level};
constexpr EntryField<int> max_rate_field{entry_document::max_rate.key, rpc_port_korvane_ap_info_set_max_rate};
constexpr EntryField<int> frequency_field{entry_document::frequency.key};

/// The entry in the list's format; both are null if there is no such entry.
struct Entry {
    rpc_port_korvane_ap_info_h record = nullptr;
    cJSON *json = nullptr;
};

Entry entry_at(LocalCall &call, korvane_aplist_h list, int idx)
{
    if (list->format == WireFormat::record) {
        const auto &records = *list->record();
        call.require(idx >= 0 && idx < records.present, "idx[%d] : invalid value, list count = [%d]"_fmt, idx,
                     records.present);
        return {call.passed() ? records.items[idx] : nullptr, nullptr};
    }
    call.require_given(list->json_array(), "json_array_obj");
    cJSON *item = list->json_entry(idx);
    call.require_given(item, "json_obj_item");
    return {nullptr, item};
}

template <class Value>
[[gnu::noinline]] int set(LocalCall &call, korvane_aplist_h list, int idx, const EntryField<Value> &field, Value value)
{
    if (!require_agents_format(call, list))
        return call.result();
    const Entry entry = entry_at(call, list, idx);
    if (entry.record)
        field.set_in_record(entry.record, value); // a failed copy has its log line; the result stays 0
    else if (entry.json)
        call.require_memory(replace_member(entry.json, field.key, value));
    return call.result();
}

/// A setter of a number that all agents know.
int set_number(Caller caller, korvane_aplist_h list, int idx, const EntryField<int> &field, int value)
{
    LocalCall call{list, any_agent, caller};
    return set(call, list, idx, field, value);
}

bool fill_records(LocalCall &call, korvane_aplist_s &list, int count)
{
    list.any_record = make_zeroed<korvane_aplist_s::Record>();
    const bool whole = list.any_record && count <= max_entries &&
                       append_records(*list.record(), count, rpc_port_korvane_ap_info_create);
    return call.require_memory(whole).passed();
}

bool fill_document(LocalCall &call, korvane_aplist_s &list, int count)
{
    if (!call.require(count > 0, "count is negative"_fmt).require_memory(count <= max_entries).passed())
        return false;
    list.json.reset(cJSON_CreateObject());
    if (!call.require(bool(list.json), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed())
        return false;
    cJSON *array = cJSON_AddArrayToObject(list.json.get(), request::ap_list.key);
    if (!call.require(array != nullptr, KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateArray() failed"_fmt).passed())
        return false;
    bool whole = true;
    for (int i = 0; whole && i < count; ++i)
        whole = cJSON_AddItemToArray(array, cJSON_CreateObject());
    return call.require(whole, KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed();
}

int send_records(ReadyCall &call, const korvane_aplist_s &list, int req_id)
{
    rpc_port_array_korvane_ap_info_h array = nullptr;
    if (!call.require(rpc_port_array_korvane_ap_info_create(&array) == 0, KORVANE_ERROR_OUT_OF_MEMORY,
                      "rpc_port_array_korvane_ap_info_create() failed"_fmt)
             .passed())
        return call.result();
    const Owned owner{array};
    const auto &records = *list.record();
    if (!call.require(
                 rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos(array, records.items, records.present) == 0,
                 KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos() failed"_fmt)
             .passed())
        return call.result();
    return call.invoke<master::send_ap_list>(req_id, array);
}

/// Adds the members that make the list a request. They stay in the application's list.
int send_document(ReadyCall &call, cJSON *list, int req_id)
{
    bool whole = add_command(list, request::command.number);
    if (whole && !cJSON_AddNumberToObject(list, request::req_id.key, req_id)) {
        cJSON_DeleteItemFromArray(list, cJSON_GetArraySize(list) - 1); // takes the command number back
        whole = false;
    }
    return invoke_command(call, list, whole);
}

} // namespace

int korvane_set_scan_ap_cb(korvane_h handle, korvane_scan_ap_cb callback, void *user_data)
{
    return ScanAp::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_scan_ap_cb(korvane_h handle)
{
    return ScanAp::unset(Caller::here(), handle);
}

int korvane_aplist_create(korvane_aplist_h *list, int count)
{
    LocalCall call{list, any_agent};
    if (!call.require(count != 0, "count is zero"_fmt).passed())
        return call.result();

    korvane_aplist_s filled{korvane_aplist_s::of_agent()};
    const bool whole =
        filled.format == WireFormat::record ? fill_records(call, filled, count) : fill_document(call, filled, count);
    return whole ? hand_out_versioned(call, filled, list) : call.result();
}

int korvane_aplist_destroy(korvane_aplist_h list)
{
    LocalCall call{list, any_agent};
    if (call.passed())
        destroy(list);
    return call.result();
}

int korvane_aplist_set_ssid(korvane_aplist_h list, int idx, const char *ssid)
{
    LocalCall call{list, any_agent};
    call.require_given(ssid, "ssid");
    return set(call, list, idx, ssid_field, ssid);
}

int korvane_aplist_set_bssid(korvane_aplist_h list, int idx, const char *bssid)
{
    LocalCall call{list, any_agent};
    // The line names another argument. It stays so, because people filter logs for it.
    call.require_given(bssid, "pwd");
    return set(call, list, idx, bssid_field, bssid);
}

int korvane_aplist_set_authtype(korvane_aplist_h list, int idx, int authtype)
{
    return set_number(Caller::here(), list, idx, authtype_field, authtype);
}

int korvane_aplist_set_enctype(korvane_aplist_h list, int idx, int enctype)
{
    return set_number(Caller::here(), list, idx, enctype_field, enctype);
}

int korvane_aplist_set_channel(korvane_aplist_h list, int idx, int channel)
{
    return set_number(Caller::here(), list, idx, channel_field, channel);
}

int korvane_aplist_set_signal_level(korvane_aplist_h list, int idx, int signal_level)
{
    return set_number(Caller::here(), list, idx, signal_level_field, signal_level);
}

int korvane_aplist_set_max_rate(korvane_aplist_h list, int idx, int max_rate)
{
    return set_number(Caller::here(), list, idx, max_rate_field, max_rate);
}

int korvane_aplist_set_frequency(korvane_aplist_h list, int idx, int frequency)
{
    LocalCall call{list, since(2, 3)};
    return set(call, list, idx, frequency_field, frequency);
}

int korvane_send_ap_list(korvane_h handle, korvane_aplist_h list, int req_id)
{
    AgentCall call{handle, any_agent};
    call.require_given(list, "ap_list_h");
    require_agents_format(call, list);
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("req_id [%u]"_fmt, static_cast<unsigned>(req_id));
    return list->format == WireFormat::record ? send_records(ready, *list, req_id)
                                              : send_document(ready, list->json.get(), req_id);
}
