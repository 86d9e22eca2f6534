// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/delegate.hpp"

#include <cstddef>
#include <tuple>

/// Where a handle keeps what the application has registered for an event.
namespace kv::api {

using proxy::AnyFunction;

/// One callback of a registration: the delegate that the agent fires and the application's function behind it.
struct SlotEnd {
    SlotEnd() = default;
    SlotEnd(const SlotEnd &) = delete;
    SlotEnd &operator=(const SlotEnd &) = delete;
    ~SlotEnd() { forget_delegate(); }

    /// A delegate that no request has carried is still the slot's; all others are the proxy's.
    void forget_delegate()
    {
        if (delegate && !delegate->listed)
            proxy::destroy(delegate);
        delegate = nullptr;
    }

    proxy::Delegate *delegate = nullptr;
    AnyFunction callback = nullptr;
};

/// Most events have one end; the PINs have two, for begin and end, that are set and unset together.
inline constexpr int most_ends = 2;

struct Slot {
    Slot() = default;
    Slot(const Slot &) = delete;
    Slot &operator=(const Slot &) = delete;
    ~Slot();

    SlotEnd ends[most_ends];
    void *user_data = nullptr;

    /// A slot that keeps the data of its last event says here how that is released: with every set and unset.
    void let_go() {}
};

/// A slot with the types of the application's callbacks, one for each end.
template <class... AppCallbacks>
struct EventSlot : Slot {
    static_assert(sizeof...(AppCallbacks) <= most_ends);

    template <std::size_t I>
    using Callback = std::tuple_element_t<I, std::tuple<AppCallbacks...>>;

    template <std::size_t I>
    auto callback() const
    {
        return reinterpret_cast<Callback<I>>(ends[I].callback);
    }
};

} // namespace kv::api
