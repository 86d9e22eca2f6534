// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"
#include "two_form.hpp"

namespace kv::api {

template <class T>
using TextField = Field<typename T::Record, const char *>;

/// A setter of one text: the argument's name for the log, the lowest agent version that knows it, and the field. One of
/// JSON only has a minimum from which on there is no other form.
template <FixedText Name, class T>
int set_two_form_text(Caller caller, T *object, int minimum, const TextField<T> &field, const char *value)
{
    LocalCall call{object, minimum, caller};
    call.require(value != nullptr, Format<concat<Name, " is NULL">>{});
    if (!in_agents_form(call, object))
        return call.result();

    const bool set = set_field(object->record.get(), object->json.get(), field, value);
    // Of a text that could not be copied into a record the log tells; the result stays good, as for every record.
    return call.require(set || object->record, KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).result();
}

} // namespace kv::api
