// SPDX-License-Identifier: Apache-2.0
// Prints the JSON Schema of personalities from the table of commands.

#include "agent/scenario/personalities.hpp"
#include "command_steps.hpp"

#include <limits>
#include <utility>

using namespace kv::schema;

int main()
{
    Json kinds = Json::array();
    for (const kv::virtual_agent::Command *command : kv::virtual_agent::personality_commands()) {
        Json members = Json::object();
        members.set("note", type("string"));
        kinds.append(command_step(*command, std::move(members), Values::literal));
    }
    Json members = Json::object();
    members.set("$schema", type("string")).set("title", type("string")).set("note", type("string"));
    members.set("steps", array(std::move(Json::object().set("oneOf", std::move(kinds)))));
    Json definitions = Json::object();
    definitions.set("number", whole_number(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
    print("A personality of Korvane's virtual agent", closed(std::move(members), {"title", "steps"}),
          std::move(definitions));
}
