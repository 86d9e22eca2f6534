// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/cloud/cloud.hpp"
#include "agent/installation/updates.hpp"
#include "agent/json/arguments.hpp"
#include "agent/phone/phone.hpp"

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace kv::virtual_agent {

/// The functions of scenarios that commands call. Scenarios consist of commands, so `agent/scenario` implements this and
/// commands do not depend on it.
class ScenarioControl {
public:
    /// Both throw std::exception if the scenario has a mistake or another one is played.
    virtual void start_file(const std::string &path) = 0;
    virtual void start(const cJSON *scenario) = 0;
    /// Throws std::invalid_argument if none is played.
    virtual void stop() = 0;
    virtual Json view() const = 0;

    /// Runs the commands that turn the device into a personality. Throws std::exception.
    virtual void become(const std::string &personality) = 0;
    /// Names and help of all personalities.
    virtual Json personalities() const = 0;

protected:
    ~ScenarioControl() = default;
};

/// The parts of the agent that commands control.
struct ControlledAgent {
    State &state;
    EventHub &events;
    Faults &faults;
    Updates &updates;
    Phone &phone;
    Cloud &cloud;
    Clock &clock;
    Journal &journal;
    ScenarioControl &scenarios;
    std::function<void()> quit;
};

/// One named argument of a command. In a line of text the values follow the name of the command in the table's order.
struct Parameter {
    enum class Kind { word, number, json }; // JSON takes the rest of a line

    const char *name;
    Kind kind;
    bool required;
    std::vector<const char *> choices{}; // the words that are accepted; empty for any
};

/// A command whose reply is pending. Destruction gives it up.
class Waiting {
public:
    virtual ~Waiting() = default;
};

/// Receives the reply of a command once: {"ok":true,...}, or {"ok":false,"error":"..."}. The reply of a command that
/// waits comes from the main loop, and the callback may destroy the Waiting object.
using Reply = std::function<void(Json reply)>;

Json good_reply(Json facts);
Json bad_reply(const std::string &problem);

/// One command of the control API. Lines of text, scenarios, HTTP and WebSocket all use this table.
struct Command {
    /// Runs the command and returns the members of its reply. Throws std::exception with a message for the client.
    using Run = Json (*)(ControlledAgent &agent, Arguments &arguments);
    /// Starts a command whose reply comes later. Throws if it cannot be started.
    using Start = std::unique_ptr<Waiting> (*)(ControlledAgent &agent, Arguments &arguments, Reply reply);

    enum class Effect { changes, reads };

    const char *name;
    std::vector<Parameter> parameters;
    std::variant<Run, Start> action;
    Effect effect;
    std::string help;

    /// Its arguments in help texts: EVENT [VALUES].
    std::string form() const;
    bool waits() const { return std::holds_alternative<Start>(action); }
};

/// The state of the agent with its peers, faults and the scenario, as `state` shows it.
Json view_of(const ControlledAgent &agent);

const std::vector<Command> &all_commands();
/// Null for an unknown name.
const Command *find_command(const std::string &name);

/// Runs a command that does not wait. Rejects unknown arguments.
Json run_command(ControlledAgent &agent, const Command &command, const cJSON *arguments);

/// Runs a command from a client and writes it to the journal. Never throws. Returns null if the reply was given already.
std::unique_ptr<Waiting> carry_out(ControlledAgent &agent, const Command &command, const cJSON *arguments,
                                   const Reply &reply);
/// The same for a line of text: the name of a command and its arguments.
std::unique_ptr<Waiting> carry_out_line(ControlledAgent &agent, const std::string &line, const Reply &reply);

/// An argument from the text of a line or of a URL. Throws std::invalid_argument.
Json argument_from(const Parameter &parameter, const std::string &text);

/// All commands, faults, steps and events with their help.
std::string command_help();

} // namespace kv::virtual_agent
