// SPDX-License-Identifier: Apache-2.0
#include "registration.hpp"

#include <algorithm>

namespace kv::api {

bool SlotEnds::empty() const
{
    return std::none_of(ends, ends + count, [](const SlotEnd &end) { return end.delegate != nullptr; });
}

void SlotEnds::dispose_delegates(korvane_h handle) const
{
    for (std::size_t i = 0; i < count; ++i) {
        if (proxy::Delegate *delegate = ends[i].delegate; delegate && delegate->listed) {
            ends[i].delegate = nullptr;
            functions[i].dispose(handle->proxy, delegate);
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
    for (std::size_t i = 0; i < count; ++i)
        ends[i].delegate = functions[i].create(call.handle());
}

void SlotEnds::drop_delegates(const AgentCall &call) const
{
    for (std::size_t i = 0; i < count; ++i)
        ends[i].callback = nullptr;
    if (empty())
        log::warning(call.caller())("rpc cb_h doesn't exist"_fmt);
    else
        dispose_delegates(call.handle());
}

korvane_h handle_of(void *user_data, Caller caller)
{
    if (!user_data)
        log::error(caller)("No user data"_fmt);
    return static_cast<korvane_h>(user_data);
}

} // namespace kv::api
