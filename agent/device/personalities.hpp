// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/scenario/scenario.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// A device that the agent can be: what is done to a fresh one, as a scenario of commands. The files of personalities/
/// are part of the agent.
struct Personality {
    std::string name;
    Scenario scenario;

    const std::string &help() const { return scenario.title; }
};

const std::vector<Personality> &personalities();
/// NULL when there is none.
const Personality *find_personality(const std::string &name);
/// fresh-device, old-agent-1.2, ...
std::string personality_names();

} // namespace kv::virtual_agent
