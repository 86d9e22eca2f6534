// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

/// A scenario made from the journal of an agent.
struct RecordedScenario {
    std::string text;                        // of the file
    std::vector<std::string> placeholders{}; // line, event and value of each placeholder
    int calls = 0;                           // written as expectations
    int events = 0;                          // written as events to send
    int left_out = 0;                        // events that the agent sends without a command
};

/// Writes an expectation for each call and an event for each command that sent one, in their order.
RecordedScenario scenario_from(const std::vector<Json> &entries, const std::string &title);

} // namespace kv::ctl
