// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/server/announcer.hpp"
#include "agent/server/step.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What the user does with the phone during a setup, step by step, and what the device answers. Steps that make no sense
/// at their moment, that this agent version does not have, or that no application listens to throw std::invalid_argument
/// and say so; nothing has happened then.
class Phone {
public:
    Phone(State &state, Announcer &announcer) : state_(state), announcer_(announcer) {}

    static constexpr const char *name = "phone";
    static const std::vector<Step<Phone>> &steps();

    /// Does a step, and gives back what is to be known of it.
    Json run(const std::string &step, const cJSON *arguments)
    {
        return run_step(*this, state_.version, step, arguments);
    }

    /// An event that was sent by hand asks the device as a step does, so its answer is waited for as well.
    void asked(int event, const Json &values);

    // What the device answers and tells; false for an answer to what nobody has asked.
    bool networks_found(int request, std::vector<AccessPoint> networks);
    bool language_taken_up(int request, bool taken_up);
    void could_not_join(int error_code);
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
    void take_pin_away();
    const AccessPoint &network(Arguments &arguments);
    std::string candidates_of(const AccessPoint &network) const;

    State &state_;
    Announcer &announcer_;
};

} // namespace kv::virtual_agent
