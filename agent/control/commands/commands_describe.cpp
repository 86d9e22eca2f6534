// SPDX-License-Identifier: Apache-2.0
// What this agent version knows, from the interface's description and the tables of steps.
#include "command_actions.hpp"

#include "agent/device/personalities.hpp"

#include <algorithm>

namespace kv::virtual_agent::command {

namespace {

template <class Entries, class Show>
Json list_of(const Entries &entries, Show show)
{
    Json list = Json::array();
    for (const auto &entry : entries)
        list.append(show(entry));
    return list;
}

/// The same, of what a version knows.
template <class Entries, class Show>
Json list_of(const Entries &entries, int version, Show show)
{
    Json list = Json::array();
    for (const auto &entry : entries)
        if (entry.since <= version)
            list.append(std::move(show(entry).set("since", version_text(entry.since))));
    return list;
}

template <class Step>
Json shown_step(const Step &step)
{
    return std::move(Json::object().set("name", step.name).set("arguments", step.arguments).set("help", step.help));
}

} // namespace

Json describe(Steered &agent, Arguments &)
{
    const int version = agent.state.version.number();
    const auto named = [](const auto &entry) {
        return std::move(Json::object().set("name", entry.name).set("id", entry.id));
    };
    Json all = Json::object();
    all.set("version", agent.state.version.text());
    all.set("methods", list_of(all_methods(), version, [&](const MethodEntry &method) {
                return std::move(
                    named(method).set("arguments", method.argument_shapes()).set("outs", method.out_shapes()));
            }));
    all.set("events", list_of(all_delegates(), version, [&](const DelegateEntry &event) {
                return std::move(named(event).set("values", event.shapes()).set("default", event.sample()));
            }));
    all.set("faults", list_of(fault_forms(), [](const FaultForm &form) {
                return std::move(Json::object()
                                     .set("name", form.name)
                                     .set("value", form.value ? Json{form.value} : Json{})
                                     .set("help", form.help));
            }));
    all.set("phone", list_of(Phone::steps(), version, shown_step<Step<Phone>>));
    all.set("cloud", list_of(Cloud::steps(), version, shown_step<Step<Cloud>>));
    all.set("personalities", list_of(personalities(), [](const Personality &one) {
                return std::move(Json::object().set("name", std::string{one.name}).set("help", one.help()));
            }));
    all.set("versions", list_of(Version::all(), [](const std::string &text) { return Json{text}; }));
    return all;
}

} // namespace kv::virtual_agent::command
