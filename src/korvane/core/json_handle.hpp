// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json_members.hpp"
#include "src/kv_master/wire.hpp"

/// Handles that hold one JSON object, whatever the agent's version. A type of handle derives from JsonHandle, adds nothing
/// to it, and says its object_name, which log lines show, and the lowest agent version that knows it.
namespace kv::api {

struct JsonHandle {
    Json object;
};

/// A handle with an empty object; none, with the call refused, when there is no memory or the call is refused already.
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

/// Only a damaged handle is without its object. Asked once the handle is known to be there.
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
