// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/array_codec.hpp"

/// Records of the library's own, before they are cloned into an array for the agent.
namespace kv::api {

template <class A>
using RecordList = proxy::ArrayValue<A>;

/// Appends this many empty records. False when there is no memory, which a negative count is taken for; what was
/// appended until then is released with the list.
template <class Record>
bool append_records(proxy::Array<Record *> &list, int count, int (*create)(Record **))
{
    if (count < 0)
        return false;
    list.count += count;
    while (list.present < list.count) {
        if (!list.reserve_next() || create(&list.items[list.present]) != 0)
            return false;
        ++list.present;
    }
    return true;
}

} // namespace kv::api
