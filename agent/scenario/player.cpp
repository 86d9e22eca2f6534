// SPDX-License-Identifier: Apache-2.0
#include "player.hpp"

#include "agent/embedded.hpp"
#include "personalities.hpp"
#include "shown_step.hpp"

#include <stdexcept>

namespace kv::virtual_agent {

void ScenarioPlayer::start(Scenario scenario, Play::Ended ended)
{
    if (play_ && play_->current())
        throw std::invalid_argument{"another scenario is being played; 'stop-play' stops it"};
    scenario.require(agent_->state.version.number());
    problem_.clear();
    play_.emplace(*agent_, std::move(scenario), [this, ended = std::move(ended)](const std::string &problem) {
        problem_ = problem;
        if (ended)
            ended(problem);
    });
}

void ScenarioPlayer::stop()
{
    if (!play_ || !play_->current())
        throw std::invalid_argument{"no scenario is being played"};
    play_->stop();
}

Json ScenarioPlayer::view() const
{
    if (!play_)
        return {};
    const Scenario::Step *step = play_->current();
    Json shown = Json::object();
    shown.set("title", play_->scenario().title).set("running", step != nullptr);
    shown.set("line", step ? Json{step->line} : Json{}).set("step", step ? Json{in_words(*step)} : Json{});
    shown.set("problem", problem_).set("seed", virtual_agent::shown(play_->scenario().seed));
    return shown;
}

void ScenarioPlayer::become(const std::string &name)
{
    const Personality *wanted = find_personality(name);
    if (!wanted)
        throw std::invalid_argument{"there is no personality '" + name + "'; it is one of " + personality_names()};
    for (const Scenario::Step &step : wanted->scenario.steps)
        run_command(*agent_, *step.command, step.arguments.get());
}

Json ScenarioPlayer::personalities() const
{
    Json list = Json::array();
    for (const Personality &one : virtual_agent::personalities())
        list.append(std::move(Json::object().set("name", one.name).set("help", one.help())));
    return list;
}

} // namespace kv::virtual_agent
