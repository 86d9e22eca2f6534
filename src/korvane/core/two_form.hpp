// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/agent_state.hpp"
#include "common/preamble.hpp"

#include "json_object.hpp"
#include "src/kv_master/wire.hpp"

/// Objects that are a wire record for older agents and a JSON object for newer ones. The form is fixed when the object
/// is made. Data of a family goes to the agent, and comes from it, in the form that the installed agent speaks, so an
/// object that was kept across an update of the agent can be of the wrong one: it is refused, and never misread.
///
/// A handle type of this kind is declared as
///     struct korvane_cloud_info_s : kv::api::TwoForm<rpc_port_korvane_cloud_info_s, since(2, 0)> {...}
/// and owned as proxy::Owned<korvane_cloud_info_s>; releasing it looks at its own form only.
namespace kv::api {

enum class Form { record, json };

/// Such an object, whatever its record.
struct AnyTwoForm {
    AnyTwoForm(Form fixed_form, int since) : form(fixed_form), json_since(since) {}

    Form form_of_agent() const { return agent.current_version() < json_since ? Form::record : Form::json; }

    const Form form;
    const int json_since;
    proxy::Parcelable *any_record = nullptr; // only in the record form
    Json json;                               // only in the JSON form
};

template <class RecordBody, int JsonSince>
struct TwoForm : AnyTwoForm {
    using Record = RecordBody;

    /// The form that the installed agent speaks.
    static Form of_agent() { return agent.current_version() < JsonSince ? Form::record : Form::json; }

    explicit TwoForm(Form fixed_form) : AnyTwoForm(fixed_form, JsonSince) {}
    TwoForm(const TwoForm &) = delete;
    TwoForm &operator=(const TwoForm &) = delete;
    ~TwoForm()
    {
        if (any_record)
            proxy::destroy(record());
    }

    Record *record() const { return static_cast<Record *>(any_record); }
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
bool in_agents_form(Preamble &call, const AnyTwoForm *object);

/// How the record of an object is made: the function, and its name for the log.
struct RecordMaker {
    proxy::Parcelable *(*make)();
    const char *name;
};

template <auto Create, class Record>
proxy::Parcelable *make_record()
{
    Record *record = nullptr;
    Create(&record);
    return record;
}

/// Gives the new object its contents: an empty record, or an empty JSON object.
bool fill_two_form(Preamble &call, AnyTwoForm *made, const RecordMaker &maker);

/// What the create functions do after their checks.
template <class T>
int create_two_form(Preamble &call, T **out, const RecordMaker &maker)
{
    proxy::Owned<T> made = make_two_form<T>(T::of_agent());
    if (fill_two_form(call, made.get(), maker))
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
