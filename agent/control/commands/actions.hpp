// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commands.hpp"

/// The actions of the commands, named as the table in commands.cpp names the commands.
namespace kv::virtual_agent::command {

// device_actions.cpp: the device, its phone and its cloud.
Json state(ControlledAgent &agent, Arguments &arguments);
Json emit(ControlledAgent &agent, Arguments &arguments);
Json fault(ControlledAgent &agent, Arguments &arguments);
Json update(ControlledAgent &agent, Arguments &arguments);
Json kill(ControlledAgent &agent, Arguments &arguments);
Json restart(ControlledAgent &agent, Arguments &arguments);
Json phone(ControlledAgent &agent, Arguments &arguments);
Json cloud(ControlledAgent &agent, Arguments &arguments);
Json clock(ControlledAgent &agent, Arguments &arguments);

// snapshot_actions.cpp: the whole state.
Json snapshot(ControlledAgent &agent, Arguments &arguments);
Json restore(ControlledAgent &agent, Arguments &arguments);
Json reset(ControlledAgent &agent, Arguments &arguments);

// journal_actions.cpp: the journal.
Json journal(ControlledAgent &agent, Arguments &arguments);
Json count(ControlledAgent &agent, Arguments &arguments);
Json clear(ControlledAgent &agent, Arguments &arguments);
std::unique_ptr<Waiting> wait(ControlledAgent &agent, Arguments &arguments, Reply reply);

// scenario_actions.cpp: scenarios and personalities.
Json play(ControlledAgent &agent, Arguments &arguments);
Json stop_play(ControlledAgent &agent, Arguments &arguments);
Json personality(ControlledAgent &agent, Arguments &arguments);

// describe_actions.cpp: the agent itself.
Json describe(ControlledAgent &agent, Arguments &arguments);
Json help(ControlledAgent &agent, Arguments &arguments);
Json quit(ControlledAgent &agent, Arguments &arguments);

} // namespace kv::virtual_agent::command
