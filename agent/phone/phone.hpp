// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/device/step.hpp"
#include "agent/server/event_hub.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The simulated phone: the steps of a setup, and the device's replies to them. A step throws std::invalid_argument, and
/// changes nothing, if it makes no sense in the present state, the agent version does not have it, or no application is
/// registered for its event.
class Phone {
public:
    Phone(State &state, EventHub &hub);

    static constexpr const char *name = "phone";
    static const std::vector<Step<Phone>> &steps();

    /// Runs a step and returns its result.
    Json run(const std::string &step, const cJSON *arguments)
    {
        return run_step(*this, state_.version, step, arguments);
    }

    // Replies and reports of the device. They return false for a request id that is not pending.
    bool networks_found(int request, std::vector<AccessPoint> networks);
    bool language_answered(int request, bool applied);
    void join_failed(int error_code);
    void confirmed(bool yes);
    void reset_confirmed(bool yes);
    void reset();

private:
    Json connect(Arguments &);
    Json leave(Arguments &);
    Json confirm(Arguments &);
    Json pin(Arguments &);
    Json enter_pin(Arguments &);
    Json scan(Arguments &);
    Json choose(Arguments &);
    Json join(Arguments &);
    Json provision(Arguments &);
    Json language(Arguments &);
    Json vendor_info(Arguments &);
    Json features(Arguments &);
    Json get_provisioning(Arguments &);
    Json accept_terms(Arguments &);
    Json stop_soft_ap(Arguments &);
    Json finish(Arguments &);
    Json rename(Arguments &);
    Json remove(Arguments &);

    Setup &setup() { return state_.setup; }
    void must_be_connected() const;
    void enter(Stage stage);
    void show_pin();
    void hide_pin();
    const AccessPoint &network(Arguments &arguments);
    std::string candidates_of(const AccessPoint &network) const;

    State &state_;
    EventHub &hub_;
};

} // namespace kv::virtual_agent
