// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json_members.hpp"
#include "src/kv_master/wire.hpp"

/// Handles with one JSON document for every agent version. A type of handle derives from JsonHandle without adding members,
/// and defines object_name, for log lines, and minimum, the lowest agent version that knows it.
namespace kv::api {

struct JsonHandle {
    Json object;
};

/// Returns a handle with an empty document. Returns null if the call is refused already, and refuses it without memory.
JsonHandle *new_json_handle(Preamble &call);

template <class T>
int create_json_handle(Caller caller, T **out)
{
    LocalCall call{out, T::minimum, caller};
    if (JsonHandle *made = new_json_handle(call))
        *out = static_cast<T *>(made);
    return call.result();
}

int destroy_json_handle(Caller caller, JsonHandle *handle, int minimum);

template <class T>
int destroy_json_handle(Caller caller, T *handle)
{
    return destroy_json_handle(caller, handle, T::minimum);
}

/// Requires the document of a handle, which is not null. Only a damaged handle lacks it.
bool has_object(Preamble &call, const JsonHandle *handle, const char *object_name);

template <class T>
bool has_object(Preamble &call, const T *handle)
{
    return has_object(call, handle, T::object_name);
}

/// A setter of one text.
int set_json_text(Caller caller, JsonHandle *handle, const char *object_name, const JsonField &field,
                  const char *value);

template <class T>
int set_json_text(Caller caller, T *handle, const JsonField &field, const char *value)
{
    return set_json_text(caller, handle, T::object_name, field, value);
}

} // namespace kv::api
