// SPDX-License-Identifier: Apache-2.0
#include "json_handle.hpp"

namespace kv::api {

JsonHandle *new_json_handle(Preamble &call)
{
    if (!call.passed())
        return nullptr;
    Json object{cJSON_CreateObject()};
    if (!call.require(bool(object), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed())
        return nullptr;
    JsonHandle *made = make_zeroed<JsonHandle>();
    if (call.require_memory(made != nullptr).passed())
        made->object = std::move(object);
    return made;
}

int destroy_json_handle(Caller caller, JsonHandle *handle, int minimum)
{
    LocalCall call{handle, minimum, caller};
    if (call.passed())
        destroy(handle);
    return call.result();
}

bool has_object(Preamble &call, const JsonHandle *handle, const char *object_name)
{
    return call.require(bool(handle->object), KORVANE_ERROR_OPERATION_FAILED, "%s is NULL"_fmt, object_name).passed();
}

int set_json_text(Caller caller, JsonHandle *handle, const char *object_name, const JsonField &field, const char *value)
{
    LocalCall call{handle, field.minimum, caller};
    if (!call.require_given(value, field.name).passed() || !has_object(call, handle, object_name))
        return call.result();

    return call.require_memory(replace_member(handle->object.get(), field.key, value)).result();
}

} // namespace kv::api
