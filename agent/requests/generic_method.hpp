// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "device.hpp"
#include "src/kv_master/documents.hpp"

#include <vector>

/// Requests that travel as JSON inside the method common_interface, each with a command number.
namespace kv::virtual_agent {

struct ServedCommand {
    const master::Command &command;
    const char *name; // in the agent's state
    /// Returns the agent's result.
    int (*serve)(const Device &device, const cJSON *request);
};

const std::vector<ServedCommand> &all_served_commands();

/// Returns the agent's result: `refused` for a text that is not JSON or exceeds its limits, for an unknown number, and
/// for a command that only newer agents have.
int serve_generic_method(const Device &device, const char *text);

} // namespace kv::virtual_agent
