// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/device.hpp"

#include <vector>

/// Requests that travel as JSON inside the one method common_interface, and say by a number what they are.
namespace kv::virtual_agent {

struct CommonRequest {
    int number;
    const char *name;
    int since;
    /// Gives back the agent's result.
    int (*serve)(const Device &device, const cJSON *request);
};

const std::vector<CommonRequest> &all_common_requests();

/// Gives back the agent's result: a refusal for what is not JSON, has no known number, or is only known to newer agents.
int serve_common_request(const Device &device, const char *text);

} // namespace kv::virtual_agent
