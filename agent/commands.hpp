// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "arguments.hpp"
#include "clock.hpp"
#include "updates.hpp"

#include <functional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What commands can reach.
struct Steered {
    State &state;
    Server &server;
    Faults &faults;
    Updates &updates;
    Phone &phone;
    Cloud &cloud;
    Clock &clock;
    std::function<void()> quit;
};

/// One thing that a command takes, by name. In a line of text the values follow each other in the table's order.
struct Parameter {
    enum class Kind { word, number, json }; // JSON takes the rest of a line

    const char *name;
    Kind kind;
    bool required;
};

/// One thing that can be done to the agent while it runs. Whatever steers it (lines of text, scenarios) does so through
/// this table.
struct Command {
    const char *name;
    std::vector<Parameter> parameters;
    /// Gives back what is to be known of it. Throws std::exception, with a sentence for whoever asked.
    Json (*run)(Steered &agent, Arguments &arguments);
    const char *help;

    /// How it is written: EVENT [VALUES].
    std::string form() const;
};

/// Everything that can be known of the agent.
Json view_of(const Steered &agent);

const std::vector<Command> &all_commands();
/// None for a name that there is not.
const Command *find_command(const std::string &name);

/// Carries out a command. Arguments that it does not know are refused.
Json run_command(Steered &agent, const Command &command, const cJSON *arguments);
/// Carries out one line, and gives the answer: {"ok":true,...}, or {"ok":false,"error":"why"}. Never throws.
Json run_line(Steered &agent, const std::string &line);

/// All commands with what they do, for people.
std::string command_help();

} // namespace kv::virtual_agent
