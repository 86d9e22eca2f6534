// SPDX-License-Identifier: Apache-2.0
#include "completion.hpp"

#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/calls/function.hpp"
#include "tools/ctl/output/failure.hpp"
#include "verb.hpp"

#include <CLI/CLI.hpp>

#include <cstring>

namespace kv::ctl {

namespace {

// Both shells ask this program, so that what it knows and what the running agent knows is known to them as well.

constexpr const char *bash_script = R"sh(# bash completion for korvanectl
_korvanectl()
{
    local IFS=$'\n'
    COMPREPLY=($(compgen -W "$(korvanectl --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)" -- "$2"))
}
complete -o default -F _korvanectl korvanectl
)sh";

constexpr const char *zsh_script = R"sh(#compdef korvanectl
_korvanectl()
{
    local -a found
    found=("${(@f)$(korvanectl --complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ -n $found ]]; then
        compadd -a found
    else
        _files
    fi
}
if [[ $funcstack[1] == _korvanectl ]]; then
    _korvanectl "$@"
else
    compdef _korvanectl korvanectl
fi
)sh";

std::vector<std::string> function_names()
{
    std::vector<std::string> names;
    for (const Function &function : all_functions())
        names.emplace_back(function.name + std::strlen("korvane_"));
    return names;
}

void add_names(const Json &described, const std::string &key, std::vector<std::string> &names)
{
    if (const auto list = described.find(key); list != described.end() && list->is_array())
        for (const Json &one : *list) {
            const Json &name = one.is_object() && one.contains("name") ? one["name"] : one;
            if (name.is_string())
                names.push_back(name);
        }
}

/// Arguments of the agent's commands, as far as it describes what they may be: of a step those of the command, of an
/// event the events.
std::vector<std::string> argument_names(const Agent &agent, const std::string &command, std::size_t place)
{
    std::vector<std::string> names;
    const Json *known = agent.find_command(command);
    if (!known || place >= (*known)["parameters"].size() || !agent.find_command("describe"))
        return names;
    const std::string parameter = (*known)["parameters"][place]["name"];
    const Json answer = agent.run("describe");
    const Json &described = answer.contains("interface") ? answer["interface"] : answer;
    if (parameter == "step")
        add_names(described, command, names);
    else if (command == "personality")
        add_names(described, "personalities", names);
    else
        add_names(described, parameter + "s", names);
    if (parameter == "method")
        names.emplace_back("all");
    return names;
}

std::function<int()> set_up_completion(CLI::App &app, Context &)
{
    auto shell = std::make_shared<std::string>();
    app.add_option("SHELL", *shell, "bash or zsh")->required()->check(CLI::IsMember({"bash", "zsh"}));
    return [shell] {
        std::fputs(*shell == "bash" ? bash_script : zsh_script, stdout);
        return static_cast<int>(done);
    };
}

} // namespace

std::vector<std::string> candidates(const CLI::App &app, const std::vector<std::string> &words)
{
    std::vector<std::string> names;
    const std::optional<Agent> agent = Agent::if_running();
    if (words.size() <= 1) {
        for (const CLI::App *sub : app.get_subcommands({}))
            names.push_back(sub->get_name());
        if (agent)
            for (const Json &command : agent->overview()["commands"])
                names.push_back(command["name"]);
        return names;
    }
    const std::string &verb = words[0];
    const auto subs = app.get_subcommands([&verb](const CLI::App *sub) { return sub->get_name() == verb; });
    if (!subs.empty() && words.back().rfind('-', 0) == 0) {
        for (const CLI::Option *option : subs[0]->get_options())
            for (const std::string &name : option->get_lnames())
                names.push_back("--" + name);
        return names;
    }
    const std::size_t place = words.size() - 2;
    if (verb == call_verb.name && (place == 0 || words[place] == ":"))
        return function_names();
    if (verb == agent_verb.name && place == 0)
        return {"start", "stop", "status"};
    if (verb == completion_verb.name && place == 0)
        return {"bash", "zsh"};
    if (!agent)
        return names;
    if (verb == do_verb.name && place > 0)
        return argument_names(*agent, words[1], place - 1);
    if (verb == do_verb.name)
        for (const Json &command : agent->overview()["commands"])
            names.push_back(command["name"]);
    return subs.empty() ? argument_names(*agent, verb, place) : names;
}

const Verb completion_verb{"completion", "prints a script that completes command lines of this program",
                           "  source <(korvanectl completion bash)\n"
                           "  korvanectl completion zsh > ~/.zfunc/_korvanectl",
                           set_up_completion};

} // namespace kv::ctl
