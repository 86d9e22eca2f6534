// SPDX-License-Identifier: Apache-2.0
// What concerns the agent as a program, and the scenarios that it plays.
#include "command_actions.hpp"

#include "agent/scenario/plays.hpp"

namespace kv::virtual_agent::command {

Json play(Steered &agent, Arguments &arguments)
{
    const cJSON *scenario = arguments.any("scenario");
    agent.plays.start(agent, cJSON_IsString(scenario) ? Scenario::load(scenario->valuestring)
                                                      : Scenario::parse(text_of(scenario)));
    return std::move(Json::object().set("started", true));
}

Json stop_play(Steered &agent, Arguments &)
{
    agent.plays.stop();
    return Json::object();
}

Json help(Steered &, Arguments &)
{
    return std::move(Json::object().set("help", command_help()));
}

Json quit(Steered &agent, Arguments &)
{
    agent.quit();
    return Json::object();
}

} // namespace kv::virtual_agent::command
