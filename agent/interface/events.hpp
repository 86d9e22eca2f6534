// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "parcel.hpp"
#include "show.hpp"

#include <memory>
#include <tuple>
#include <vector>

namespace kv::virtual_agent {

/// An event for one delegate, ready to be sent.
struct Event {
    AnyDelegate delegate;
    const char *name;
    std::shared_ptr<const Json> values; // for the journal, secrets masked
    Parcel parcel;
};

/// The values of an event, typed by the description and not addressed yet. The same values make the parcel for each
/// delegate, the journal's entry and what observers receive.
class EventValues {
public:
    virtual ~EventValues() = default;

    virtual int id() const = 0;
    virtual const char *name() const = 0;
    /// By name, secrets masked.
    virtual Json shown() const = 0;
    /// Throws std::bad_alloc.
    virtual Parcel parcel_for(const AnyDelegate &delegate) const = 0;
};

template <class D, class Values = typename D::values>
class ValuesOf;

template <class D, class... E>
class ValuesOf<D, describe::In<E...>> : public EventValues {
public:
    /// Text and records stay the caller's and must outlive this object.
    explicit ValuesOf(typename Wire<E>::Arg... values) : values_{values...} {}

    int id() const override { return D::id; }
    const char *name() const override { return D::name; }

    Json shown() const override
    {
        return apply([](const auto &...values) { return Shown::values(describe::In<E...>{}, values...); });
    }

    Parcel parcel_for(const AnyDelegate &delegate) const override
    {
        Parcel made = new_parcel();
        rpc_port_parcel_h parcel = made.get();
        bool whole = rpc_port_parcel_write_int32(parcel, master::callback) == 0 &&
                     rpc_port_parcel_write_int32(parcel, delegate.id) == 0 &&
                     rpc_port_parcel_write_int32(parcel, delegate.seq_id) == 0 &&
                     rpc_port_parcel_write_bool(parcel, delegate.once) == 0;
        apply([&](const auto &...values) { ((whole = whole && Wire<E>::write(parcel, values)), ...); });
        if (!whole)
            throw std::bad_alloc{};
        return made;
    }

    /// Calls with the typed values, in their order.
    template <class Function>
    decltype(auto) apply(Function &&function) const
    {
        return std::apply(std::forward<Function>(function), values_);
    }

private:
    std::tuple<typename Wire<E>::Arg...> values_;
};

Event event_for(const AnyDelegate &delegate, const EventValues &values);

/// The event for a delegate of a given type, whose values the type fixes.
template <class D, class... Values>
Event make_event(const DelegateOf<D> &delegate, const Values &...values)
{
    return event_for(delegate, ValuesOf<D>{values...});
}

/// One kind of event, by the name that commands use.
struct EventEntry {
    const char *name;
    int id;
    int since;        // the lowest agent version with a method that takes such a delegate
    std::string form; // the names of its values, for messages and help
    Json (*shapes)();
    /// The values that are sent when a command gives none.
    Json (*sample)();
    /// Decodes a JSON array. Throws std::invalid_argument if the values are not those of the event.
    std::unique_ptr<EventValues> (*decode)(const cJSON *values);
};

/// Null for a name that the interface does not have.
const EventEntry *find_event(const std::string &name);
const std::vector<EventEntry> &all_events();

} // namespace kv::virtual_agent
