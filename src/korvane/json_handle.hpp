// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json_members.hpp"
#include "wire.hpp"

/// Handles that hold one JSON object, whatever the agent's version. A type of handle derives from JsonHandle and says
/// its object_name, which log lines show, and the lowest agent version that knows it.
namespace kv::api {

struct JsonHandle {
    Json object;
};

template <class T>
int create_json_handle(Caller caller, T **out)
{
    LocalCall call{out, T::minimum, caller};
    if (!call.passed())
        return call.result();

    proxy::Owned<T> made{proxy::make_zeroed<T>()};
    if (!call.require(bool(made), KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).passed())
        return call.result();
    made->object.reset(cJSON_CreateObject());
    if (call.require(bool(made->object), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed())
        *out = made.release();
    return call.result();
}

template <class T>
int destroy_json_handle(Caller caller, T *handle)
{
    LocalCall call{handle, T::minimum, caller};
    if (call.passed())
        proxy::destroy(handle);
    return call.result();
}

/// Only a damaged handle is without its object. Asked once the handle is known to be there.
template <class T>
bool has_object(Preamble &call, const T *handle)
{
    return call
        .require(bool(handle->object), KORVANE_ERROR_OPERATION_FAILED, Format<concat<T::object_name, " is NULL">>{})
        .passed();
}

/// A setter of one text: its key, the argument's name for the log, and the lowest agent version that knows it.
template <FixedText Key, FixedText Name, int Minimum, class T>
int set_json_text(Caller caller, T *handle, const char *value)
{
    LocalCall call{handle, Minimum, caller};
    if (!call.require(value != nullptr, Format<concat<Name, " is NULL">>{}).passed() || !has_object(call, handle))
        return call.result();

    return call
        .require(replace_member(handle->object.get(), Key.text, value), KORVANE_ERROR_OUT_OF_MEMORY,
                 "Memory allocation is failed"_fmt)
        .result();
}

} // namespace kv::api
