// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/agent/agent.hpp"
#include "verb.hpp"

namespace kv::ctl {

/// The arguments of a command of the agent from words. Throws UsageError.
Json arguments_of(const Json &command, const std::vector<std::string> &words);

/// Carries out a command of the agent and prints its answer.
int steer(const Context &context, const Agent &agent, const std::string &name, const std::vector<std::string> &words);

struct SteeringVerb {
    CLI::App *app;
    std::function<int()> run;
};

/// Makes a verb of each command that the agent has, but for names that are verbs already.
std::vector<SteeringVerb> add_commands(CLI::App &app, Context &context, const Agent &agent);

} // namespace kv::ctl
