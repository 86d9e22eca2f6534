// SPDX-License-Identifier: Apache-2.0
#include "actions.hpp"

namespace kv::virtual_agent::command {

Json play(ControlledAgent &agent, Arguments &arguments)
{
    const cJSON *scenario = arguments.any("scenario");
    if (cJSON_IsString(scenario))
        agent.scenarios.start_file(scenario->valuestring);
    else
        agent.scenarios.start(scenario);
    return std::move(Json::object().set("started", true));
}

Json stop_play(ControlledAgent &agent, Arguments &)
{
    agent.scenarios.stop();
    return Json::object();
}

Json personality(ControlledAgent &agent, Arguments &arguments)
{
    agent.scenarios.become(arguments.required_text("name"));
    return Json::object();
}

} // namespace kv::virtual_agent::command
