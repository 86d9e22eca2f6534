// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/command_document.hpp"
#include "src/korvane/core/events/event.hpp"
#include "src/korvane/core/values/zeroed_array.hpp"
#include "src/korvane_master_proxy/arrays.hpp"

using namespace kv;
using namespace kv::api;

namespace {

namespace device_type_command = master::commands::set_device_type;

void _cloud_device_list_cb(void *user_data, rpc_port_array_korvane_cloud_device_info_h devices)
{
    const int count = devices->present;
    log::info()("count [%d]"_fmt, count);
    // The application receives plain texts, which the records own during the call. One item more than needed, since an
    // allocation of no bytes may return null.
    ZeroedArray<const char *> device_ids{count + 1};
    if (!device_ids) {
        log::error()("Memory allocation is failed"_fmt);
        return;
    }
    for (int i = 0; i < count; ++i) {
        device_ids[i] = devices->items[i]->device_id.get();
        log::info()("device_id [%s]"_fmt, device_ids[i]);
    }
    deliver<korvane_cloud_device_list_cb>(user_data, Caller::here(), static_cast<const char *const *>(device_ids.get()),
                                          count);
}

using NickChanged = RegistrationOf<master::events::nick_changed, "callback is NULL",
                                   PlainEvent<korvane_nick_changed_cb, "device_no [%d], nick [%s]">>;

using CloudDeviceList = RegistrationOf<master::events::cloud_device_list, "cloud_device_list_cb is NULL",
                                       ConvertedEvent<korvane_cloud_device_list_cb, _cloud_device_list_cb>>;

} // namespace

int korvane_set_nick_changed_cb(korvane_h handle, korvane_nick_changed_cb callback, void *user_data)
{
    return NickChanged::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_nick_changed_cb(korvane_h handle)
{
    return NickChanged::unset(Caller::here(), handle);
}

int korvane_set_cloud_device_list_cb(korvane_h handle, korvane_cloud_device_list_cb callback, void *user_data)
{
    return CloudDeviceList::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_cloud_device_list_cb(korvane_h handle)
{
    return CloudDeviceList::unset(Caller::here(), handle);
}

int korvane_get_device_owned_status(korvane_h handle, bool *is_owned)
{
    AgentCall call{handle, since(1, 2)};
    call.require_given(is_owned, "is_owned");
    return call.ready().invoke<master::get_device_owned_status>(is_owned);
}

int korvane_set_regist_set_device(korvane_h handle, const char *rsd)
{
    AgentCall call{handle, since(1, 1)};
    call.require_given(rsd, "rsd");
    return call.ready().invoke<master::set_regist_set_device>(rsd);
}

int korvane_set_nick_name(korvane_h handle, int device_no, const char *nick)
{
    AgentCall call{handle, since(1, 2)};
    ReadyCall &ready =
        call.require_given(nick, "nick").require(device_no >= 0, "Invalid device no [%d]"_fmt, device_no).ready();
    if (!ready)
        return ready.result();

    log::info()("nick [%s], device_no [%d]"_fmt, nick, device_no);
    return ready.invoke<master::set_nick_name>(device_no, nick);
}

int korvane_set_device_name(korvane_h handle, const char *device_name)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.require_given(device_name, "device name").ready();
    if (!ready)
        return ready.result();

    log::info()("device_name [%s]"_fmt, device_name);
    return ready.invoke<master::set_device_name>(device_name);
}

int korvane_set_device_name_with_device_no(korvane_h handle, const char *device_name, int device_no)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.require(device_no >= 0, "Invalid device_no : [%d]"_fmt, device_no)
                           .require_given(device_name, "device name")
                           .ready();
    if (!ready)
        return ready.result();

    log::info()("device_name [%s], device_no [%d]"_fmt, device_name, device_no);
    // The agent takes the number first.
    return ready.invoke<master::set_device_name_with_device_no>(device_no, device_name);
}

int korvane_set_device_type_with_device_no(korvane_h handle, int device_no, const char *device_type)
{
    AgentCall call{handle, since(2, 0)};
    ReadyCall &ready = call.require(device_no >= 0, "Invalid device_no : [%d]"_fmt, device_no)
                           .require_given(device_type, "device type")
                           .ready();
    if (!ready)
        return ready.result();

    log::info()("device_type [%s], device_no [%d]"_fmt, device_type, device_no);
    const Json request = create_command(ready, device_type_command::command.number);
    if (!ready.passed())
        return ready.result();
    const bool whole = cJSON_AddNumberToObject(request.get(), master::commands::device_no.key, device_no) &&
                       cJSON_AddStringToObject(request.get(), device_type_command::device_type.key, device_type);
    ready.require_memory(whole);
    return invoke_command(ready, request.get());
}
