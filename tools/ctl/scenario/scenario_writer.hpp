// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

/// A scenario that was made of what an agent had noted.
struct Recorded {
    std::string text;                // of the file
    std::vector<std::string> gaps{}; // what must be filled in by hand: line and what
    int calls = 0;
    int events = 0;
    int left_out = 0; // events that the agent sends by itself
};

/// Expectations for the calls, events for what steered the agent, in their order.
Recorded scenario_from(const std::vector<Json> &entries, const std::string &title);

} // namespace kv::ctl
