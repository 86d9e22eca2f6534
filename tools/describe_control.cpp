// SPDX-License-Identifier: Apache-2.0
// Prints the reference page of the virtual agent's commands from the table that the agent itself uses.

#include "agent/control/commands/commands.hpp"
#include "agent/scenario/personalities.hpp"

#include <cstdio>
#include <string>

namespace {

using namespace kv::virtual_agent;

/// Escapes the bar, which would end a cell of a table.
std::string cell(const std::string &text)
{
    std::string escaped;
    for (const char letter : text)
        escaped += letter == '|' ? std::string{"\\|"} : std::string{letter};
    return escaped;
}

std::string code(const std::string &text)
{
    return text.empty() ? "" : "`" + cell(text) + "`";
}

const char *type_of(Parameter::Kind kind)
{
    switch (kind) {
    case Parameter::Kind::word: return "text";
    case Parameter::Kind::number: return "whole number";
    case Parameter::Kind::json: return "any JSON";
    }
    return "";
}

std::string members_of(const Command &command)
{
    std::string text;
    for (const Parameter &parameter : command.parameters)
        text += (text.empty() ? "" : ", ") + code(parameter.name) + " (" + type_of(parameter.kind) +
                (parameter.required ? ", required)" : ")");
    return text.empty() ? "none" : text;
}

template <class Step>
void print_steps(const char *title, const char *command, const std::vector<Step> &steps)
{
    std::printf("\n## %s\n\nThe steps of `%s`; `with` is an object.\n\n| step | since agent | with | effect |\n"
                "|---|---|---|---|\n",
                title, command);
    for (const Step &step : steps)
        std::printf("| `%s` | %d.%d | %s | %s |\n", step.name, step.since / 1000, step.since % 1000,
                    code(step.arguments).c_str(), cell(step.help).c_str());
}

} // namespace

int main()
{
    std::puts(
        "# The commands of the virtual agent\n\n"
        "Generated from the agent's table of commands by `./dev docs`; do not edit. `docs/agent.md` describes how to "
        "send commands.\n\n"
        "`POST /v1/NAME` takes the parameters as members of one JSON object. A command that changes nothing also works "
        "with\n`GET /v1/NAME?member=value`. In a line of text the values follow the name in this order.\n\n"
        "## Commands\n\n| command | as a line | members | changes something | effect |\n|---|---|---|---|---|");
    for (const Command &command : all_commands())
        std::printf("| `%s` | %s | %s | %s | %s |\n", command.name,
                    code(command.name + (command.form().empty() ? "" : " " + command.form())).c_str(),
                    members_of(command).c_str(), command.effect == Command::Effect::changes ? "yes" : "no",
                    cell(command.help).c_str());
    std::puts("\n## Faults\n\n| fault | value | effect on the next request |\n|---|---|---|");
    for (const FaultForm &form : fault_forms())
        std::printf("| `%s` | %s | %s |\n", form.name, form.value ? form.value : "", cell(form.help).c_str());
    print_steps("The phone", "phone", Phone::steps());
    print_steps("The cloud", "cloud", Cloud::steps());
    std::puts("\n## Personalities\n\n| name | the device |\n|---|---|");
    for (const Personality &one : personalities())
        std::printf("| `%s` | %s |\n", one.name.c_str(), cell(one.help()).c_str());
    std::puts("\n## Events\n\nThe sample values are what `emit` sends if no values are given.\n\n"
              "| event | since agent | values | samples |\n|---|---|---|---|");
    for (const EventEntry &event : all_events())
        std::printf("| `%s` | %d.%d | %s | %s |\n", event.name, event.since / 1000, event.since % 1000,
                    code(event.form).c_str(), code(event.sample().text()).c_str());
}
