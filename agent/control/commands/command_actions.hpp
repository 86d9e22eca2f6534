// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commands.hpp"

/// What the commands do; the table in commands.cpp says which is which.
namespace kv::virtual_agent::command {

// The device, its phone and its cloud.
Json state(Steered &agent, Arguments &arguments);
Json emit(Steered &agent, Arguments &arguments);
Json fault(Steered &agent, Arguments &arguments);
Json update(Steered &agent, Arguments &arguments);
Json phone(Steered &agent, Arguments &arguments);
Json cloud(Steered &agent, Arguments &arguments);
Json clock(Steered &agent, Arguments &arguments);

// The state as a whole.
Json snapshot(Steered &agent, Arguments &arguments);
Json restore(Steered &agent, Arguments &arguments);
Json reset(Steered &agent, Arguments &arguments);
Json personality(Steered &agent, Arguments &arguments);

// What was noted.
Json journal(Steered &agent, Arguments &arguments);
Json count(Steered &agent, Arguments &arguments);
Json clear(Steered &agent, Arguments &arguments);
std::unique_ptr<Waiting> wait(Steered &agent, Arguments &arguments, Reply reply);

// Scenarios.
Json play(Steered &agent, Arguments &arguments);
Json stop_play(Steered &agent, Arguments &arguments);

// The agent itself.
Json describe(Steered &agent, Arguments &arguments);
Json help(Steered &agent, Arguments &arguments);
Json quit(Steered &agent, Arguments &arguments);

} // namespace kv::virtual_agent::command
