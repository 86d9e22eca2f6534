// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/server/handlers.hpp"

namespace kv::test {

/// The virtual agent's handlers and state without a port. Its events are recorded instead of sent.
class LoneDevice final : private virtual_agent::Announcer {
public:
    virtual_agent::State state{};
    virtual_agent::Phone phone{state, *this};
    virtual_agent::Clock clock{};
    virtual_agent::Authority authority{};
    virtual_agent::Cloud cloud{state, *this, clock, authority};
    virtual_agent::Handlers handlers{{state, phone, cloud}};

    std::vector<virtual_agent::Event> announced{};
    int listeners = 0; // the number of applications that each event reaches

private:
    int to_all(int delegate_id, const Make &make) override
    {
        announced.push_back(make({delegate_id, 1, false}));
        return listeners;
    }
};

} // namespace kv::test
