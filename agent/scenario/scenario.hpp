// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What is to happen between an application and the agent, step by step.
struct Scenario {
    struct Step {
        enum class Kind {
            command, // something is done to the agent
            expect,  // the application calls a method
            until,   // the agent's state becomes such
            wait,    // some time passes
            say,     // a line for whoever watches
        };

        Kind kind;
        int line; // where it begins in the file
        std::string file{};
        std::string text{}; // the method, or what is said
        const Command *command = nullptr;
        Json arguments{};  // of the command; of the call; or the state by path
        Json answer{};     // how the agent answers the call; null when it does not matter
        int within_ms = 0; // how long it may take, or takes
        int since = 0;     // the agent versions that it is for
        int before = 0;

        bool is_for(int version) const { return version >= since && version < before; }
    };

    std::string title{};
    std::vector<Step> steps{};

    /// What is to happen afterwards.
    void append(Scenario more);

    /// Throws std::invalid_argument with the line and what is wrong in it.
    static Scenario parse(const std::string &text);
    /// The same, and std::system_error when it cannot be read.
    static Scenario load(const std::string &path);
};

} // namespace kv::virtual_agent
