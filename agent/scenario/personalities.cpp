// SPDX-License-Identifier: Apache-2.0
#include "personalities.hpp"

#include "agent/embedded.hpp"

#include <algorithm>

namespace kv::virtual_agent {

const std::vector<Personality> &personalities()
{
    static const std::vector<Personality> all = [] {
        std::vector<Personality> read;
        for (const EmbeddedFile &file : personality_files())
            read.push_back({personality_name(file), Scenario::parse(std::string{file.bytes})});
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
