// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "events.hpp"

#include <functional>
#include <stdexcept>
#include <string>

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

    /// The same for an event that makes no sense when nobody hears it.
    template <class D, class... Values>
    void tell(D event, const Values &...values)
    {
        if (announce(event, values...) == 0)
            throw std::invalid_argument{std::string{"no application listens: none has registered "} + D::name};
    }

protected:
    using Make = std::function<Event(const AnyDelegate &)>;

    ~Announcer() = default;
    virtual int to_all(int delegate_id, const Make &make) = 0;
};

} // namespace kv::virtual_agent
