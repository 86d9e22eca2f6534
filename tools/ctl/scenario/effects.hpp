// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

/// An event that the virtual agent sends by itself as the effect of a call. A scenario must not send it again.
struct Effect {
    std::string event;
    Json value; // the event's first value; null for any
    bool is_one_shot = false;

    bool is(const std::string &name, const Json &values) const;
};

/// The effects of a call that the agent accepted.
std::vector<Effect> effects_of(const std::string &method, const Json &arguments);

} // namespace kv::ctl
