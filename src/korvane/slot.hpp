// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "delegate.hpp"

#include <cstddef>
#include <tuple>

/// Where a handle keeps what the application has registered for an event.
namespace kv::api {

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
    void (*callback)() = nullptr;
};

/// The types of one end: the delegate's description and the application's callback.
template <class D, class AppCallback>
struct End {
    using Delegate = proxy::TypedDelegate<D>;
    using Callback = AppCallback;
};

/// Most events have one end; the PINs have two, for begin and end, that are set and unset together.
template <class... Ends>
struct Slot {
    template <std::size_t I>
    using Type = std::tuple_element_t<I, std::tuple<Ends...>>;

    template <std::size_t I>
    auto delegate() const
    {
        return static_cast<typename Type<I>::Delegate *>(ends[I].delegate);
    }
    template <std::size_t I>
    auto callback() const
    {
        return reinterpret_cast<typename Type<I>::Callback>(ends[I].callback);
    }

    /// A slot that keeps the data of its last event says here how that is released: with every set and unset.
    void let_go() {}

    SlotEnd ends[sizeof...(Ends)];
    void *user_data = nullptr;
};

template <class D, class AppCallback>
using EventSlot = Slot<End<D, AppCallback>>;

} // namespace kv::api
