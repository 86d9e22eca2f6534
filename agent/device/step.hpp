// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/arguments.hpp"
#include "version.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// One action of the simulated phone or cloud, the actor.
template <class Actor>
struct Step {
    const char *name;
    const char *arguments; // for help; empty if it takes none
    int since;             // the lowest agent version
    Json (Actor::*run)(Arguments &arguments);
    const char *help;
};

/// Rejects a step that makes no sense in the present state, before it has changed anything.
[[noreturn]] inline void refuse(const std::string &why)
{
    throw std::invalid_argument{why};
}

/// Runs a step of the actor by name and returns its result.
template <class Actor>
Json run_step(Actor &actor, const Version &version, const std::string &name, const cJSON *values)
{
    const std::vector<Step<Actor>> &steps = Actor::steps();
    const auto step =
        std::find_if(steps.begin(), steps.end(), [&](const Step<Actor> &one) { return name == one.name; });
    if (step == steps.end())
        refuse(std::string{"the "} + Actor::name + " has no step '" + name + "'; 'help' lists them");
    if (step->since > version.number())
        refuse("agent " + version.text() + " does not know '" + name + "'; " + version_text(step->since) +
               " and later do");
    Arguments arguments{values};
    return (actor.*step->run)(arguments);
}

} // namespace kv::virtual_agent
