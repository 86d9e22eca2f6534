// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"
#include "src/korvane/core/values/record_array.hpp"
#include "src/korvane_master_proxy/arrays.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

namespace {

void _provisioning_language_cb(void *user_data, int req_id, const char *type, const char *value)
{
    const auto request = static_cast<unsigned>(req_id);
    log::info()("req_id [%u], type [%s], value [%s]"_fmt, request, type, value);
    deliver<korvane_provisioning_language_cb>(user_data, Caller::here(), request, type, value);
}

using ProvisioningLanguage =
    RegistrationOf<master::events::provisioning_language, "provisioning_language_cb is NULL",
                   ConvertedEvent<korvane_provisioning_language_cb, _provisioning_language_cb>>;

using Languages = RecordArray<master::language_info_array>;

/// Appends one record for each of the texts.
bool fill(ReadyCall &call, Languages &records, const char *const *texts, int count)
{
    if (!append_records(records, count, rpc_port_korvane_language_info_create)) {
        master::log::error(call.caller())("Failed to create korvane_language_info handle"_fmt);
        return call.require_memory(false).passed();
    }
    for (int i = 0; i < count; ++i) {
        if (!call.require(texts[i] != nullptr, "Invalid param : language_list[%d] is NULL"_fmt, i).passed())
            return false;
        const int err = rpc_port_korvane_language_info_set_language(records.items[i], texts[i]);
        if (!call.require_memory(err == 0).passed())
            return false;
    }
    return true;
}

} // namespace

int korvane_set_language_list(korvane_h handle, const char *const *language_list, int count)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.require(language_list && count > 0, "Invalid param : language_list=[%p], count=[%d]"_fmt,
                                    language_list, count)
                           .ready();
    if (!ready)
        return ready.result();

    log::info()("count [%d]"_fmt, count);
    rpc_port_array_korvane_language_info_h array = nullptr;
    if (!ready
             .require(rpc_port_array_korvane_language_info_create(&array) == 0, KORVANE_ERROR_OUT_OF_MEMORY,
                      "rpc_port_array_korvane_language_info_create() failed"_fmt)
             .passed())
        return ready.result();
    const Owned owner{array};

    Languages records;
    if (!fill(ready, records, language_list, count))
        return ready.result();
    if (!ready
             .require(rpc_port_array_korvane_language_info_set_array_korvane_language_infos(array, records.items,
                                                                                            count) == 0,
                      KORVANE_ERROR_OUT_OF_MEMORY,
                      "rpc_port_array_korvane_language_info_set_array_korvane_language_infos() failed"_fmt)
             .passed())
        return ready.result();
    records.clear(); // the clones are enough while the agent is waited for
    return ready.invoke<master::set_language_list>(array);
}

int korvane_send_provisioning_language_setting_result(korvane_h handle, unsigned int req_id, bool result)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("req_id [%u], result [%s]"_fmt, req_id, result ? "true" : "false");
    return ready.invoke<master::send_provisioning_language_setting_result>(static_cast<int>(req_id), result);
}

int korvane_set_provisioning_language_cb(korvane_h handle, korvane_provisioning_language_cb callback, void *user_data)
{
    return ProvisioningLanguage::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_provisioning_language_cb(korvane_h handle)
{
    return ProvisioningLanguage::unset(Caller::here(), handle);
}
