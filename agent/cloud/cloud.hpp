// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/server/announcer.hpp"
#include "agent/server/step.hpp"
#include "alarm.hpp"
#include "authority.hpp"
#include "tcp_session.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The cloud that the device lives in, and the agent's part in it: sign-up, sign-in, the session with its keep-alives,
/// certificates and tokens. Steps that make no sense at their moment, that this agent version does not have, or that no
/// application listens to throw std::invalid_argument and say so; nothing has happened then.
class Cloud {
public:
    Cloud(State &state, Announcer &announcer, Clock &clock, Authority &authority);

    static constexpr const char *name = "cloud";
    static const std::vector<Step<Cloud>> &steps();

    /// Does a step, and gives back what is to be known of it.
    Json run(const std::string &step, const cJSON *arguments)
    {
        return run_step(*this, state_.version, step, arguments);
    }

    // What the device asks for; false when it cannot be.
    bool sign_up(Credentials credentials);
    void disable_sign_in(bool disable);
    bool disconnect();
    bool set_intervals(std::vector<int> intervals);
    bool select_intervals(std::vector<int> indexes);
    bool send_keep_alive();
    /// None while there is no session.
    std::optional<TcpHeader> tcp_header() const;
    /// None for a device that nobody owns. The same each time for one owner.
    std::optional<std::string> group_id() const;

    /// The device is nobody's any more, by a reset or because its owner gave it up.
    void forget_owner();

    /// The state has been replaced: there is a session, or none, as it says. Nobody is told.
    void take_up_state();

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
    Json show_authority(Arguments &);

    CloudState &cloud() { return state_.cloud; }
    void signed_up(bool succeeded, Credentials credentials);
    void must_be_able_to_sign_in() const;
    bool signs_in() const;
    void connect_session();
    void begin_session();
    void try_to_begin_session();
    void end_session();
    void lose_session(int error);
    void set_signed_up(bool signed_up);
    void set_signed_in(bool signed_in);
    void note_thing_status();
    void note_session();
    void plan_round();
    void round();

    State &state_;
    Announcer &announcer_;
    Authority &authority_;
    std::optional<TcpSession> session_{};
    Alarm sign_up_;
    Alarm comeback_;
    Alarm next_round_;
};

} // namespace kv::virtual_agent
