// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"
#include "json_object.hpp"
#include "src/kv_master/documents.hpp"

/// Members of JSON objects: how getters hand them out, how an object is sent as text.
namespace kv::api {

/// Hands a member's value out; a missing member fails the call. The text is a copy, NULL for a member that is no text; of
/// a member that is no number cJSON's integer view is handed out. The type is the agent's affair.
int hand_out(Preamble &call, const cJSON *member, char **out);
int hand_out(Preamble &call, const cJSON *member, int *out);

/// One member of an object: its key, the out argument's name for the log, and the lowest agent version that knows it.
struct JsonField {
    const char *key;
    const char *name;
    int minimum;
};

/// Where a handle has its object. Asked once the handle is known to be there.
using DocumentOf = const cJSON *(*)(const void *handle);

/// Getters of one member.
int get_member(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, char **out);
int get_member(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, int *out);

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
