// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// The commands of the easy setup: one row per function and wire generation.
namespace kv::test {

struct Command {
    std::string label; // in the test's name
    std::string function;
    int minimum_version;
    std::string agent_version; // one that speaks the generation of this row
    int (*call)(korvane_h handle);
    Bytes request;
    std::vector<std::string> lines; // of priority 4, between the gates and the invoke
};

extern const std::vector<Command> setup_commands;

inline std::ostream &operator<<(std::ostream &out, const Command &command)
{
    return out << command.label;
}

} // namespace kv::test
