// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane/core/session/agent_call.hpp"
#include "src/korvane/core/values/json_object.hpp"
#include "src/kv_master/documents.hpp"

/// Getters of members of JSON documents, and sending a document as text.
namespace kv::api {

/// Stores a member's value in an out argument; a missing member fails the call. A text is copied, and is NULL for a member
/// that is no text. A number is cJSON's integer view of the member, whatever its type: the agent decides about types.
int hand_out(Preamble &call, const cJSON *member, char **out);
int hand_out(Preamble &call, const cJSON *member, int *out);

/// A member of a document: its key, the argument's name for the log, and the lowest agent version that knows it.
struct JsonField {
    const char *key;
    const char *name;
    int minimum;
};

/// Returns the document of a handle, which is not null.
using DocumentOf = const cJSON *(*)(const void *handle);

/// Getters of one member.
int get_member(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, char **out);
int get_member(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, int *out);

/// Calls a method whose last argument is the document as text.
template <class Method, class... First>
int invoke_with_json(ReadyCall &call, const cJSON *object, First... first)
{
    JsonText text{cJSON_PrintUnformatted(object)};
    if (!call.require(bool(text), KORVANE_ERROR_OPERATION_FAILED, "json_str is NULL"_fmt).passed())
        return call.result();
    return call.invoke<Method>(first..., text.get());
}

} // namespace kv::api
