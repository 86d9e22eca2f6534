// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/array_codec.hpp"

namespace kv::api {

/// Records of the library, before an array for the agent clones them.
template <class A>
using RecordArray = master::ArrayValue<A>;

/// Appends this many empty records. Returns false for a negative count and without memory; the array then owns those
/// that were appended.
template <class Record>
bool append_records(master::Array<Record *> &array, int count, int (*create)(Record **))
{
    if (count < 0)
        return false;
    array.count += count;
    while (array.present < array.count) {
        if (!array.reserve_next() || create(&array.items[array.present]) != 0)
            return false;
        ++array.present;
    }
    return true;
}

} // namespace kv::api
