// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

/// A scenario made from what an application and an agent sent each other.
struct RecordedScenario {
    std::string text;                        // of the file
    std::vector<std::string> placeholders{}; // line, event and value of each placeholder
    int calls = 0;                           // written as expectations
    int events = 0;                          // written as events to send
    int left_out = 0;                        // events that the virtual agent sends without a command
};

/// Where the entries come from.
enum class Recorded {
    journal, // of the virtual agent: an event is sent again if a command sent it
    traffic  // of any agent: every event is sent again that the virtual agent does not send by itself
};

/// Writes an expectation for each call and a step for each event to send again, in their order.
RecordedScenario scenario_from(const std::vector<Json> &entries, const std::string &title, Recorded source);

} // namespace kv::ctl
