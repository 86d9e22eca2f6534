// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenario.hpp"

#include <deque>

namespace kv::virtual_agent {

/// Plays a scenario on the main loop and writes the result of each step to the journal. The first step that fails ends
/// it.
class Play {
public:
    /// Called once, from the main loop; it may destroy the play. The problem is empty on success.
    using Ended = std::function<void(const std::string &problem)>;

    Play(ControlledAgent &agent, Scenario scenario, Ended ended);
    Play(const Play &) = delete;
    Play &operator=(const Play &) = delete;

    const Scenario &scenario() const { return scenario_; }
    /// The present step; null once the play has ended.
    const Scenario::Step *current() const;
    /// Ends the play; the present step counts as failed.
    void stop();

private:
    using Step = Scenario::Step;

    /// A request of an application, as the journal shows it.
    struct SeenCall {
        std::string method;
        Json facts;
    };

    void on_entry(const Json &facts);
    void look_for_forbidden(const SeenCall &call);
    void play_soon();
    void play();
    /// Returns true once the step is done. Throws std::exception if it fails.
    bool is_done(const Step &step);
    bool state_matches(const Step &step);
    bool was_called(const Step &step);
    void must_not_be_early(const Step &step) const;
    std::string nearest_call(const Step &step) const;
    void start_waiting(const Step &step);
    void time_out();
    void note(const Step &step, const std::string &problem);
    void fail(const Step &step, const std::string &problem);
    void end(const std::string &failure);
    int version() const { return agent_.state.version.number(); }

    ControlledAgent &agent_;
    Scenario scenario_;
    Ended ended_;
    Journal::Listener listener_;
    std::size_t next_ = 0;
    std::deque<SeenCall> calls_{};          // since the last command, without those that met an expectation
    std::vector<const Step *> forbidden_{}; // the calls that must not happen any more
    const Step *violated_ = nullptr;        // the first of them that happened nevertheless
    std::int64_t begun_us_ = 0;             // when the present step began; 0 before
    std::string last_difference_{};         // between the state and the expected one
    Source soon_{};
    Source timeout_{};
    bool waited_ = false; // the time of a wait step has passed
};

} // namespace kv::virtual_agent
