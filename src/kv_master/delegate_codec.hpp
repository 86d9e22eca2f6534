// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire.hpp"

/// Delegates as a request carries them. Only the receiving side reads them; the proxy writes its own.
namespace kv::master {

/// The type of the events, the sequence number that addresses them, and whether one event completes the delegate.
struct AnyDelegate {
    int id = 0;
    int seq_id = 0;
    bool once = false;
};

template <class D>
struct DelegateOf : AnyDelegate {
};

template <class D>
struct Wire<describe::Callback<D>> {
    using Received = DelegateOf<D>;

    /// Returns false for a delegate of another type: the application would misread its events.
    static bool read(rpc_port_parcel_h parcel, Received &delegate)
    {
        return IntWire::read(parcel, delegate.id) && IntWire::read(parcel, delegate.seq_id) &&
               BoolWire::read(parcel, delegate.once) && delegate.id == D::id;
    }
    static const Received &view(const Received &received) { return received; }
};

} // namespace kv::master
