// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenario.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// A device that the agent can be turned into: a scenario of commands for an unused device. The files of personalities/
/// are part of the program.
struct Personality {
    std::string name;
    Scenario scenario;

    const std::string &help() const { return scenario.title; }

    /// Throws std::invalid_argument with line, column and mistake.
    static Personality parse(std::string name, const std::string &text);
};

/// The commands of which a personality may consist: those that change the device.
std::vector<const Command *> personality_commands();

const std::vector<Personality> &personalities();
/// Null for an unknown name.
const Personality *find_personality(const std::string &name);

} // namespace kv::virtual_agent
