// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/clock.hpp"
#include "agent/device/updates.hpp"
#include "arguments.hpp"

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace kv::virtual_agent {

class Plays;

/// What commands can reach.
struct Steered {
    State &state;
    Server &server;
    Faults &faults;
    Updates &updates;
    Phone &phone;
    Cloud &cloud;
    Clock &clock;
    Journal &journal;
    Plays &plays;
    std::function<void()> quit;
};

/// One thing that a command takes, by name. In a line of text the values follow each other in the table's order.
struct Parameter {
    enum class Kind { word, number, json }; // JSON takes the rest of a line

    const char *name;
    Kind kind;
    bool required;
    std::vector<const char *> choices{}; // all that a word can be; empty for any
};

/// A command whose answer is yet to come. Destroyed, it is given up.
class Waiting {
public:
    virtual ~Waiting() = default;
};

/// Is told once what became of a command: {"ok":true,...}, or {"ok":false,"error":"why"}. For a command that waits it is
/// told from the main loop, and may destroy what waits.
using Reply = std::function<void(Json answer)>;

Json good_answer(Json facts);
Json bad_answer(const std::string &problem);

/// One thing that can be done to the agent while it runs. Whatever steers it (lines of text, scenarios, the control API)
/// does so through this table.
struct Command {
    /// Gives back what is to be known of it. Throws std::exception, with a sentence for whoever asked.
    using Run = Json (*)(Steered &agent, Arguments &arguments);
    /// The same for one whose answer comes later. Throws when it cannot be begun.
    using Start = std::unique_ptr<Waiting> (*)(Steered &agent, Arguments &arguments, Reply reply);

    enum class Effect { changes, asks };

    const char *name;
    std::vector<Parameter> parameters;
    std::variant<Run, Start> action;
    Effect effect;
    std::string help;

    /// How it is written: EVENT [VALUES].
    std::string form() const;
    bool waits() const { return std::holds_alternative<Start>(action); }
};

/// Everything that can be known of the agent.
Json view_of(const Steered &agent);

const std::vector<Command> &all_commands();
/// None for a name that there is not.
const Command *find_command(const std::string &name);

/// Carries out a command that does not wait. Arguments that it does not know are refused.
Json run_command(Steered &agent, const Command &command, const cJSON *arguments);

/// Carries out a command that was given from outside, which is noted. Never throws. What is returned is NULL when the
/// reply was given already.
std::unique_ptr<Waiting> carry_out(Steered &agent, const Command &command, const cJSON *arguments, const Reply &reply);
/// The same for one line: a command's name and its arguments.
std::unique_ptr<Waiting> carry_out_line(Steered &agent, const std::string &line, const Reply &reply);

/// An argument from the text of a line or an address. Throws std::invalid_argument.
Json argument_from(const Parameter &parameter, const std::string &text);

/// All commands with what they do, for people.
std::string command_help();

} // namespace kv::virtual_agent
