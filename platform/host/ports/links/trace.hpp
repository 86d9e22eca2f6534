// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/host/ports/parcels/parcel.hpp"
#include "port.hpp"

namespace kv::host {

/// Where what crosses the ports is written, as KORVANE_TRACE says; -1 for nowhere.
extern int trace_to;

void write_trace(const Port *port, bool sent, const Parcel *parcel);

inline void trace(const Port *port, bool sent, const Parcel *parcel)
{
    if (trace_to >= 0) [[unlikely]]
        write_trace(port, sent, parcel);
}

} // namespace kv::host
