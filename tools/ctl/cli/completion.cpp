// SPDX-License-Identifier: Apache-2.0
#include "completion.hpp"

#include "agent_commands.hpp"
#include "tools/ctl/output/failure.hpp"
#include "usage.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace kv::ctl {

namespace {

const Verb *find_verb(const Verbs &verbs, const std::string &name)
{
    const auto found = std::find_if(verbs.begin(), verbs.end(), [&name](const Verb *verb) {
        return verb->name == name || (verb->alias && verb->alias == name);
    });
    return found == verbs.end() ? nullptr : *found;
}

std::vector<std::string> complete_argument(const Verb *verb, const std::string &name,
                                           const std::vector<std::string> &words)
{
    if (verb)
        return verb->complete ? verb->complete(words) : std::vector<std::string>{};
    const std::optional<Agent> agent = agent_for_completion();
    return agent ? complete_command(*agent, name, words) : std::vector<std::string>{};
}

std::vector<std::string> all_candidates(const CLI::App &app, const Verbs &verbs, const std::vector<std::string> &words)
{
    if (words.size() <= 1)
        return verb_names(app);
    const Verb *verb = find_verb(verbs, words[0]);
    if (verb && words.back().rfind('-', 0) == 0)
        return option_names(*app.get_subcommand(words[0]));
    if (verb && words[0] == "help")
        return words.size() == 2 ? verb_names(app) : std::vector<std::string>{};
    return complete_argument(verb, words[0], {words.begin() + 1, words.end()});
}

bool has_control_character(const std::string &name)
{
    return std::any_of(name.begin(), name.end(), [](unsigned char letter) { return letter < 0x20 || letter == 0x7f; });
}

} // namespace

std::vector<std::string> verb_names(const CLI::App &app)
{
    std::vector<std::string> names = listed_verbs(app);
    if (const std::optional<Agent> agent = agent_for_completion())
        for (const std::string &name : agent->command_names())
            if (std::find(names.begin(), names.end(), name) == names.end())
                names.push_back(name);
    return names;
}

std::vector<std::string> candidates(const CLI::App &app, const Verbs &verbs, const std::vector<std::string> &words)
{
    try {
        std::vector<std::string> names = all_candidates(app, verbs, words);
        std::erase_if(names, has_control_character); // a newline would make two names of one
        return names;
    } catch (const Failure &) {
        return {};
    }
}

} // namespace kv::ctl
