// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/command_document.hpp"
#include "src/korvane/core/events/event.hpp"

using namespace kv;
using namespace kv::api;

namespace {

namespace property = master::commands::set_device_property;

using StatusChanged = RegistrationOf<master::events::status_changed, "callback is NULL",
                                     PlainEvent<korvane_status_changed_cb, "status [%d]">>;

using UserConfirm =
    RegistrationOf<master::events::user_confirm, "callback is NULL", PlainEvent<korvane_user_confirm_cb>>;

using ResetConfirm =
    RegistrationOf<master::events::reset_confirm, "callback is NULL", PlainEvent<korvane_reset_confirm_cb>>;

using ResetResult = RegistrationOf<master::events::reset_result, "callback is NULL",
                                   PlainEvent<korvane_reset_result_cb, "result [%s]">>;

/// For log lines that are written before the arguments are checked.
const char *or_null(const char *text)
{
    return text ? text : "(null)";
}

/// The checks of both functions for device properties, in their order.
void require_property(AgentCall &call, const char *dev_name, int wifi_mode, int wifi_freq)
{
    call.require_given(dev_name, "dev_name")
        .require(wifi_mode > 0 && wifi_freq > 0, "Invalid param, wifi_mode=[0x%x], wifi_freq=[0x%x]"_fmt, wifi_mode,
                 wifi_freq);
}

bool add_property(cJSON *request, const char *dev_name, int wifi_mode, int wifi_freq)
{
    return cJSON_AddStringToObject(request, property::dev_name.key, dev_name) &&
           cJSON_AddNumberToObject(request, property::wifi_mode.key, wifi_mode) &&
           cJSON_AddNumberToObject(request, property::wifi_freq.key, wifi_freq);
}

} // namespace

int korvane_set_status_changed_cb(korvane_h handle, korvane_status_changed_cb callback, void *user_data)
{
    return StatusChanged::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_status_changed_cb(korvane_h handle)
{
    return StatusChanged::unset(Caller::here(), handle);
}

int korvane_set_user_confirm_cb(korvane_h handle, korvane_user_confirm_cb callback, void *user_data)
{
    return UserConfirm::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_user_confirm_cb(korvane_h handle)
{
    return UserConfirm::unset(Caller::here(), handle);
}

int korvane_set_reset_confirm_cb(korvane_h handle, korvane_reset_confirm_cb callback, void *user_data)
{
    return ResetConfirm::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_reset_confirm_cb(korvane_h handle)
{
    return ResetConfirm::unset(Caller::here(), handle);
}

int korvane_set_reset_result_cb(korvane_h handle, korvane_reset_result_cb callback, void *user_data)
{
    return ResetResult::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_reset_result_cb(korvane_h handle)
{
    return ResetResult::unset(Caller::here(), handle);
}

int korvane_get_device_id(korvane_h handle, char **device_id)
{
    AgentCall call{handle, any_agent};
    ReadyCall &ready = call.require_given(device_id, "device_id").ready();
    if (!ready)
        return ready.result();

    CText received;
    if (int code = ready.invoke<master::get_device_id>(received.out()))
        return code;
    *device_id = received.release();
    return KORVANE_ERROR_NONE;
}

int korvane_get_easysetup_status(korvane_h handle, bool *status)
{
    AgentCall call{handle, any_agent};
    call.require_given(status, "status");
    return call.ready().invoke<master::get_easysetup_status>(status);
}

int korvane_reset(korvane_h handle)
{
    AgentCall call{handle, any_agent};
    return call.ready().invoke<master::reset>();
}

int korvane_send_reset_confirm(korvane_h handle, bool confirm)
{
    AgentCall call{handle, any_agent};
    return call.ready().invoke<master::send_reset_confirm>(confirm);
}

int korvane_send_user_confirm(korvane_h handle, bool confirm)
{
    AgentCall call{handle, any_agent};
    return call.ready().invoke<master::send_user_confirm>(confirm);
}

int korvane_set_device_property(korvane_h handle, const char *dev_name, int wifi_mode, int wifi_freq)
{
    log::info()("dev_name [%s], wifi_mode [0x%x], wifi_freq [0x%x]"_fmt, or_null(dev_name), wifi_mode, wifi_freq);
    AgentCall call{handle, any_agent};
    require_property(call, dev_name, wifi_mode, wifi_freq);
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    return ready.invoke<master::set_device_property>(dev_name, wifi_mode, wifi_freq);
}

int korvane_set_device_property_with_wifi_authtype(korvane_h handle, const char *dev_name, int wifi_mode, int wifi_freq,
                                                   const int *wifi_authtype_array, int wifi_authtype_count)
{
    log::info()("dev_name [%s], wifi_mode [0x%x], wifi_freq [0x%x], wifi authtype count [%d]"_fmt, or_null(dev_name),
                wifi_mode, wifi_freq, wifi_authtype_count);
    AgentCall call{handle, since(2, 2)};
    require_property(call, dev_name, wifi_mode, wifi_freq);
    call.require(wifi_authtype_array && wifi_authtype_count > 0,
                 "Invalid param, wifi_authtype_array=[%p], wifi_authtype_count=[%d]"_fmt, wifi_authtype_array,
                 wifi_authtype_count);
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    const Json request = create_command(ready, property::command.number);
    if (!ready.passed())
        return ready.result();
    Json authtypes{cJSON_CreateIntArray(wifi_authtype_array, wifi_authtype_count)};
    const bool whole = add_property(request.get(), dev_name, wifi_mode, wifi_freq) && authtypes &&
                       cJSON_AddItemToObject(request.get(), property::wifi_authtype.key, authtypes.get());
    if (ready.require_memory(whole).passed())
        authtypes.release(); // the request owns it now
    return invoke_command(ready, request.get());
}
