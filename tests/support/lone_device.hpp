// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/requests/handlers.hpp"

namespace kv::test {

/// The virtual agent without a port. It keeps events instead of sending them.
class LoneDevice final {
public:
    LoneDevice()
    {
        events.send_by([this](const std::string &, virtual_agent::Event &event) { sent.push_back(std::move(event)); });
    }
    LoneDevice(const LoneDevice &) = delete;
    LoneDevice &operator=(const LoneDevice &) = delete;

    /// Connects an application that is registered for every event.
    void connect_application()
    {
        virtual_agent::Peer &peer = events.connect({"application", "application(1)"});
        for (const virtual_agent::EventEntry &event : virtual_agent::all_events())
            peer.keep({event.id, 1, false});
    }

    virtual_agent::State state{};
    virtual_agent::EventHub events{};
    virtual_agent::Phone phone{state, events};
    virtual_agent::Clock clock{};
    virtual_agent::Authority authority{};
    virtual_agent::Cloud cloud{state, events, clock, authority};
    virtual_agent::Handlers handlers{{state, phone, cloud}};

    std::vector<virtual_agent::Event> sent{};
};

} // namespace kv::test
