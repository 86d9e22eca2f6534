// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane/core/session/agent_call.hpp"
#include "src/korvane/core/values/versioned_handle.hpp"

namespace kv::api {

/// A text of a versioned handle in both formats: the argument's name for the log, the lowest agent version that knows
/// it, its JSON key, and what sets it in the record. Without that the text exists in JSON only, and its lowest version
/// is one from which on there is no other format.
struct TextField {
    const char *name;
    int minimum;
    const char *key;
    void (*set_in_record)(master::Parcelable *record, const char *value) = nullptr;
};

/// Calls the named setter of a record whose type the field does not say.
template <class Record, int (*Set)(Record *record, const char *value)>
void set_record_text(master::Parcelable *record, const char *value)
{
    Set(static_cast<Record *>(record), value);
}

/// A setter of one text.
int set_versioned_text(Caller caller, AnyVersionedHandle *handle, const TextField &field, const char *value);

} // namespace kv::api
