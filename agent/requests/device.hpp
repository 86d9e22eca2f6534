// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/cloud/cloud.hpp"
#include "agent/phone/phone.hpp"

namespace kv::virtual_agent {

/// The parts of the agent on which requests act.
struct Device {
    State &state;
    Phone &phone;
    Cloud &cloud;
};

} // namespace kv::virtual_agent
