// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/server/handlers.hpp"

namespace kv::test {

/// The virtual agent's inside without a port: nobody hears its events, and what was announced is remembered by name.
class LoneDevice final : private virtual_agent::Announcer {
public:
    virtual_agent::State state{};
    virtual_agent::Phone phone{state, *this};
    virtual_agent::Clock clock{};
    virtual_agent::Authority authority{};
    virtual_agent::Cloud cloud{state, *this, clock, authority};
    virtual_agent::Handlers handlers{{state, phone, cloud}};

    std::vector<virtual_agent::Event> announced{};
    int listeners = 0; // how many applications each event is to find

private:
    int to_all(int delegate_id, const Make &make) override
    {
        announced.push_back(make({delegate_id, 1, false}));
        return listeners;
    }
};

} // namespace kv::test
