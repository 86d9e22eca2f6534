// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/common_interface.hpp"
#include "src/korvane/core/registration.hpp"

using namespace kv;
using namespace kv::api;

namespace {

/// What the diagnostics say of the device stays out of its log.
void _diagnostics_cb(void *user_data, int value, const char *text)
{
    log::info()("value [%d]"_fmt, value);
    deliver(&korvane_s::diagnostics, user_data, Caller::here(), value, text);
}

using Diagnostics = Registration<&korvane_s::diagnostics, since(2, 2), master::set_diagnostics_cb,
                                 master::unset_diagnostics_cb, _diagnostics_cb>;

} // namespace

int korvane_set_diagnostics_cb(korvane_h handle, korvane_diagnostics_cb callback, void *user_data)
{
    return Diagnostics::set(Caller::here(), handle, user_data, callback);
}

int korvane_unset_diagnostics_cb(korvane_h handle)
{
    return Diagnostics::unset(Caller::here(), handle);
}

int korvane_send_custom_push_msg(korvane_h handle, const char *push_msg_json_str)
{
    AgentCall call{handle, since(2, 0)};
    if (!call.require_given(push_msg_json_str, "push_msg_json_str").ready())
        return call.result();

    Json message{cJSON_Parse(push_msg_json_str)};
    if (!call.require(bool(message), "cJSON_Parse() failed"_fmt).passed())
        return call.result();
    Json request{cJSON_CreateObject()};
    if (!call.require(bool(request), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed())
        return call.result();
    const bool whole = add_command(request.get(), Command::custom_push_message) &&
                       cJSON_AddItemToObject(request.get(), "custom_push_msg", message.get());
    if (!call.require_memory(whole).passed())
        return call.result();
    message.release(); // the request's own from here on
    return invoke_common_interface(call, request.get());
}
