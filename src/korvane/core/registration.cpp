// SPDX-License-Identifier: Apache-2.0
#include "registration.hpp"

#include <algorithm>

namespace kv::api {

Slot::~Slot() = default; // here, since every handle has many

bool SlotEnds::empty() const
{
    return std::none_of(ends, ends + count, [](const SlotEnd &end) { return end.delegate != nullptr; });
}

void SlotEnds::dispose_delegates(korvane_h handle) const
{
    for (int i = 0; i < count; ++i) {
        if (proxy::Delegate *delegate = ends[i].delegate; delegate && delegate->listed) {
            ends[i].delegate = nullptr;
            proxy::dispose_delegate(handle->proxy, delegate, delegate->id);
        }
        ends[i].forget_delegate();
    }
}

void SlotEnds::replace_delegates(const AgentCall &call) const
{
    if (!empty()) {
        log::warning(call.caller())("rpc cb_h already exists"_fmt);
        dispose_delegates(call.handle());
    }
    for (int i = 0; i < count; ++i)
        ends[i].delegate = create[i](call.handle());
}

void SlotEnds::drop_delegates(const AgentCall &call) const
{
    for (int i = 0; i < count; ++i)
        ends[i].callback = nullptr;
    if (empty())
        log::warning(call.caller())("rpc cb_h doesn't exist"_fmt);
    else
        dispose_delegates(call.handle());
}

int Pair::set(Caller caller, korvane_h handle, AnyFunction callback, void *user_data) const
{
    return set(caller, handle, &callback, user_data);
}

int Pair::set(Caller caller, korvane_h handle, const AnyFunction *callbacks, void *user_data) const
{
    AgentCall call{handle, minimum_version, caller};
    const bool complete = std::none_of(callbacks, callbacks + ends, [](AnyFunction callback) { return !callback; });
    if (!call.require_as_said(complete, KORVANE_ERROR_INVALID_PARAMETER, null_text).ready())
        return call.result();

    Slot &slot = cleared_slot(handle);
    SlotEnds{slot.ends, create, ends}.replace_delegates(call);
    // A delegate that could not be made goes along as none, and the proxy refuses the call.
    const proxy::Value delegates[] = {slot.ends[0].delegate, slot.ends[most_ends - 1].delegate};
    if (int code = call.invoke(set_method, delegates))
        return code;
    for (int i = 0; i < ends; ++i)
        slot.ends[i].callback = callbacks[i];
    slot.user_data = user_data;
    return KORVANE_ERROR_NONE;
}

int Pair::unset(Caller caller, korvane_h handle) const
{
    AgentCall call{handle, minimum_version, caller};
    if (!call.ready())
        return call.result();

    Slot &slot = cleared_slot(handle);
    slot.user_data = nullptr;
    SlotEnds{slot.ends, create, ends}.drop_delegates(call);
    return call.invoke(unset_method, nullptr);
}

korvane_h handle_of(void *user_data, Caller caller)
{
    if (!user_data)
        log::error(caller)("No user data"_fmt);
    return static_cast<korvane_h>(user_data);
}

} // namespace kv::api
