// SPDX-License-Identifier: Apache-2.0
#include "versioned_text.hpp"

namespace kv::api {

bool require_agents_format(Preamble &call, const AnyVersionedHandle *handle)
{
    return call.passed() && call.require(handle->format == format_of_agent(handle->json_since),
                                         "handle was made for another agent version, in [%s] form"_fmt,
                                         handle->format == WireFormat::record ? "record" : "JSON")
                                .passed();
}

bool fill_versioned(Preamble &call, AnyVersionedHandle *made, const RecordMaker &maker)
{
    if (!call.require_memory(made != nullptr).passed())
        return false;
    if (made->format == WireFormat::record) {
        made->any_record = maker.create();
        return call.require(made->any_record != nullptr, KORVANE_ERROR_OUT_OF_MEMORY, "%s() failed"_fmt, maker.name)
            .passed();
    }
    made->json.reset(cJSON_CreateObject());
    return call.require(bool(made->json), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed();
}

int set_versioned_text(Caller caller, AnyVersionedHandle *handle, const TextField &field, const char *value)
{
    LocalCall call{handle, field.minimum, caller};
    call.require_given(value, field.name);
    if (!require_agents_format(call, handle))
        return call.result();

    if (handle->any_record) {
        // A failed copy has its log line; the result stays 0, as in every setter of a record.
        field.set_in_record(handle->any_record, value);
        return call.result();
    }
    return call.require_memory(replace_member(handle->json.get(), field.key, value)).result();
}

} // namespace kv::api
