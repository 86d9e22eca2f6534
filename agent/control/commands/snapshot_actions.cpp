// SPDX-License-Identifier: Apache-2.0
#include "actions.hpp"

#include "agent/device/snapshot.hpp"

namespace kv::virtual_agent::command {

Json snapshot(ControlledAgent &agent, Arguments &)
{
    return std::move(Json::object().set("snapshot", snapshot_of(agent.state)));
}

Json restore(ControlledAgent &agent, Arguments &arguments)
{
    virtual_agent::restore(agent.state, arguments.any("snapshot"));
    agent.cloud.apply_state();
    return Json::object();
}

Json reset(ControlledAgent &agent, Arguments &)
{
    virtual_agent::restore(agent.state, Json::object().get());
    agent.cloud.apply_state();
    agent.faults.clear();
    agent.clock.run();
    return Json::object();
}

} // namespace kv::virtual_agent::command
