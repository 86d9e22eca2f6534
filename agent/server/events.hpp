// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/show.hpp"
#include "decode.hpp"

#include <vector>

namespace kv::virtual_agent {

/// One event, ready to be sent.
struct Event {
    AnyDelegate delegate;
    const char *name;
    Json values;
    Parcel parcel;
};

template <class D, class Values = typename D::values>
struct EventOf;

template <class D, class... E>
struct EventOf<D, describe::In<E...>> {
    static Event make(const AnyDelegate &delegate, typename Wire<E>::Arg... values)
    {
        Event event{delegate, D::name, Json::object(), new_parcel()};
        rpc_port_parcel_h parcel = event.parcel.get();
        bool whole = rpc_port_parcel_write_int32(parcel, master::callback) == 0 &&
                     rpc_port_parcel_write_int32(parcel, delegate.id) == 0 &&
                     rpc_port_parcel_write_int32(parcel, delegate.seq_id) == 0 &&
                     rpc_port_parcel_write_bool(parcel, delegate.once) == 0;
        ((whole = whole && Wire<E>::write(parcel, values), event.values.set(E::name, show(E{}, values))), ...);
        if (!whole)
            throw std::bad_alloc{};
        return event;
    }
};

/// The delegate's type says which event it is and what it carries.
template <class D, class... Values>
Event make_event(const DelegateOf<D> &delegate, const Values &...values)
{
    return EventOf<D>::make(delegate, values...);
}

/// One kind of event as a command names it.
struct DelegateEntry {
    const char *name;
    int id;
    int since;        // the lowest agent version with a method that such a callback can be given to
    std::string form; // the names of its values, for people
    Json (*shapes)();
    /// What it may carry, where nothing is said of it.
    Json (*sample)();
    /// Throws std::invalid_argument when the values are not what the event carries.
    Event (*make)(const AnyDelegate &delegate, const cJSON *values);
};

/// None for a name that the interface does not have.
const DelegateEntry *find_delegate(const std::string &name);
const std::vector<DelegateEntry> &all_delegates();

} // namespace kv::virtual_agent
