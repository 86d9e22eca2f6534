// SPDX-License-Identifier: Apache-2.0
#include "personalities.hpp"

#include "agent/embedded.hpp"

#include <algorithm>

namespace kv::virtual_agent {

namespace {

std::string name_of(const EmbeddedFile &file)
{
    return std::string{file.name.substr(0, file.name.rfind('.'))};
}

} // namespace

const std::vector<Personality> &personalities()
{
    static const std::vector<Personality> all = [] {
        std::vector<Personality> made;
        for (const EmbeddedFile &file : personality_files())
            made.push_back({name_of(file), Scenario::parse(std::string{file.bytes})});
        return made;
    }();
    return all;
}

const Personality *find_personality(const std::string &name)
{
    const auto &all = personalities();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Personality &one) { return one.name == name; });
    return found == all.end() ? nullptr : &*found;
}

// By the files alone: the table of commands, which a scenario is read by, names them.
std::string personality_names()
{
    std::string names;
    for (const EmbeddedFile &file : personality_files())
        names += (names.empty() ? "" : ", ") + name_of(file);
    return names;
}

} // namespace kv::virtual_agent
