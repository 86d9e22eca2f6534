// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cloud/cloud.hpp"
#include "phone/phone.hpp"

namespace kv::virtual_agent {

/// All that requests act upon.
struct Device {
    State &state;
    Phone &phone;
    Cloud &cloud;
};

} // namespace kv::virtual_agent
