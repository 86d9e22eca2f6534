// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/host/ports/parcels/parcel.hpp"
#include "port.hpp"

namespace kv::host {

/// The descriptor that KORVANE_TRACE names; -1 without a trace.
extern int trace_to;

/// Writes a record and the parcel's payload.
void write_trace(const Port *port, bool sent, const Parcel *parcel);

inline void trace(const Port *port, bool sent, const Parcel *parcel)
{
    if (trace_to >= 0) [[unlikely]]
        write_trace(port, sent, parcel);
}

} // namespace kv::host
