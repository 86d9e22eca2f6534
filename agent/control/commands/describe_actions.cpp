// SPDX-License-Identifier: Apache-2.0
// The agent itself: what its version supports, help, and its end.
#include "actions.hpp"
#include "src/kv_master/codings.hpp"

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

/// The same for the entries that an agent version has.
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

/// The names of numbers, by method or event and by value.
Json codings()
{
    return list_of(master::coded_values, [](const master::CodedValue &value) {
        Json names = Json::object();
        for (int i = 0; i < value.coding.count; ++i)
            names.set(std::to_string(value.coding.names[i].number).c_str(), value.coding.names[i].name);
        return std::move(Json::object()
                             .set("owner", value.owner)
                             .set("value", value.value)
                             .set("title", value.coding.title)
                             .set("names", std::move(names)));
    });
}

} // namespace

Json describe(ControlledAgent &agent, Arguments &)
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
    all.set("events", list_of(all_events(), version, [&](const EventEntry &event) {
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
    all.set("personalities", agent.scenarios.personalities());
    all.set("codings", codings());
    all.set("versions", array_of(Version::all()));
    return all;
}

Json help(ControlledAgent &, Arguments &)
{
    return std::move(Json::object().set("help", command_help()));
}

Json quit(ControlledAgent &agent, Arguments &)
{
    agent.quit();
    return Json::object();
}

} // namespace kv::virtual_agent::command
