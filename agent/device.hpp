// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "phone/phone.hpp"

namespace kv::virtual_agent {

/// All that requests act upon.
struct Device {
    State &state;
    Phone &phone;
};

} // namespace kv::virtual_agent
