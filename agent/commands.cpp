// SPDX-License-Identifier: Apache-2.0
#include "commands.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

Json state(Steered &agent, Arguments &)
{
    return std::move(Json::object().set("state", view_of(agent)));
}

Json emit(Steered &agent, Arguments &arguments)
{
    const std::string name = arguments.required_text("event");
    const DelegateEntry *delegate = find_delegate(name);
    if (!delegate)
        throw std::invalid_argument{"there is no event '" + name + "'"};
    const cJSON *values = arguments.any("values");
    const Json none = Json::array();
    return std::move(Json::object().set("peers", agent.server.emit(*delegate, values ? values : none.get())));
}

Json fault(Steered &agent, Arguments &arguments)
{
    const std::string name = arguments.required_text("method");
    const MethodEntry *method = find_method(name);
    if (!method && name != "all")
        throw std::invalid_argument{"there is no method '" + name + "'; 'all' stands for every one"};
    const Fault fault = parse_fault(arguments.required_text("form"), arguments.number("value"));
    agent.faults.set(method ? method->id : Faults::every_method, fault, arguments.number("times").value_or(1));
    return Json::object();
}

Json update(Steered &agent, Arguments &arguments)
{
    const std::string step = arguments.required_text("step");
    const std::optional<std::string> value = arguments.text("value");
    const auto announced = [](bool heard) { return std::move(Json::object().set("announced", heard)); };
    if (step == "complete")
        return announced(agent.updates.complete(value ? Version::parse(*value) : agent.state.version));
    if (step == "fail")
        return announced(agent.updates.fail(value ? parse_number(*value, "the code") : -1));
    if (step == "ready") {
        if (value != "on" && value != "off")
            throw std::invalid_argument{"ready is on or off, not " + value.value_or("missing")};
        agent.state.update_ready = value == "on";
        return Json::object();
    }
    if (step != "start" && step != "install")
        throw std::invalid_argument{"an update has no step '" + step + "'"};
    if (value)
        throw std::invalid_argument{"nothing can follow here: " + *value};
    return announced(step == "start" ? agent.updates.start() : agent.updates.install());
}

Json phone(Steered &agent, Arguments &arguments)
{
    const std::string step = arguments.required_text("step");
    return std::move(Json::object().set("phone", agent.phone.run(step, arguments.any("with"))));
}

Json cloud(Steered &agent, Arguments &arguments)
{
    const std::string step = arguments.required_text("step");
    return std::move(Json::object().set("cloud", agent.cloud.run(step, arguments.any("with"))));
}

Json clock(Steered &agent, Arguments &arguments)
{
    const std::string what = arguments.required_text("what");
    const std::optional<int> milliseconds = arguments.number("ms");
    if (what == "stand")
        agent.clock.stand();
    else if (what == "run")
        agent.clock.run();
    else if (what != "advance")
        throw std::invalid_argument{"the clock can stand, run or advance, not '" + what + "'"};
    else if (!agent.clock.stands())
        throw std::invalid_argument{"only a clock that stands can be moved on; 'clock stand' comes first"};
    else if (!milliseconds || *milliseconds < 0)
        throw std::invalid_argument{"by how many milliseconds is the clock to be moved on?"};
    else
        agent.clock.advance(*milliseconds);
    return std::move(Json::object().set("now_ms", agent.clock.now_ms()));
}

Json quit(Steered &agent, Arguments &)
{
    agent.quit();
    return Json::object();
}

Json help(Steered &, Arguments &)
{
    return std::move(Json::object().set("help", command_help()));
}

/// The arguments of a command from the words of a line.
Json arguments_from(const Command &command, std::istringstream &words)
{
    Json arguments = Json::object();
    for (const Parameter &parameter : command.parameters) {
        std::string word;
        if (parameter.kind == Parameter::Kind::json)
            std::getline(words >> std::ws, word);
        else
            words >> word;
        if (word.empty())
            break;
        if (word == "-") // nothing, so that what stands behind it can be given
            continue;
        switch (parameter.kind) {
        case Parameter::Kind::word: arguments.set(parameter.name, word); break;
        case Parameter::Kind::number: arguments.set(parameter.name, parse_number(word, parameter.name)); break;
        case Parameter::Kind::json: arguments.set(parameter.name, Json::parse(word)); break;
        }
    }
    if (std::string more; words >> more)
        throw std::invalid_argument{"nothing can follow here: " + more};
    return arguments;
}

} // namespace

Json view_of(const Steered &agent)
{
    Json all = agent.state.view();
    all.set("peers", agent.server.view()).set("faults", agent.faults.view());
    return all;
}

const std::vector<Command> &all_commands()
{
    using enum Parameter::Kind;
    static const std::vector<Command> commands = {
        {"state", {}, state, "what the agent knows, who is connected, and which faults are to come"},
        {"emit",
         {{"event", word, true}, {"values", json, false}},
         emit,
         "sends an event to all who registered for it; VALUES is a JSON array"},
        {"fault",
         {{"method", word, true}, {"form", word, true}, {"value", number, false}, {"times", number, false}},
         fault,
         "makes the next TIMES requests of a method, or of all, go wrong; 0 takes that back"},
        {"update",
         {{"step", word, true}, {"value", word, false}},
         update,
         "plays a step of the agent's being updated: start, install, complete [VERSION], fail [CODE], ready on|off"},
        {"phone",
         {{"step", word, true}, {"with", json, false}},
         phone,
         "does what the user does with the phone; WITH is a JSON object"},
        {"cloud",
         {{"step", word, true}, {"with", json, false}},
         cloud,
         "lets something happen in the cloud; WITH is a JSON object"},
        {"clock",
         {{"what", word, true}, {"ms", number, false}},
         clock,
         "makes the agent's time stand or run; a standing one advances by MS"},
        {"help", {}, help, "this list"},
        {"quit", {}, quit, "stops the agent"},
    };
    return commands;
}

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

Json run_command(Steered &agent, const Command &command, const cJSON *arguments)
{
    Arguments taken{arguments};
    for (const Parameter &parameter : command.parameters)
        if (!taken.any(parameter.name) && parameter.required)
            throw std::invalid_argument{std::string{"'"} + parameter.name + "' is missing; it is " + command.name +
                                        " " + command.form()};
    taken.end();
    return command.run(agent, taken);
}

Json run_line(Steered &agent, const std::string &line)
{
    try {
        std::istringstream words{line};
        std::string name;
        words >> name;
        const Command *command = find_command(name);
        if (!command)
            throw std::invalid_argument{"there is no command '" + name + "'; try help"};
        const Json arguments = arguments_from(*command, words);
        Json answer = Json::object();
        answer.set("ok", true).add(run_command(agent, *command, arguments.get()));
        return answer;
    } catch (const std::exception &problem) {
        return std::move(Json::object().set("ok", false).set("error", problem.what()));
    }
}

std::string command_help()
{
    std::ostringstream text;
    const auto row = [&text](std::string left, const char *help) {
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
    for (const Phone::Step &step : Phone::steps())
        row(std::string{step.name} + " " + step.arguments, step.help);
    text << "Steps of the cloud:\n";
    for (const Cloud::Step &step : Cloud::steps())
        row(std::string{step.name} + " " + step.arguments, step.help);
    text << "Events:\n";
    for (const DelegateEntry &delegate : all_delegates())
        row(delegate.name, delegate.form.c_str());
    return text.str();
}

} // namespace kv::virtual_agent
