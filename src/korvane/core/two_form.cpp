// SPDX-License-Identifier: Apache-2.0
#include "two_form_setter.hpp"

namespace kv::api {

bool in_agents_form(Preamble &call, const AnyTwoForm *object)
{
    return call.passed() && call.require(object->form == object->form_of_agent(),
                                         "handle was made for another agent version, in [%s] form"_fmt,
                                         object->form == Form::record ? "record" : "JSON")
                                .passed();
}

bool fill_two_form(Preamble &call, AnyTwoForm *made, const RecordMaker &maker)
{
    if (!call.require_memory(made != nullptr).passed())
        return false;
    if (made->form == Form::record) {
        made->any_record = maker.make();
        return call.require(made->any_record != nullptr, KORVANE_ERROR_OUT_OF_MEMORY, "%s() failed"_fmt, maker.name)
            .passed();
    }
    made->json.reset(cJSON_CreateObject());
    return call.require(bool(made->json), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt).passed();
}

int set_two_form_text(Caller caller, AnyTwoForm *object, const TextField &field, const char *value)
{
    LocalCall call{object, field.minimum, caller};
    call.require_given(value, field.name);
    if (!in_agents_form(call, object))
        return call.result();

    const bool set = object->any_record ? field.set_in_record(object->any_record, value)
                                        : replace_member(object->json.get(), field.key, value);
    // Of a text that could not be copied into a record the log tells; the result stays good, as for every record.
    return call.require_memory(set || object->any_record).result();
}

} // namespace kv::api
