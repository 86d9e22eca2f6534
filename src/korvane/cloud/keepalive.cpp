// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"
#include "src/korvane/core/values/record_array.hpp"
#include "src/korvane_master_proxy/arrays.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

namespace {

// The two functions differ in the argument, the record of one number, the array of records, and the method.

struct Intervals {
    using Array = master::keepalive_info_array;
    static constexpr const char *argument = "interval_array";
    static constexpr const char *record = "korvane_keepalive_info";
    static constexpr auto create_record = rpc_port_korvane_keepalive_info_create;
    static constexpr auto set_number = rpc_port_korvane_keepalive_info_set_interval;
    static constexpr auto create_array = rpc_port_array_korvane_keepalive_info_create;
    static constexpr auto set_items = rpc_port_array_korvane_keepalive_info_set_array_korvane_keepalive_infos;
    using Method = master::set_keepalive_intervals;
};

struct Indexes {
    using Array = master::keepalive_index_info_array;
    static constexpr const char *argument = "index_array";
    static constexpr const char *record = "korvane_keepalive_index_info";
    static constexpr auto create_record = rpc_port_korvane_keepalive_index_info_create;
    static constexpr auto set_number = rpc_port_korvane_keepalive_index_info_set_index;
    static constexpr auto create_array = rpc_port_array_korvane_keepalive_index_info_create;
    static constexpr auto set_items =
        rpc_port_array_korvane_keepalive_index_info_set_array_korvane_keepalive_index_infos;
    using Method = master::select_keepalive_intervals;
};

template <class Table>
bool fill(ReadyCall &call, RecordArray<typename Table::Array> &records, const int *numbers, int count)
{
    if (!append_records(records, count, Table::create_record)) {
        master::log::error(call.caller())("Failed to create %s handle"_fmt, Table::record);
        return call.require_memory(false).passed();
    }
    for (int i = 0; i < count; ++i)
        Table::set_number(records.items[i], numbers[i]);
    return true;
}

/// The checks of both functions, and their log line.
ReadyCall &check(AgentCall &call, const char *argument, const int *numbers, int count)
{
    call.require(numbers && count > 0, "Invalid param : %s=[%p], count=[%d]"_fmt, argument, numbers, count);
    ReadyCall &ready = call.ready();
    if (ready)
        log::info(ready.caller())("count [%d]"_fmt, count);
    return ready;
}

template <class Table>
int send_numbers(Caller caller, korvane_h handle, const int *numbers, int count)
{
    AgentCall call{handle, since(1, 3), caller};
    ReadyCall &ready = check(call, Table::argument, numbers, count);
    if (!ready)
        return ready.result();

    RecordArray<typename Table::Array> records;
    if (!fill<Table>(ready, records, numbers, count))
        return ready.result();
    RecordArray<typename Table::Array> *created = nullptr;
    Table::create_array(&created);
    Owned<RecordArray<typename Table::Array>> array{created};
    if (!ready.require(bool(array), KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_array_%s_create() failed"_fmt, Table::record)
             .passed())
        return ready.result();
    if (!ready
             .require(Table::set_items(array.get(), records.items, count) == 0, KORVANE_ERROR_OUT_OF_MEMORY,
                      "rpc_port_array_%s_set_array_%ss() failed"_fmt, Table::record, Table::record)
             .passed())
        return ready.result();
    records.clear();
    return ready.invoke<typename Table::Method>(array.get());
}

using KeepaliveResult = RegistrationOf<master::events::keepalive_result, "callback is NULL",
                                       PlainEvent<korvane_keepalive_result_cb, "result [%d]">>;

} // namespace

int korvane_set_keepalive_intervals(korvane_h handle, const int *interval_array, int count)
{
    return send_numbers<Intervals>(Caller::here(), handle, interval_array, count);
}

int korvane_select_keepalive_intervals(korvane_h handle, const int *index_array, int count)
{
    return send_numbers<Indexes>(Caller::here(), handle, index_array, count);
}

int korvane_send_keepalive(korvane_h handle)
{
    AgentCall call{handle, since(1, 3)};
    return call.ready().invoke<master::send_keepalive>();
}

int korvane_send_presence(korvane_h handle, int state)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("state [%d] (on: 0 / inactive: 1)"_fmt, state);
    return ready.invoke<master::send_presence>(state);
}

int korvane_set_keepalive_result_cb(korvane_h handle, korvane_keepalive_result_cb callback, void *user_data)
{
    return KeepaliveResult::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_keepalive_result_cb(korvane_h handle)
{
    return KeepaliveResult::unset(Caller::here(), handle);
}
