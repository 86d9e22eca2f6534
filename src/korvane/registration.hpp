// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"

#include <utility>

/// The pairs korvane_set_..._cb and korvane_unset_..._cb.
namespace kv::api {

/// How the delegate of one end is made, for this handle, and taken back from the proxy.
struct EndFunctions {
    proxy::Delegate *(*create)(korvane_h handle);
    int (*dispose)(rpc_port_proxy_kv_master_h proxy, proxy::Delegate *delegate);
};

/// The ends of a slot, of whatever types: what setting and unsetting do is the same for all pairs.
struct SlotEnds {
    SlotEnd *ends;
    const EndFunctions *functions;
    std::size_t count;

    /// New delegates in place of those that were there.
    void replace_delegates(const AgentCall &call) const;
    void drop_delegates(const AgentCall &call) const;
    void dispose_delegates(korvane_h handle) const;
    bool empty() const;
};

/// One delegate of a pair: its create and dispose functions, and the trampoline that it calls.
template <auto Create, auto Dispose, auto Trampoline>
struct Event {
    using Handle = decltype(Create(nullptr, false, nullptr));

    static constexpr EndFunctions functions{
        [](korvane_h handle) -> proxy::Delegate * { return Create(Trampoline, false, handle); },
        [](rpc_port_proxy_kv_master_h proxy, proxy::Delegate *delegate) {
            return Dispose(proxy, static_cast<Handle>(delegate));
        }};
};

/// A pair that follows the rule: its slot, the lowest agent version, the agent's two methods, and its delegates in the
/// order in which the set method takes them. NullText is said of a missing callback.
template <FixedText NullText, auto SlotMember, int Minimum, auto SetMethod, auto UnsetMethod, class... Events>
class RegistrationWith {
public:
    /// The application's callbacks in the order of the delegates, after the user data.
    template <class... Callbacks>
    static int set(Caller caller, korvane_h handle, void *user_data, Callbacks... callbacks)
    {
        AgentCall call{handle, Minimum, caller};
        if (!call.require((callbacks && ...), Format<NullText>{}).ready())
            return call.result();
        return set_each(call, user_data, std::index_sequence_for<Events...>{}, callbacks...);
    }

    /// Here the callbacks are forgotten whatever the agent answers: none of them runs again.
    static int unset(Caller caller, korvane_h handle)
    {
        AgentCall call{handle, Minimum, caller};
        if (!call.ready())
            return call.result();
        auto &slot = handle->*SlotMember;
        slot.user_data = nullptr;
        slot.let_go();
        ends_of(slot).drop_delegates(call);
        return call.invoke(UnsetMethod);
    }

private:
    static constexpr EndFunctions functions[] = {Events::functions...};

    template <class SlotType>
    static SlotEnds ends_of(SlotType &slot)
    {
        return {slot.ends, functions, sizeof...(Events)};
    }

    template <std::size_t... I, class... Callbacks>
    static int set_each(AgentCall &call, void *user_data, std::index_sequence<I...>, Callbacks... callbacks)
    {
        auto &slot = call.handle()->*SlotMember;
        slot.let_go();
        ends_of(slot).replace_delegates(call);
        // A delegate that could not be made goes along as none, and the proxy refuses the call.
        if (int code = call.invoke(SetMethod, slot.template delegate<I>()...))
            return code;
        ((slot.ends[I].callback = reinterpret_cast<void (*)()>(callbacks)), ...);
        slot.user_data = user_data;
        return KORVANE_ERROR_NONE;
    }
};

template <auto SlotMember, int Minimum, auto SetMethod, auto UnsetMethod, class... Events>
using Registration = RegistrationWith<"callback is NULL", SlotMember, Minimum, SetMethod, UnsetMethod, Events...>;

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
