// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/preamble.hpp"

namespace kv::api {

/// A getter of a record, and its name for the log.
template <class Record, class Value>
struct RecordGetter {
    const char *name;
    int (*get)(Record *record, Value *value);
};

template <class Record, class Value>
int read_member(Preamble &call, Record *record, const RecordGetter<Record, Value> &getter, Value *value)
{
    Value read{};
    if (!call.require(getter.get(record, &read) == 0, KORVANE_ERROR_OPERATION_FAILED, "%s() failed"_fmt, getter.name)
             .passed())
        return call.result();
    *value = read;
    return KORVANE_ERROR_NONE;
}

} // namespace kv::api
