// SPDX-License-Identifier: Apache-2.0
// What is done to the device, with its phone, and in its cloud.
#include "command_actions.hpp"

#include "agent/scenario/matching.hpp"

#include <stdexcept>

namespace kv::virtual_agent::command {

Json state(Steered &agent, Arguments &arguments)
{
    const Json all = view_of(agent);
    const std::optional<std::string> path = arguments.text("path");
    if (!path)
        return std::move(Json::object().set("state", all.copy()));
    Json count;
    const cJSON *part = find_path(all.get(), *path, count);
    if (!part)
        throw std::invalid_argument{"the state has no '" + *path + "'; 'state' alone shows all of it"};
    return std::move(Json::object().set("state", Json::copy_of(part)));
}

Json emit(Steered &agent, Arguments &arguments)
{
    const std::string name = arguments.required_text("event");
    const DelegateEntry *delegate = find_delegate(name);
    if (!delegate)
        throw std::invalid_argument{"there is no event '" + name + "'"};
    const cJSON *values = arguments.any("values");
    const Json sample = delegate->sample();
    values = values ? values : sample.get();
    const Json asked = delegate->make({}, values).values; // throws when nobody has registered, too
    const int peers = agent.server.emit(*delegate, values);
    if (peers > 0)
        agent.phone.asked(delegate->id, asked);
    return std::move(Json::object().set("peers", peers));
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

} // namespace kv::virtual_agent::command
