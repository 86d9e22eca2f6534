// SPDX-License-Identifier: Apache-2.0
// What concerns the state as a whole.
#include "command_actions.hpp"

#include "agent/device/personalities.hpp"
#include "agent/device/snapshot.hpp"

#include <stdexcept>

namespace kv::virtual_agent::command {

Json snapshot(Steered &agent, Arguments &)
{
    return std::move(Json::object().set("snapshot", snapshot_of(agent.state)));
}

Json restore(Steered &agent, Arguments &arguments)
{
    virtual_agent::restore(agent.state, arguments.any("snapshot"));
    agent.cloud.take_up_state();
    return Json::object();
}

Json reset(Steered &agent, Arguments &)
{
    virtual_agent::restore(agent.state, Json::object().get());
    agent.cloud.take_up_state();
    agent.faults.clear();
    agent.clock.run();
    return Json::object();
}

Json personality(Steered &agent, Arguments &arguments)
{
    const std::string name = arguments.required_text("name");
    const Personality *wanted = find_personality(name);
    if (!wanted)
        throw std::invalid_argument{"there is no personality '" + name + "'; it is one of " + personality_names()};
    for (const Scenario::Step &step : wanted->scenario.steps)
        run_command(agent, *step.command, step.arguments.get());
    return Json::object();
}

} // namespace kv::virtual_agent::command
