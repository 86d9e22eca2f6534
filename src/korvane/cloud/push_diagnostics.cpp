// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/command_document.hpp"
#include "src/korvane/core/events/event.hpp"

using namespace kv;
using namespace kv::api;

namespace {

using Diagnostics = RegistrationOf<master::events::diagnostics, "callback is NULL",
                                   PlainEvent<korvane_diagnostics_cb, "value [%d], text length [%d]">>;

} // namespace

int korvane_set_diagnostics_cb(korvane_h handle, korvane_diagnostics_cb callback, void *user_data)
{
    return Diagnostics::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_diagnostics_cb(korvane_h handle)
{
    return Diagnostics::unset(Caller::here(), handle);
}

int korvane_send_custom_push_msg(korvane_h handle, const char *push_msg_json_str)
{
    AgentCall call{handle, since(2, 0)};
    ReadyCall &ready = call.require_given(push_msg_json_str, "push_msg_json_str").ready();
    if (!ready)
        return ready.result();

    Json message{cJSON_Parse(push_msg_json_str)};
    if (!ready.require(bool(message), "cJSON_Parse() failed"_fmt).passed())
        return ready.result();
    const Json request = create_command(ready, master::commands::custom_push_message::command.number);
    if (!ready.passed())
        return ready.result();
    const bool added =
        cJSON_AddItemToObject(request.get(), master::commands::custom_push_message::message.key, message.get());
    if (ready.require_memory(added).passed())
        message.release(); // the request owns it now
    return invoke_command(ready, request.get());
}
