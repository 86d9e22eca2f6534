// SPDX-License-Identifier: Apache-2.0
#include "commands.hpp"

#include "agent/device/personalities.hpp"
#include "agent/scenario/plays.hpp"
#include "command_actions.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

/// Takes the first value from a row of them.
std::string next_text(const Parameter &parameter, std::istringstream &words)
{
    std::string text;
    if (parameter.kind != Parameter::Kind::json) {
        words >> text;
        return text;
    }
    std::getline(words >> std::ws, text);
    const bool nothing = text.rfind("- ", 0) == 0;
    if (const std::size_t length = nothing ? 1 : Json::length_of_first(text); length > 0 && length < text.size()) {
        words.clear();
        words.str(text.substr(length));
        text.resize(length);
    }
    return text;
}

/// The arguments of a command from the words of a line.
Json arguments_from(const Command &command, std::istringstream &words)
{
    Json arguments = Json::object();
    for (const Parameter &parameter : command.parameters) {
        const std::string text = next_text(parameter, words);
        if (text.empty())
            break;
        if (text != "-") // nothing, so that what stands behind it can be given
            arguments.set(parameter.name, argument_from(parameter, text));
    }
    if (std::string more; words >> more)
        throw std::invalid_argument{"nothing can follow here: " + more};
    return arguments;
}

} // namespace

Json view_of(const Steered &agent)
{
    Json all = agent.state.view();
    all.set("peers", agent.server.view()).set("faults", agent.faults.view()).set("play", agent.plays.view());
    return all;
}

// A table
// clang-format off
const std::vector<Command> &all_commands()
{
    using enum Parameter::Kind;
    using enum Command::Effect;
    static const std::vector<Command> commands = {
        {"state", {{"path", word, false}}, command::state, asks,
         "what the agent knows, who is connected, and which faults are to come; or the part at a path: setup.networks.0.ssid"},
        {"journal", {{"since", number, false}, {"limit", number, false}, {"filter", json, false}}, command::journal, asks,
         "what was noted, from an entry's number on; FILTER is an object that entries must match"},
        {"count", {{"filter", json, false}}, command::count, asks, "how many entries match"},
        {"wait", {{"filter", json, false}, {"within_ms", number, false}, {"since", number, false}}, command::wait, asks,
         "answers when an entry is there that matches; by default within 5000 ms from now on"},
        {"describe", {}, command::describe, asks,
         "what this agent version knows: methods, events with sample values, faults, steps, personalities"},
        {"clear", {}, command::clear, changes, "forgets all entries; their numbers go on"},
        {"emit", {{"event", word, true}, {"values", json, false}}, command::emit, changes,
         "sends an event to all who registered for it; VALUES is a JSON array, sample values when it is left out"},
        {"fault", {{"method", word, true}, {"form", word, true}, {"value", number, false}, {"times", number, false}}, command::fault, changes,
         "makes the next TIMES requests of a method, or of all, go wrong; 0 takes that back"},
        {"update", {{"step", word, true, {"start", "install", "complete", "fail", "ready"}}, {"value", word, false}}, command::update, changes,
         "plays a step of the agent's being updated: start, install, complete [VERSION], fail [CODE], ready on|off"},
        {"phone", {{"step", word, true}, {"with", json, false}}, command::phone, changes,
         "does what the user does with the phone; WITH is a JSON object"},
        {"cloud", {{"step", word, true}, {"with", json, false}}, command::cloud, changes,
         "lets something happen in the cloud; WITH is a JSON object"},
        {"clock", {{"what", word, true, {"stand", "run", "advance"}}, {"ms", number, false}}, command::clock, changes,
         "makes the agent's time stand or run; a standing one advances by MS"},
        {"snapshot", {}, command::snapshot, asks, "all of the state, secrets included, to be restored later"},
        {"restore", {{"snapshot", json, true}}, command::restore, changes,
         "puts the state back; applications are told nothing, and the version stays"},
        {"reset", {}, command::reset, changes,
         "makes it a device that was never used; faults are taken back, the clock runs, applications stay connected"},
        {"personality", {{"name", word, true}}, command::personality, changes,
         "makes it another device: " + personality_names()},
        {"play", {{"scenario", json, true}}, command::play, changes,
         "plays a scenario: an object, or the path of a file as a text; 'state play' shows how it goes"},
        {"stop-play", {}, command::stop_play, changes, "ends the scenario that is played"},
        {"help", {}, command::help, asks, "this list"},
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

/// Refuses what is missing and what is not known.
Arguments checked(const Command &command, const cJSON *arguments)
{
    Arguments taken{arguments};
    for (const Parameter &parameter : command.parameters)
        if (!taken.any(parameter.name) && parameter.required)
            throw std::invalid_argument{std::string{"'"} + parameter.name + "' is missing; it is " + command.name +
                                        " " + command.form()};
    taken.end();
    return taken;
}

/// The words and numbers among the arguments. Documents may hold a password.
Json shown_of(const Command &command, const cJSON *arguments)
{
    Json shown = Json::object();
    for (const Parameter &parameter : command.parameters)
        if (const cJSON *value = cJSON_GetObjectItemCaseSensitive(arguments, parameter.name);
            value && parameter.kind != Parameter::Kind::json)
            shown.set(parameter.name, Json::copy_of(value));
    return shown;
}

/// Of one that failed only its name: its arguments were not understood.
void note(Steered &agent, const Command &command, bool ok, const cJSON *arguments)
{
    if (command.effect == Command::Effect::asks)
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
    agent.journal.write(Journal::now(), facts.set("ok", ok), std::move(words));
}

} // namespace

Json run_command(Steered &agent, const Command &command, const cJSON *arguments)
{
    Arguments taken = checked(command, arguments);
    return std::get<Command::Run>(command.action)(agent, taken);
}

Json good_answer(Json facts)
{
    return std::move(Json::object().set("ok", true).add(std::move(facts)));
}

Json bad_answer(const std::string &problem)
{
    return std::move(Json::object().set("ok", false).set("error", problem));
}

std::unique_ptr<Waiting> carry_out(Steered &agent, const Command &command, const cJSON *arguments, const Reply &reply)
{
    Json answer;
    try {
        if (command.waits()) {
            Arguments taken = checked(command, arguments);
            return std::get<Command::Start>(command.action)(agent, taken, reply);
        }
        answer = good_answer(run_command(agent, command, arguments));
        note(agent, command, true, arguments);
    } catch (const std::exception &problem) {
        answer = bad_answer(problem.what());
        note(agent, command, false, arguments);
    }
    reply(std::move(answer));
    return nullptr;
}

std::unique_ptr<Waiting> carry_out_line(Steered &agent, const std::string &line, const Reply &reply)
{
    try {
        std::istringstream words{line};
        std::string name;
        words >> name;
        const Command *command = find_command(name);
        if (!command)
            throw std::invalid_argument{"there is no command '" + name + "'; try help"};
        const Json arguments = arguments_from(*command, words);
        return carry_out(agent, *command, arguments.get(), reply);
    } catch (const std::exception &problem) {
        reply(bad_answer(problem.what()));
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
    for (const DelegateEntry &delegate : all_delegates())
        row(delegate.name, delegate.form);
    return text.str();
}

} // namespace kv::virtual_agent
