// SPDX-License-Identifier: Apache-2.0
#include "agent.hpp"

#include "paths.hpp"
#include "reply.hpp"
#include "tools/ctl/output/failure.hpp"

#include <algorithm>
#include <fstream>
#include <limits>

namespace kv::ctl {

namespace {

constexpr unsigned patient_timeout_s = 10;
constexpr unsigned probe_timeout_s = 2;

CommandParameter parameter_from(const Json &value)
{
    const Reply description{value, "the agent's description of a parameter"};
    const std::string kind = description.text("kind");
    return {description.text("name"),
            kind == "number" ? CommandParameter::Kind::number
            : kind == "json" ? CommandParameter::Kind::json
                             : CommandParameter::Kind::word,
            description.flag("required")};
}

AgentCommand command_from(const Json &value)
{
    const Reply description{value, "the agent's description of a command"};
    AgentCommand command{description.text("name"), description.text("form"), description.text("help"), {}, value};
    for (const Json &parameter : description.array("parameters"))
        command.parameters.push_back(parameter_from(parameter));
    return command;
}

/// The process in the file that the agent writes next to its control socket; 0 if there is none.
int pid_in(const std::string &path)
{
    std::ifstream file{path};
    const std::string text{std::istreambuf_iterator<char>{file}, {}};
    const long long pid = number_in(parsed(text), "pid", 0);
    return pid > 0 && pid <= std::numeric_limits<int>::max() ? static_cast<int>(pid) : 0;
}

/// The overview that the agent sends: its version and its commands.
Reply overview_at(const std::string &path, unsigned timeout_s)
{
    try {
        return {ControlSocket{path, timeout_s}.request("GET", "", ""), "the overview of the agent at " + path};
    } catch (const Failure &problem) {
        if (problem.status != no_agent)
            throw;
        throw Failure{no_agent, "cannot reach a virtual agent at " + path + ": " + problem.what() +
                                    "; start one with 'korvanectl agent start'"};
    }
}

} // namespace

Agent::Agent() : Agent(patient_timeout_s) {}

Agent::Agent(unsigned overview_timeout_s) : socket_(runtime_directory() + "/control", 0)
{
    const Reply overview = overview_at(runtime_directory() + "/control", overview_timeout_s);
    version_ = overview.text("version");
    for (const Json &command : overview.array("commands"))
        commands_.push_back(command_from(command));
    pid_ = pid_in(runtime_directory() + "/control.json");
}

std::optional<Agent> Agent::if_running()
{
    try {
        return Agent{probe_timeout_s};
    } catch (const Failure &problem) {
        if (problem.status != no_agent)
            throw;
        return std::nullopt;
    }
}

const AgentCommand *Agent::find_command(const std::string &name) const
{
    const auto found = std::find_if(commands_.begin(), commands_.end(),
                                    [&name](const AgentCommand &command) { return command.name == name; });
    return found == commands_.end() ? nullptr : &*found;
}

std::vector<std::string> Agent::command_names() const
{
    std::vector<std::string> names;
    for (const AgentCommand &command : commands_)
        names.push_back(command.name);
    return names;
}

Json Agent::run(const std::string &command, const Json &arguments) const
{
    return Reply{socket_.request("POST", "/" + command, text_of(arguments)), "the agent's reply to '" + command + "'"}
        .json();
}

JournalPage Agent::journal(std::optional<long long> since, const Json &filter, int limit) const
{
    Json arguments{{"limit", limit}};
    if (since)
        arguments["since"] = *since;
    if (!filter.empty())
        arguments["filter"] = filter;
    const Reply reply{run("journal", arguments), "the agent's reply to 'journal'"};
    JournalPage page{{}, reply.whole_number("next")};
    for (const Json &entry : reply.array("entries"))
        page.entries.push_back(Reply{entry, "an entry of the agent's journal"}.json());
    if (since && page.next < *since)
        throw Failure{failed, "cannot read the agent's reply to 'journal': its numbers do not ascend"};
    return page;
}

} // namespace kv::ctl
