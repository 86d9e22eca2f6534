// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "common/preamble.hpp"

#include "json_object.hpp"
#include "wire.hpp"

/// Objects that are a wire record for older agents and a JSON object for newer ones. The form is fixed when the object
/// is made. Data of a family goes to the agent, and comes from it, in the form that the installed agent speaks, so an
/// object that was kept across an update of the agent can be of the wrong one: it is refused, and never misread.
///
/// A handle type of this kind is declared as
///     struct korvane_cloud_info_s : kv::api::TwoForm<rpc_port_korvane_cloud_info_s, since(2, 0)> {...}
/// and owned as proxy::Owned<korvane_cloud_info_s>; releasing it looks at its own form only.
namespace kv::api {

enum class Form { record, json };

template <class RecordBody, int JsonSince>
struct TwoForm {
    using Record = RecordBody;

    /// The form that the installed agent speaks.
    static Form of_agent() { return agent.current_version() < JsonSince ? Form::record : Form::json; }

    explicit TwoForm(Form fixed_form) : form(fixed_form) {}

    const Form form;
    proxy::Owned<Record> record; // only in the record form
    Json json;                   // only in the JSON form
};

/// An object without contents yet; none when there is no memory.
template <class T>
proxy::Owned<T> make_two_form(Form form)
{
    void *memory = calloc(1, sizeof(T));
    return proxy::Owned<T>{memory ? new (memory) T{form} : nullptr};
}

/// Refuses an object of the form that the installed agent does not speak. It reads the object, so it does nothing when
/// an earlier check has failed.
template <class T>
bool in_agents_form(Preamble &call, const T *object)
{
    return call.passed() &&
           call.require(object->form == T::of_agent(), "handle was made for another agent version, in [%s] form"_fmt,
                        object->form == Form::record ? "record" : "JSON")
               .passed();
}

/// What the create functions do after their checks: an empty record, by its create function, or an empty JSON object.
template <class T>
int create_two_form(Preamble &call, T **out, int (*create_record)(typename T::Record **),
                    const char *create_record_name)
{
    proxy::Owned<T> made = make_two_form<T>(T::of_agent());
    if (!call.require(bool(made), KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).passed())
        return call.result();
    if (made->form == Form::record) {
        typename T::Record *record = nullptr;
        call.require(create_record(&record) == 0, KORVANE_ERROR_OUT_OF_MEMORY, "%s() failed"_fmt, create_record_name);
        made->record.reset(record);
    } else {
        made->json.reset(cJSON_CreateObject());
        call.require(bool(made->json), KORVANE_ERROR_OUT_OF_MEMORY, "cJSON_CreateObject() failed"_fmt);
    }
    if (call.passed())
        *out = made.release();
    return call.result();
}

/// One field of both forms, side by side: its JSON key, and the function that sets it in the record. Without one the
/// field exists in JSON only.
template <class Record, class Value>
struct Field {
    const char *key;
    int (*set_in_record)(Record *record, Value value) = nullptr;
};

/// Sets a field in whichever of the two there is. False when there was no memory; in JSON the old value stays then. The
/// record's function has logged it; in JSON nobody has.
template <class Record, class Value>
bool set_field(Record *record, cJSON *json, const Field<Record, Value> &field, Value value)
{
    return record ? field.set_in_record(record, value) == 0 : replace_member(json, field.key, value);
}

} // namespace kv::api
