// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.hpp"

namespace kv::virtual_agent {

/// The lasting state as one object, secrets included. It leaves out what is in progress: a pending sign-up, a session
/// that is about to be restored.
Json snapshot_of(const State &state);

/// Replaces the state by a snapshot. Members that the snapshot lacks get the values of an unused device. The version
/// stays, because another version is an update. Throws std::invalid_argument with the path and the reason; the state is
/// then unchanged.
void restore(State &state, const cJSON *snapshot);

} // namespace kv::virtual_agent
