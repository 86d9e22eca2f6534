// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"

#include <type_traits>
#include <utility>

/// The pairs korvane_set_..._cb and korvane_unset_..._cb.
namespace kv::api {

/// Makes the delegate of one end, for this handle.
using CreateDelegate = proxy::Delegate *(*)(korvane_h handle);

/// The ends of a slot that are set and unset together, and how their delegates are made.
struct SlotEnds {
    SlotEnd *ends;
    const CreateDelegate *create;
    int count;

    /// New delegates in place of those that were there.
    void replace_delegates(const AgentCall &call) const;
    void drop_delegates(const AgentCall &call) const;
    void dispose_delegates(korvane_h handle) const;
    bool empty() const;
};

/// A pair as a row of what it does not share with the others. What setting and unsetting do is written once.
struct Pair {
    /// Its slot. What the slot keeps of its last event is let go first.
    Slot &(*cleared_slot)(korvane_h handle);
    const CreateDelegate *create;
    const char *set_method;
    const char *unset_method;
    const char *null_text; // said of a missing callback
    int ends;
    int minimum_version;

    int set(Caller caller, korvane_h handle, AnyFunction callback, void *user_data) const;
    /// The callbacks in the order of the ends.
    int set(Caller caller, korvane_h handle, const AnyFunction *callbacks, void *user_data) const;
    /// Here the callbacks are forgotten whatever the agent answers: none of them runs again.
    int unset(Caller caller, korvane_h handle) const;
};

/// The delegates of a pair, as the method that sets it takes them, with the trampolines that they call.
template <class Ins, auto... Trampolines>
struct Ends;

template <class... D, auto... Trampolines>
struct Ends<describe::In<describe::Callback<D>...>, Trampolines...> {
    static constexpr CreateDelegate create[] = {
        [](korvane_h handle) -> proxy::Delegate * { return proxy::create_delegate<D>(Trampolines, false, handle); }...};
};

/// A pair that follows the rule: its slot, the lowest agent version, the agent's two methods, and a trampoline for each
/// delegate that the set method takes, in that order.
template <FixedText NullText, auto SlotMember, int Minimum, class SetMethod, class UnsetMethod, auto... Trampolines>
class RegistrationWith {
public:
    template <class Callback>
    static int set(Caller caller, korvane_h handle, void *user_data, Callback callback)
    {
        return pair.set(caller, handle, untyped<0>(callback), user_data);
    }

    template <class First, class Second>
    static int set(Caller caller, korvane_h handle, void *user_data, First first, Second second)
    {
        const AnyFunction callbacks[] = {untyped<0>(first), untyped<1>(second)};
        return pair.set(caller, handle, callbacks, user_data);
    }

    static int unset(Caller caller, korvane_h handle) { return pair.unset(caller, handle); }

private:
    using SlotType = std::remove_reference_t<decltype(std::declval<korvane_s &>().*SlotMember)>;

    static Slot &cleared_slot(korvane_h handle)
    {
        auto &slot = handle->*SlotMember;
        slot.let_go();
        return slot;
    }

    template <std::size_t I>
    static AnyFunction untyped(typename SlotType::template Callback<I> callback)
    {
        return reinterpret_cast<AnyFunction>(callback);
    }

    static constexpr Pair pair{cleared_slot,
                               Ends<typename SetMethod::in, Trampolines...>::create,
                               proxy::text_of_method<SetMethod>.text,
                               proxy::text_of_method<UnsetMethod>.text,
                               concat<NullText>.text,
                               sizeof...(Trampolines),
                               Minimum};
};

template <auto SlotMember, int Minimum, class SetMethod, class UnsetMethod, auto... Trampolines>
using Registration = RegistrationWith<"callback is NULL", SlotMember, Minimum, SetMethod, UnsetMethod, Trampolines...>;

/// The library's handle behind a trampoline's user data; none, with the reason logged, when there is none.
korvane_h handle_of(void *user_data, Caller caller);

/// Hands an event to the application. The callback may unset itself or deinitialise: nothing is touched after it.
template <std::size_t I = 0, class SlotType, class... Values>
void deliver(SlotType korvane_s::*slot_member, void *user_data, Caller caller, Values... values)
{
    korvane_h handle = handle_of(user_data, caller);
    if (!handle)
        return;
    const auto &slot = handle->*slot_member;
    if (auto callback = slot.template callback<I>())
        callback(handle, values..., slot.user_data);
}

} // namespace kv::api
