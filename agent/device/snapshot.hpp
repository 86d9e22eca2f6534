// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.hpp"

namespace kv::virtual_agent {

/// All of the state that lasts, secrets included, as one object. What is under way is not in it: a sign-up that is yet
/// to end, a session that is yet to come back.
Json snapshot_of(const State &state);

/// Gives the state what a snapshot holds; what it does not name is as in a device that was never used. The version stays:
/// another one is an update. Throws std::invalid_argument with what is wrong and where; nothing has changed then.
void restore(State &state, const cJSON *snapshot);

} // namespace kv::virtual_agent
