// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "json_schema.hpp"

/// The steps of scenarios and personalities that run a command of the agent.
namespace kv::schema {

template <class Entries>
std::vector<std::string> names_of(const Entries &entries)
{
    std::vector<std::string> names;
    for (const auto &entry : entries)
        names.emplace_back(entry.name);
    return names;
}

/// The condition that a member has one of these values.
Json only_for(const char *member, const std::vector<std::string> &values);

/// A value that a variable may replace: a text with "${name}" is accepted too.
Json or_variable(Json shape);

/// Whether the values of a step may be variables.
enum class Values { literal, or_variables };

/// The step of a command; `members` are those that any step may have.
Json command_step(const virtual_agent::Command &command, Json members, Values values);

} // namespace kv::schema
