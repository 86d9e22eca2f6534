// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"
#include "json.hpp"

/// Requests that have no method of their own: one JSON object whose member "common_interface" is a command number.
namespace kv::api {

enum class Command : int {
    set_device_type = 1,
    custom_push_message = 2,
    sign_up_cloud = 3,
    set_device_property = 4,
    disable_signin = 5,
    send_ap_list = 6,
};

/// Adds the command's number as the next member. False when there is no memory.
bool add_command(cJSON *object, Command command);

/// Prints the object and sends it; the text of the reply is not used.
int invoke_common_interface(AgentCall &call, const cJSON *object);

} // namespace kv::api
