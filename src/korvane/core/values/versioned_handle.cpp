// SPDX-License-Identifier: Apache-2.0
#include "versioned_handle.hpp"

namespace kv::api {

bool require_agents_format(Preamble &call, const AnyVersionedHandle *handle)
{
    return call.passed() && call.require(handle->format == format_of_agent(handle->json_since),
                                         "handle was made for another agent version, in [%s] form"_fmt,
                                         handle->format == WireFormat::record ? "record" : "JSON")
                                .passed();
}

bool fill_versioned(Preamble &call, AnyVersionedHandle &handle, const RecordMaker &maker)
{
    if (handle.format == WireFormat::record) {
        handle.any_record = maker.create();
        return call.require(handle.any_record != nullptr, KORVANE_ERROR_OUT_OF_MEMORY, "%s() failed"_fmt, maker.name)
            .passed();
    }
    handle.json.reset(cJSON_CreateObject());
    return call.require(bool(handle.json), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed();
}

} // namespace kv::api
