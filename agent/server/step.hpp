// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/arguments.hpp"
#include "agent/device/version.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// One thing that the phone or the cloud, its actor, can do when it is told to.
template <class Actor>
struct Step {
    const char *name;
    const char *arguments; // for people; empty for none
    int since;             // the lowest agent version
    Json (Actor::*run)(Arguments &arguments);
    const char *help;
};

/// What makes no sense at its moment is refused with a sentence for whoever asked; nothing has happened then.
[[noreturn]] inline void refuse(const std::string &why)
{
    throw std::invalid_argument{why};
}

/// Does one of the actor's steps by its name, and gives back what is to be known of it.
template <class Actor>
Json run_step(Actor &actor, const Version &version, const std::string &name, const cJSON *values)
{
    const std::vector<Step<Actor>> &steps = Actor::steps();
    const auto step =
        std::find_if(steps.begin(), steps.end(), [&](const Step<Actor> &one) { return name == one.name; });
    if (step == steps.end())
        refuse(std::string{"the "} + Actor::name + " has no step '" + name + "'; 'help' lists them");
    if (step->since > version.number())
        refuse("agent " + version.text() + " does not know '" + name + "', only " + version_text(step->since) +
               " and newer ones do");
    Arguments arguments{values};
    return (actor.*step->run)(arguments);
}

} // namespace kv::virtual_agent
