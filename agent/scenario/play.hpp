// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenario.hpp"

#include <deque>

namespace kv::virtual_agent {

/// Plays a scenario on the main loop, and notes in the journal how each step went. It ends with the first step that fails.
class Play {
public:
    /// Called once, from the main loop; the play may be destroyed in it. The problem is empty when all went well.
    using Ended = std::function<void(const std::string &problem)>;

    Play(Steered &agent, Journal &journal, Scenario scenario, Ended ended);
    Play(const Play &) = delete;
    Play &operator=(const Play &) = delete;
    ~Play();

    const std::string &title() const { return scenario_.title; }
    /// The step that is played now; NULL when it is over.
    const Scenario::Step *current() const;
    /// Ends it with the current step, as failed.
    void stop();

private:
    using Step = Scenario::Step;

    /// A request of an application, as the journal shows it.
    struct SeenCall {
        std::string method;
        Json facts;
    };

    void heard(const Json &facts);
    void play_soon();
    void play();
    /// True when the step is done. Throws what is wrong with it.
    bool done(const Step &step);
    bool state_is_so(const Step &step);
    bool was_called(const Step &step);
    std::string nearest_call(const Step &step) const;
    void start_waiting(const Step &step);
    void time_is_up();
    void note(const Step &step, const std::string &problem);
    void end(const std::string &problem);

    Steered &agent_;
    Journal &journal_;
    Scenario scenario_;
    Ended ended_;
    Journal::Listener listener_;
    std::size_t next_ = 0;
    std::deque<SeenCall> calls_{};  // since the last command, without those that were expected
    std::string last_difference_{}; // why the state is not as it is waited for
    unsigned soon_ = 0;
    unsigned limit_ = 0;
    bool waited_ = false; // the time that a step was to take has passed
};

/// A step in words: expect send_ap_list {"req_id":1}.
std::string in_words(const Scenario::Step &step);

} // namespace kv::virtual_agent
