// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"
#include "two_form.hpp"

namespace kv::api {

/// One text of both forms, side by side: the argument's name for the log, the lowest agent version that knows it, its
/// JSON key, and what sets it in the record. Without that the text exists in JSON only, and the minimum is a version from
/// which on there is no other form.
struct TextField {
    const char *name;
    int minimum;
    const char *key;
    bool (*set_in_record)(proxy::Parcelable *record, const char *value) = nullptr;
};

/// The record's named setter, for a record whose type the field does not say.
template <class Record, int (*Set)(Record *record, const char *value)>
bool set_record_text(proxy::Parcelable *record, const char *value)
{
    return Set(static_cast<Record *>(record), value) == 0;
}

int set_two_form_text(Caller caller, AnyTwoForm *object, const TextField &field, const char *value);

} // namespace kv::api
