// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/scenario/scenario.hpp"

#include <limits>

namespace kv::virtual_agent {

/// Agent versions from `since` on that are older than `before`.
struct VersionRange {
    int since = 0;
    int before = std::numeric_limits<int>::max();
};

/// Takes the members `since` and `before`. Throws std::invalid_argument for an unknown version.
VersionRange take_versions(Arguments &members);

/// Reads a step that is neither an include nor a random order. The line and the file are not set. Throws Mistake, and
/// std::invalid_argument for a mistake in the step as a whole.
Scenario::Step read_step(const cJSON *object);

} // namespace kv::virtual_agent
