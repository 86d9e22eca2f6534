// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "clock.hpp"
#include "updates.hpp"

#include <functional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What commands can reach.
struct Steered {
    State &state;
    Server &server;
    Faults &faults;
    Updates &updates;
    Phone &phone;
    Cloud &cloud;
    Clock &clock;
    std::function<void()> quit;
};

/// Carries out one line, and gives the answer: {"ok":true,...}, or {"ok":false,"error":"why"}. Never throws.
Json run_command(Steered &agent, const std::string &line);

/// All commands with what they do, for people.
std::string command_help();

} // namespace kv::virtual_agent
