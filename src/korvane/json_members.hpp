// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"
#include "json_object.hpp"

/// Members of JSON objects: how getters hand them out, how an object is sent as text.
namespace kv::api {

/// Hands a member's value out; a missing member fails the call. The text is a copy, NULL for a member that is no text; of
/// a member that is no number cJSON's integer view is handed out. The type is the agent's affair.
int hand_out(Preamble &call, const cJSON *member, char **out);
int hand_out(Preamble &call, const cJSON *member, int *out);

/// A getter of one member. Document says where a handle has its object; Name is the out argument's, for the log.
template <FixedText Key, FixedText Name, int Minimum, auto Document, class Handle, class Out>
int get_member(Caller caller, Handle handle, Out *out)
{
    LocalCall call{handle, Minimum, caller};
    if (!call.require(out != nullptr, Format<concat<Name, " is NULL">>{}).passed())
        return call.result();

    return hand_out(call, cJSON_GetObjectItem(Document(handle), Key.text), out);
}

/// Calls a method of the agent whose last argument is the object as text.
template <class Method, class... First>
int invoke_with_json(AgentCall &call, const cJSON *object, First... first)
{
    JsonText text{cJSON_PrintUnformatted(object)};
    if (!call.require(bool(text), KORVANE_ERROR_OPERATION_FAILED, "json_str is NULL"_fmt).passed())
        return call.result();
    return call.invoke<Method>(first..., text.get());
}

} // namespace kv::api
