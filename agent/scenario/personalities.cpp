// SPDX-License-Identifier: Apache-2.0
#include "personalities.hpp"

#include "agent/embedded.hpp"
#include "reading/positions.hpp"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <utility>

namespace kv::virtual_agent {

namespace {

bool is_one_of(const char *name, std::initializer_list<const char *> names)
{
    return std::any_of(names.begin(), names.end(), [name](const char *one) { return std::strcmp(one, name) == 0; });
}

/// Refuses members that have no meaning in a personality, which is the same for every agent version and in each run.
void check_members(const cJSON *object, std::initializer_list<const char *> refused)
{
    for (const cJSON *member = object->child; member; member = member->next)
        if (is_one_of(member->string, refused))
            throw Mistake{member, std::string{"a personality has no '"} + member->string + "'"};
}

void check_step(const cJSON *step)
{
    check_members(step, {"since", "before", "any_order"});
    for (const Command *command : personality_commands())
        if (cJSON_GetObjectItemCaseSensitive(step, command->name))
            return;
    throw Mistake{step, "a step of a personality is a command that changes the device"};
}

void check_personality(const cJSON *document)
{
    check_members(document, {"since", "before", "part", "keeps_calls", "variables"});
    if (!cJSON_GetObjectItemCaseSensitive(document, "title"))
        throw Mistake{document, "a personality has a 'title'"};
    for (const cJSON *step = cJSON_GetObjectItemCaseSensitive(document, "steps")->child; step; step = step->next)
        check_step(step);
}

} // namespace

Personality Personality::parse(std::string name, const std::string &text)
{
    Personality read{std::move(name), Scenario::parse(text)};
    const Json document = Json::parse(text);
    try {
        check_personality(document.get());
    } catch (const Mistake &problem) {
        throw std::invalid_argument{Positions{text, document.get()}.of(problem.where).text() + ": " + problem.what()};
    }
    return read;
}

std::vector<const Command *> personality_commands()
{
    std::vector<const Command *> commands;
    for (const Command &command : all_commands())
        if (command.effect == Command::Effect::changes && !command.waits() &&
            !is_one_of(command.name, {"clear", "personality", "play", "stop-play", "kill", "restart", "quit"}))
            commands.push_back(&command);
    return commands;
}

const std::vector<Personality> &personalities()
{
    static const std::vector<Personality> all = [] {
        std::vector<Personality> read;
        for (const EmbeddedFile &file : personality_files())
            read.push_back(Personality::parse(personality_name(file), std::string{file.bytes}));
        return read;
    }();
    return all;
}

const Personality *find_personality(const std::string &name)
{
    const auto &all = personalities();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Personality &one) { return one.name == name; });
    return found == all.end() ? nullptr : &*found;
}

} // namespace kv::virtual_agent
