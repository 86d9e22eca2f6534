// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/requests/handlers.hpp"

namespace kv::test {

<<<<<<< HEAD
/// The virtual agent's handlers and state without a port. Its events are recorded instead of sent.
class LoneDevice final : private virtual_agent::Announcer {
=======
/// The inside of the virtual agent without a port. Events are kept instead of sent.
class LoneDevice final {
>>>>>>> w-agent
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

<<<<<<< HEAD
    std::vector<virtual_agent::Event> announced{};
    int listeners = 0; // the number of applications that each event reaches

private:
    int to_all(int delegate_id, const Make &make) override
    {
        announced.push_back(make({delegate_id, 1, false}));
        return listeners;
    }
=======
    std::vector<virtual_agent::Event> sent{};
>>>>>>> w-agent
};

} // namespace kv::test
