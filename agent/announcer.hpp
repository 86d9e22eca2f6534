// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "events.hpp"

#include <functional>

namespace kv::virtual_agent {

/// Sends events to every application that has registered for them.
class Announcer {
public:
    /// Says how many applications the event goes to. While a request is answered it waits for the answer to leave first.
    template <class D, class... Values>
    int announce(D, const Values &...values)
    {
        return to_all(D::id, [&](const AnyDelegate &delegate) { return EventOf<D>::make(delegate, values...); });
    }

protected:
    using Make = std::function<Event(const AnyDelegate &)>;

    ~Announcer() = default;
    virtual int to_all(int delegate_id, const Make &make) = 0;
};

} // namespace kv::virtual_agent
