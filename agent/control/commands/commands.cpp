// SPDX-License-Identifier: Apache-2.0
#include "commands.hpp"

#include "actions.hpp"
#include "agent/embedded.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

/// Takes the next JSON value from a line, which may continue behind it. Null for a `-`.
Json next_json(std::istringstream &words)
{
    std::string text;
    std::getline(words >> std::ws, text);
    std::size_t length = 1;
    Json value = text == "-" || text.rfind("- ", 0) == 0 ? Json{} : Json::parse_first(text, length);
    words.clear();
    words.str(text.substr(length));
    return value;
}

/// Reads the arguments of a command from the words of a line. `-` skips an optional argument.
Json arguments_from(const Command &command, std::istringstream &words)
{
    Json arguments = Json::object();
    for (const Parameter &parameter : command.parameters) {
        if ((words >> std::ws).eof())
            break;
        Json value;
        if (parameter.kind == Parameter::Kind::json) {
            value = next_json(words);
        } else {
            std::string word;
            words >> word;
            value = word == "-" ? Json{} : argument_from(parameter, word);
        }
        if (!cJSON_IsNull(value.get()))
            arguments.set(parameter.name, std::move(value));
    }
    if (std::string more; words >> more)
        throw std::invalid_argument{"unexpected argument: " + more};
    return arguments;
}

} // namespace

Json view_of(const ControlledAgent &agent)
{
    Json all = agent.state.view();
    all.set("peers", agent.events.view()).set("faults", agent.faults.view()).set("play", agent.scenarios.view());
    return all;
}

// A table
// clang-format off
const std::vector<Command> &all_commands()
{
    using enum Parameter::Kind;
    using enum Command::Effect;
    static const std::vector<Command> commands = {
        {"state", {{"path", word, false}}, command::state, reads,
         "shows the state of the agent, its connected applications and pending faults; or the part at a path: setup.networks.0.ssid"},
        {"journal", {{"since", number, false}, {"limit", number, false}, {"filter", json, false}}, command::journal, reads,
         "lists the entries of the journal, from the number SINCE on; FILTER is an object that entries must match"},
        {"count", {{"filter", json, false}}, command::count, reads, "counts the entries that match"},
        {"wait", {{"filter", json, false}, {"within_ms", number, false}, {"since", number, false}}, command::wait, reads,
         "waits until an entry matches; by default one that is written within 5000 ms from now on"},
        {"describe", {}, command::describe, reads,
         "describes this agent version: methods, events with sample values, faults, steps, personalities"},
        {"clear", {}, command::clear, changes, "removes all entries; their numbers count on"},
        {"emit", {{"event", word, true}, {"values", json, false}}, command::emit, changes,
         "sends an event to all applications that are registered for it; VALUES is a JSON array, by default sample values"},
        {"fault", {{"method", word, true}, {"form", word, true}, {"value", number, false}, {"times", number, false}}, command::fault, changes,
         "injects a failure into the next TIMES requests of a method, or of all; 0 removes it"},
        {"update", {{"step", word, true, {"start", "install", "complete", "fail", "ready"}}, {"value", word, false}}, command::update, changes,
         "simulates a step of an agent update: start, install, complete [VERSION], fail [CODE], ready on|off"},
        {"kill", {}, command::kill, changes,
         "cuts every connection as the end of the agent does, and serves no application until 'restart'"},
        {"restart", {}, command::restart, changes,
         "cuts every connection, and serves again as an agent that was started anew; the state stays"},
        {"phone", {{"step", word, true}, {"with", json, false}}, command::phone, changes,
         "runs a step of the simulated phone; WITH is a JSON object"},
        {"cloud", {{"step", word, true}, {"with", json, false}}, command::cloud, changes,
         "runs a step of the simulated cloud; WITH is a JSON object"},
        {"clock", {{"what", word, true, {"stop", "run", "advance", "stand"}}, {"ms", number, false}}, command::clock, changes,
         "stops the agent's clock or lets it run; a stopped clock advances by MS; 'stand' is another name for 'stop'"},
        {"snapshot", {}, command::snapshot, reads, "returns the whole state, secrets included, for 'restore'"},
        {"restore", {{"snapshot", json, true}}, command::restore, changes,
         "replaces the state by a snapshot; no events are sent, and the version stays"},
        {"reset", {}, command::reset, changes,
         "resets the device to an unused one; faults are removed, the clock runs, applications stay connected"},
        {"personality", {{"name", word, true}}, command::personality, changes,
         "replaces the device by a prepared one: " + personality_names()},
        {"play", {{"scenario", json, true}}, command::play, changes,
         "plays a scenario: an object, or the path of a file as a text; 'state play' shows its progress"},
        {"stop-play", {}, command::stop_play, changes, "stops the scenario"},
        {"help", {}, command::help, reads, "lists commands, faults, steps and events"},
        {"quit", {}, command::quit, changes, "stops the agent"},
    };
    return commands;
}
// clang-format on

const Command *find_command(const std::string &name)
{
    const auto &commands = all_commands();
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const Command &command) { return name == command.name; });
    return found == commands.end() ? nullptr : &*found;
}

std::string Command::form() const
{
    std::string text;
    for (const Parameter &parameter : parameters) {
        std::string upper = parameter.name;
        std::transform(upper.begin(), upper.end(), upper.begin(),
                       [](char letter) { return static_cast<char>(std::toupper(letter)); });
        text += (text.empty() ? "" : " ") + (parameter.required ? upper : "[" + upper + "]");
    }
    return text;
}

namespace {

/// Rejects missing and unknown arguments.
Arguments checked(const Command &command, const cJSON *arguments)
{
    Arguments taken{arguments};
    for (const Parameter &parameter : command.parameters)
        if (!taken.any(parameter.name) && parameter.required)
            throw std::invalid_argument{std::string{"'"} + parameter.name + "' is missing; the command is " +
                                        command.name + " " + command.form()};
    taken.end();
    return taken;
}

/// The words and numbers among the arguments. JSON arguments may hold secrets and are left out.
Json shown_of(const Command &command, const cJSON *arguments)
{
    Json shown = Json::object();
    for (const Parameter &parameter : command.parameters)
        if (const cJSON *value = cJSON_GetObjectItemCaseSensitive(arguments, parameter.name);
            value && parameter.kind != Parameter::Kind::json)
            shown.set(parameter.name, Json::copy_of(value));
    return shown;
}

/// Writes a command that changes something to the journal; one that failed without its arguments. What the command caused
/// is in the journal already, with a time after `begun`.
void note(ControlledAgent &agent, std::int64_t begun, const Command &command, bool ok, const cJSON *arguments)
{
    if (command.effect == Command::Effect::reads)
        return;
    Json facts = Json::object();
    facts.set("command", command.name);
    std::string words = std::string{"command "} + command.name;
    if (ok) {
        Json shown = shown_of(command, arguments);
        words += "  " + in_words(shown);
        facts.set("with", std::move(shown));
    } else {
        words += "  [failed]";
    }
    agent.journal.write(begun, facts.set("ok", ok), std::move(words));
}

} // namespace

Json run_command(ControlledAgent &agent, const Command &command, const cJSON *arguments)
{
    Arguments taken = checked(command, arguments);
    return std::get<Command::Run>(command.action)(agent, taken);
}

Json good_reply(Json facts)
{
    return std::move(Json::object().set("ok", true).add(std::move(facts)));
}

Json bad_reply(const std::string &problem)
{
    return std::move(Json::object().set("ok", false).set("error", problem));
}

std::unique_ptr<Waiting> carry_out(ControlledAgent &agent, const Command &command, const cJSON *arguments,
                                   const Reply &reply)
{
    const std::int64_t begun = Journal::now();
    Json result;
    try {
        if (command.waits()) {
            Arguments taken = checked(command, arguments);
            return std::get<Command::Start>(command.action)(agent, taken, reply);
        }
        result = good_reply(run_command(agent, command, arguments));
        note(agent, begun, command, true, arguments);
    } catch (const std::exception &problem) {
        result = bad_reply(problem.what());
        note(agent, begun, command, false, arguments);
    }
    reply(std::move(result));
    return nullptr;
}

std::unique_ptr<Waiting> carry_out_line(ControlledAgent &agent, const std::string &line, const Reply &reply)
{
    try {
        std::istringstream words{line};
        std::string name;
        words >> name;
        const Command *command = find_command(name);
        if (!command)
            throw std::invalid_argument{"there is no command '" + name + "'; 'help' lists them"};
        const Json arguments = arguments_from(*command, words);
        return carry_out(agent, *command, arguments.get(), reply);
    } catch (const std::exception &problem) {
        reply(bad_reply(problem.what()));
        return nullptr;
    }
}

Json argument_from(const Parameter &parameter, const std::string &text)
{
    switch (parameter.kind) {
    case Parameter::Kind::word: return text;
    case Parameter::Kind::number: return parse_number(text, parameter.name);
    case Parameter::Kind::json: return Json::parse(text);
    }
    return {};
}

std::string command_help()
{
    std::ostringstream text;
    const auto row = [&text](std::string left, const std::string &help) {
        constexpr std::size_t column = 36;
        if (left.size() >= column)
            left += "\n  " + std::string(column, ' ');
        left.resize(std::max(left.size(), column), ' ');
        text << "  " << left << help << '\n';
    };
    text << "Commands:\n";
    for (const Command &command : all_commands())
        row(std::string{command.name} + " " + command.form(), command.help);
    text << "Faults:\n";
    for (const FaultForm &form : fault_forms())
        row(std::string{form.name} + " " + (form.value ? form.value : ""), form.help);
    text << "Steps of the phone:\n";
    for (const Step<Phone> &step : Phone::steps())
        row(std::string{step.name} + " " + step.arguments, step.help);
    text << "Steps of the cloud:\n";
    for (const Step<Cloud> &step : Cloud::steps())
        row(std::string{step.name} + " " + step.arguments, step.help);
    text << "Events:\n";
    for (const EventEntry &event : all_events())
        row(event.name, event.form);
    return text.str();
}

} // namespace kv::virtual_agent
