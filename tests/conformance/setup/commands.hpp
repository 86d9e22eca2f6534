// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// The commands of the easy setup, one row per function and wire format.
namespace kv::test {

struct Command {
    std::string label; // part of the test's name
    std::string function;
    int minimum_version;
    std::string agent_version; // an agent with the wire format of this row
    int (*call)(korvane_h handle);
    Bytes request;
    std::vector<std::string> lines = {}; // messages of priority 4, between the checks and the request
};

extern const std::vector<Command> setup_commands;

inline std::ostream &operator<<(std::ostream &out, const Command &command)
{
    return out << command.label;
}

} // namespace kv::test
