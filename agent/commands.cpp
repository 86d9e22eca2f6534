// SPDX-License-Identifier: Apache-2.0
#include "commands.hpp"

#include <charconv>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

/// The words of a line, taken one after another.
class Words {
public:
    explicit Words(const std::string &line) : line_(line) {}

    /// The next word; empty at the end.
    std::string next()
    {
        std::string word;
        line_ >> word;
        return word;
    }
    std::string required(const char *what)
    {
        std::string word = next();
        if (word.empty())
            throw std::invalid_argument{std::string{what} + " is missing"};
        return word;
    }
    std::optional<int> number(const char *what)
    {
        const std::string word = next();
        if (word.empty())
            return std::nullopt;
        int value = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc{} || end != word.data() + word.size())
            throw std::invalid_argument{std::string{what} + " must be a whole number of 32 bits, not " + word};
        return value;
    }
    std::string rest()
    {
        std::string text;
        std::getline(line_ >> std::ws, text);
        return text;
    }
    void end()
    {
        if (const std::string word = next(); !word.empty())
            throw std::invalid_argument{"nothing can follow here: " + word};
    }

private:
    std::istringstream line_;
};

Json done()
{
    return std::move(Json::object().set("ok", true));
}

Json state(Steered &agent, Words &words)
{
    words.end();
    Json all = agent.state.view();
    all.set("peers", agent.server.view()).set("faults", agent.faults.view());
    return std::move(done().set("state", std::move(all)));
}

Json emit(Steered &agent, Words &words)
{
    const std::string name = words.required("the event's name");
    const DelegateEntry *delegate = find_delegate(name);
    if (!delegate)
        throw std::invalid_argument{"there is no event '" + name + "'"};
    const std::string text = words.rest();
    const Json values = Json::parse(text.empty() ? "[]" : text);
    return std::move(done().set("peers", agent.server.emit(*delegate, values.get())));
}

Json fault(Steered &agent, Words &words)
{
    const std::string name = words.required("the method's name");
    const MethodEntry *method = find_method(name);
    if (!method)
        throw std::invalid_argument{"there is no method '" + name + "'"};
    const std::string form = words.required("the fault's name");
    const std::optional<int> value = words.number("the fault's number");
    words.end();
    agent.faults.set(method->id, parse_fault(form, value));
    return done();
}

Json update(Steered &agent, Words &words)
{
    const std::string step = words.required("the step");
    bool announced = false;
    if (step == "start") {
        words.end();
        announced = agent.updates.start();
    } else if (step == "install") {
        words.end();
        announced = agent.updates.install();
    } else if (step == "complete") {
        const std::string version = words.next();
        words.end();
        announced = agent.updates.complete(version.empty() ? agent.state.version : Version::parse(version));
    } else if (step == "fail") {
        const int code = words.number("the code").value_or(-1);
        words.end();
        announced = agent.updates.fail(code);
    } else if (step == "ready") {
        const std::string wanted = words.required("on or off");
        if (wanted != "on" && wanted != "off")
            throw std::invalid_argument{"ready is on or off, not " + wanted};
        words.end();
        agent.state.update_ready = wanted == "on";
        return done();
    } else {
        throw std::invalid_argument{"an update has no step '" + step + "'"};
    }
    return std::move(done().set("announced", announced));
}

Json phone(Steered &agent, Words &words)
{
    const std::string step = words.required("the step");
    const std::string text = words.rest();
    const Json arguments = text.empty() ? Json{} : Json::parse(text);
    return std::move(done().set("phone", agent.phone.run(step, arguments.get())));
}

Json cloud(Steered &agent, Words &words)
{
    const std::string step = words.required("the step");
    const std::string text = words.rest();
    const Json arguments = text.empty() ? Json{} : Json::parse(text);
    return std::move(done().set("cloud", agent.cloud.run(step, arguments.get())));
}

Json clock(Steered &agent, Words &words)
{
    const std::string what = words.required("stand, run or advance");
    if (what == "stand")
        agent.clock.stand();
    else if (what == "run")
        agent.clock.run();
    else if (what != "advance")
        throw std::invalid_argument{"the clock can stand, run or advance, not " + what};
    else if (!agent.clock.stands())
        throw std::invalid_argument{"only a clock that stands can be moved on; 'clock stand' comes first"};
    else
        agent.clock.advance(words.number("the milliseconds").value_or(0));
    words.end();
    return std::move(done().set("now_ms", agent.clock.now_ms()));
}

Json quit(Steered &agent, Words &words)
{
    words.end();
    agent.quit();
    return done();
}

Json help(Steered &, Words &words)
{
    words.end();
    return std::move(done().set("help", command_help()));
}

struct Command {
    const char *name;
    const char *arguments;
    Json (*run)(Steered &, Words &);
    const char *help;
};

constexpr Command commands[] = {
    {"state", "", state, "what the agent knows, who is connected, and which faults are to come"},
    {"emit", "EVENT [VALUES]", emit, "sends an event to all who registered for it; VALUES is a JSON array"},
    {"fault", "METHOD FAULT [NUMBER]", fault, "makes the next request of a method go wrong"},
    {"update", "start|install|complete [VERSION]|fail [CODE]|ready on|off", update,
     "plays a step of the agent's being updated"},
    {"phone", "STEP [ARGUMENTS]", phone, "does what the user does with the phone; ARGUMENTS is a JSON object"},
    {"cloud", "STEP [ARGUMENTS]", cloud, "lets something happen in the cloud; ARGUMENTS is a JSON object"},
    {"clock", "stand|run|advance MS", clock, "stops the agent's time, and moves it on"},
    {"help", "", help, "this list"},
    {"quit", "", quit, "stops the agent"},
};

} // namespace

Json run_command(Steered &agent, const std::string &line)
{
    try {
        Words words{line};
        const std::string name = words.required("a command");
        for (const Command &command : commands)
            if (name == command.name)
                return command.run(agent, words);
        throw std::invalid_argument{"there is no command '" + name + "'; try help"};
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
    for (const Command &command : commands)
        row(std::string{command.name} + " " + command.arguments, command.help);
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
