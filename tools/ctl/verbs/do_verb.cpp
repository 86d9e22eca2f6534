// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/cli/agent_commands.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

namespace kv::ctl {

namespace {

void print_command(const Output &out, const AgentCommand &command)
{
    out.line(usage_and_help(command), command.description);
}

bool asks_for_help(const std::vector<std::string> &words)
{
    return words.size() == 2 && (words[1] == "--help" || words[1] == "-h");
}

int run_do(const Context &context, const std::vector<std::string> &words)
{
    const Agent agent;
    if (words.empty()) {
        for (const AgentCommand &command : agent.commands())
            print_command(context.out, command);
        return done;
    }
    if (const AgentCommand *command = agent.find_command(words[0]); command && asks_for_help(words)) {
        print_command(context.out, *command);
        return done;
    }
    return run_command(context, agent, words[0], {words.begin() + 1, words.end()});
}

std::function<int()> set_up_do(CLI::App &app, Context &context)
{
    app.prefix_command();
    return [&app, &context] { return run_do(context, app.remaining()); };
}

std::vector<std::string> complete_do(const std::vector<std::string> &words)
{
    const std::optional<Agent> agent = agent_for_completion();
    if (!agent)
        return {};
    if (words.size() == 1)
        return agent->command_names();
    return complete_command(*agent, words[0], {words.begin() + 1, words.end()});
}

} // namespace

const Verb do_verb{
    .name = "do",
    .help = "Run a command of the running agent, or list its commands",
    .usage = "[COMMAND [ARGUMENT]...]",
    .examples = "  korvanectl do\n"
                "  korvanectl do emit status_changed_cb '[2]'\n"
                "  korvanectl do fault start result -1",
    .set_up = set_up_do,
    .complete = complete_do,
};

} // namespace kv::ctl
