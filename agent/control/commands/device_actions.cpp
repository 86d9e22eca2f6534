// SPDX-License-Identifier: Apache-2.0
#include "actions.hpp"

#include "agent/json/matching.hpp"

#include <stdexcept>

namespace kv::virtual_agent::command {

Json state(ControlledAgent &agent, Arguments &arguments)
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

Json emit(ControlledAgent &agent, Arguments &arguments)
{
    const std::string name = arguments.required_text("event");
    const EventEntry *event = find_event(name);
    if (!event)
        throw std::invalid_argument{"there is no event '" + name + "'"};
    const cJSON *values = arguments.any("values");
    const auto decoded = event->decode(values ? values : event->sample().get());
    return std::move(Json::object().set("peers", agent.events.publish_values(*decoded)));
}

Json fault(ControlledAgent &agent, Arguments &arguments)
{
    const std::string name = arguments.required_text("method");
    const MethodEntry *method = find_method(name);
    if (!method && name != "all")
        throw std::invalid_argument{"there is no method '" + name + "'; 'all' selects every method"};
    const Fault fault = parse_fault(arguments.required_text("form"), arguments.number("value"));
    agent.faults.set(method ? method->id : Faults::every_method, fault, arguments.number("times").value_or(1));
    return Json::object();
}

Json update(ControlledAgent &agent, Arguments &arguments)
{
    const std::string step = arguments.required_text("step");
    const std::optional<std::string> value = arguments.text("value");
    const auto announced = [](bool was_announced) { return std::move(Json::object().set("announced", was_announced)); };
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
        throw std::invalid_argument{"unexpected argument: " + *value};
    return announced(step == "start" ? agent.updates.start() : agent.updates.install());
}

Json kill(ControlledAgent &agent, Arguments &)
{
    agent.updates.kill();
    return Json::object();
}

Json restart(ControlledAgent &agent, Arguments &)
{
    agent.updates.restart();
    return Json::object();
}

Json phone(ControlledAgent &agent, Arguments &arguments)
{
    const std::string step = arguments.required_text("step");
    return std::move(Json::object().set("phone", agent.phone.run(step, arguments.any("with"))));
}

Json cloud(ControlledAgent &agent, Arguments &arguments)
{
    const std::string step = arguments.required_text("step");
    return std::move(Json::object().set("cloud", agent.cloud.run(step, arguments.any("with"))));
}

Json clock(ControlledAgent &agent, Arguments &arguments)
{
    const std::string what = arguments.required_text("what");
    const std::optional<int> milliseconds = arguments.number("ms");
    if (what == "stop" || what == "stand")
        agent.clock.stop();
    else if (what == "run")
        agent.clock.run();
    else if (what != "advance")
        throw std::invalid_argument{"the clock can stop, run or advance, not '" + what + "'"};
    else if (!agent.clock.is_stopped())
        throw std::invalid_argument{"only a stopped clock can be advanced; run 'clock stop' first"};
    else if (!milliseconds || *milliseconds < 0)
        throw std::invalid_argument{"'ms' is missing or negative: the milliseconds by which the clock is advanced"};
    else
        agent.clock.advance(*milliseconds);
    return std::move(Json::object().set("now_ms", agent.clock.now_ms()));
}

} // namespace kv::virtual_agent::command
