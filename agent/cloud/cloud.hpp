// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/alarm.hpp"
#include "agent/device/state.hpp"
#include "agent/device/step.hpp"
#include "agent/server/event_hub.hpp"
#include "authority.hpp"
#include "tcp_session.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The simulated cloud and the device's part in it: sign-up, sign-in, the session with its keep-alives, certificates and
/// tokens. A step throws std::invalid_argument, and changes nothing, if it makes no sense in the present state, the agent
/// version does not have it, or no application is registered for its event.
class Cloud {
public:
    Cloud(State &state, EventHub &hub, Clock &clock, Authority &authority);

    static constexpr const char *name = "cloud";
    static const std::vector<Step<Cloud>> &steps();

    /// Runs a step and returns its result.
    Json run(const std::string &step, const cJSON *arguments)
    {
        return run_step(*this, state_.version, step, arguments);
    }

    // Requests of the device. They return false if the present state does not allow them.
    bool sign_up(Credentials credentials);
    void disable_sign_in(bool disable);
    bool disconnect();
    bool set_intervals(std::vector<int> intervals);
    bool select_intervals(std::vector<int> indexes);
    bool send_keep_alive();
    /// Nothing while there is no session.
    std::optional<TcpHeader> tcp_header() const;
    /// Nothing for a device without an owner. Depends on the owner only.
    std::optional<std::string> group_id() const;

    /// Removes the owner, after a reset or because the owner gave the device up.
    void forget_owner();

    /// Begins or ends the session to match a state that was replaced. Sends no events.
    void apply_state();

    Authority &authority() { return authority_; }

private:
    Json next_sign_up(Arguments &);
    Json sign_in(Arguments &);
    Json sign_out(Arguments &);
    Json drop_session(Arguments &);
    Json own(Arguments &);
    Json disown(Arguments &);
    Json device_list(Arguments &);
    Json last_status(Arguments &);
    Json keep_alive(Arguments &);
    Json diagnostics(Arguments &);
    Json invalidate_certificates(Arguments &);
    Json show_authority(Arguments &);

    CloudState &cloud() { return state_.cloud; }
    void signed_up(bool succeeded, Credentials credentials);
    void must_be_able_to_sign_in() const;
    bool signs_in() const;
    void connect_session();
    void begin_session();
    void try_to_begin_session();
    void end_session();
    void break_session(int code);
    void lose_session(int error);
    void set_signed_up(bool signed_up);
    void set_signed_in(bool signed_in);
    void update_thing_status();
    void update_session_facts();
    void schedule_round();
    void round();

    State &state_;
    EventHub &hub_;
    Authority &authority_;
    std::optional<TcpSession> session_{};
    bool has_reported_simulation_ = false;
    Alarm sign_up_;
    Alarm restore_;
    Alarm next_round_;
};

} // namespace kv::virtual_agent
