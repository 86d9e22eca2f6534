// SPDX-License-Identifier: Apache-2.0
#include "versioned_text.hpp"

namespace kv::api {

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
