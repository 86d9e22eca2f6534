// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/agent/agent.hpp"
#include "verb.hpp"

namespace kv::ctl {

/// Runs a command of the agent with words as arguments and prints its reply. Throws UsageError for wrong words.
int run_command(const Context &context, const Agent &agent, const std::string &name,
                const std::vector<std::string> &words);

/// "emit EVENT [VALUES]" and, below it, the help.
std::string usage_and_help(const AgentCommand &command);

/// A verb that runs a command of the agent.
struct CommandVerb {
    CLI::App *app;
    std::function<int()> run;
};

/// Adds a verb for each command of the agent, except for names that are verbs already.
std::vector<CommandVerb> add_commands(CLI::App &app, Context &context, const Agent &agent);

/// The running agent, for completion: nullopt also if its replies are wrong.
std::optional<Agent> agent_for_completion();
/// Completes the last word behind a command of the agent.
std::vector<std::string> complete_command(const Agent &agent, const std::string &command,
                                          const std::vector<std::string> &words);

} // namespace kv::ctl
