// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

namespace {

/// The handle is the wire record itself, whatever the agent's version, seen from outside.
rpc_port_korvane_last_status_info_h record_of(korvane_last_status_info_h handle)
{
    return reinterpret_cast<rpc_port_korvane_last_status_info_h>(handle);
}

using LastStatusChanged = RegistrationOf<master::events::last_status_changed, "callback is NULL",
                                         PlainEvent<korvane_last_status_changed_cb, "last_status [%s]">>;

} // namespace

int korvane_set_last_status_changed_cb(korvane_h handle, korvane_last_status_changed_cb callback, void *user_data)
{
    return LastStatusChanged::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_last_status_changed_cb(korvane_h handle)
{
    return LastStatusChanged::unset(Caller::here(), handle);
}

int korvane_laststatusinfo_create(korvane_last_status_info_h *last_status_info)
{
    LocalCall call{last_status_info, since(1, 1)};
    if (!call.passed())
        return call.result();

    rpc_port_korvane_last_status_info_h record = nullptr;
    const bool created = rpc_port_korvane_last_status_info_create(&record) == 0;
    if (call.require(created, KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_korvane_last_status_info_create() failed"_fmt)
            .passed())
        *last_status_info = reinterpret_cast<korvane_last_status_info_h>(record);
    return call.result();
}

int korvane_laststatusinfo_destroy(korvane_last_status_info_h last_status_info)
{
    LocalCall call{last_status_info, since(1, 1)};
    if (call.passed())
        rpc_port_korvane_last_status_info_destroy(record_of(last_status_info));
    return call.result();
}

int korvane_laststatusinfo_set_timestamp(korvane_last_status_info_h last_status_info, int timestamp)
{
    LocalCall call{last_status_info, since(1, 1)};
    if (call.passed())
        rpc_port_korvane_last_status_info_set_timestamp(record_of(last_status_info), timestamp);
    return call.result();
}

int korvane_laststatusinfo_set_error_code(korvane_last_status_info_h last_status_info, const char *error_code)
{
    LocalCall call{last_status_info, since(1, 1)};
    // A failed copy has its log line; the result stays 0, as in every setter of a record.
    if (call.require_given(error_code, "error_code").passed())
        rpc_port_korvane_last_status_info_set_error_code(record_of(last_status_info), error_code);
    return call.result();
}

int korvane_set_last_status_info(korvane_h handle, korvane_last_status_info_h last_status_info)
{
    AgentCall call{handle, since(1, 1)};
    call.require_given(last_status_info, "last_status_info_h");
    return call.ready().invoke<master::set_last_status_info>(record_of(last_status_info));
}
