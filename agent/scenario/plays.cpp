// SPDX-License-Identifier: Apache-2.0
#include "plays.hpp"

#include <stdexcept>

namespace kv::virtual_agent {

void Plays::start(Steered &agent, Scenario scenario, Play::Ended ended)
{
    if (play_ && play_->current())
        throw std::invalid_argument{"a scenario is being played; 'stop-play' ends it"};
    problem_.clear();
    play_.emplace(agent, agent.journal, std::move(scenario),
                  [this, ended = std::move(ended)](const std::string &problem) {
                      problem_ = problem;
                      if (ended)
                          ended(problem);
                  });
}

void Plays::stop()
{
    if (!play_ || !play_->current())
        throw std::invalid_argument{"no scenario is being played"};
    play_->stop();
}

Json Plays::view() const
{
    if (!play_)
        return {};
    const Scenario::Step *step = play_->current();
    Json shown = Json::object();
    shown.set("title", play_->title()).set("running", step != nullptr);
    shown.set("line", step ? Json{step->line} : Json{}).set("step", step ? Json{in_words(*step)} : Json{});
    shown.set("problem", problem_);
    return shown;
}

} // namespace kv::virtual_agent
