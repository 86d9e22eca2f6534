// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane/core/session/agent_call.hpp"
#include "src/korvane/core/values/json.hpp"
#include "src/kv_master/documents.hpp"

/// Sending the documents of the generic method.
namespace kv::api {

/// Returns a new document with its command number. Without memory it logs why, refuses the call and returns null.
Json create_command(ReadyCall &call, int command_number);

/// Adds the command number as the next member. Returns false without memory.
bool add_command(cJSON *object, int command_number);

/// Prints the document and sends it, unless a check of the call has failed or a member is missing for lack of memory, which
/// fails the call. The text of the reply is not used.
int invoke_command(ReadyCall &call, const cJSON *object, bool whole = true);

} // namespace kv::api
