// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "control_socket.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

/// A parameter of one of the agent's commands.
struct CommandParameter {
    enum class Kind { word, number, json };

    std::string name;
    Kind kind;
    bool required;
};

/// A command of the agent, as the agent describes it.
struct AgentCommand {
    std::string name;
    std::string form; // its parameters: "EVENT [VALUES]"
    std::string help;
    std::vector<CommandParameter> parameters;
    Json description; // all of it, as the agent sent it

    /// "emit EVENT [VALUES]"
    std::string usage() const { return form.empty() ? name : name + " " + form; }
};

/// Entries of the agent's journal; each is a JSON object.
struct JournalPage {
    std::vector<Json> entries;
    long long next; // number of the first entry after them
};

/// The running virtual agent, reached through its control socket.
class Agent {
public:
    /// The agent's journal keeps this many entries.
    static constexpr int max_entries = 10'000;

    /// Throws Failure, with the status no_agent if no agent runs.
    Agent();
    /// Returns nullopt if no agent runs, or if it does not reply within 2 seconds. Throws Failure for a wrong reply.
    static std::optional<Agent> if_running();

    const std::string &version() const { return version_; }
    const std::vector<AgentCommand> &commands() const { return commands_; }
    /// Returns null if the agent does not have the command.
    const AgentCommand *find_command(const std::string &name) const;
    std::vector<std::string> command_names() const;
    /// The agent's process; 0 if it is unknown.
    int pid() const { return pid_; }

    /// Runs a command and returns its reply, a JSON object. `arguments` is an object with a member for each parameter.
    Json run(const std::string &command, const Json &arguments = Json::object()) const;
    /// Reads the entries from number `since` on, or all that match the filter.
    JournalPage journal(std::optional<long long> since, const Json &filter = Json::object(),
                        int limit = max_entries) const;

    const ControlSocket &socket() const { return socket_; }

private:
    explicit Agent(unsigned overview_timeout_s);

    ControlSocket socket_;
    std::string version_;
    std::vector<AgentCommand> commands_;
    int pid_ = 0;
};

} // namespace kv::ctl
