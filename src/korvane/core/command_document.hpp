// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_call.hpp"
#include "json.hpp"

/// Requests without a method of their own: a JSON document whose member "common_interface" is a command number, sent
/// through the generic method.
namespace kv::api {

enum class Command : int {
    set_device_type = 1,
    custom_push_message = 2,
    sign_up_cloud = 3,
    set_device_property = 4,
    disable_signin = 5,
    send_ap_list = 6,
};

/// Returns a new document with its command number. Without memory it logs why, refuses the call and returns null.
Json create_command(AgentCall &call, Command command);

/// Adds the command number as the next member. Returns false without memory.
bool add_command(cJSON *object, Command command);

/// Prints the document and sends it. The text of the reply is not used.
int invoke_command(AgentCall &call, const cJSON *object);

} // namespace kv::api
