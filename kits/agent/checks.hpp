// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Each function adds the checks of one subject to the test program. Call them after the options are set.
namespace kv::agent_kit {

void add_session_checks();
void add_method_checks();
void add_document_checks();
void add_malformed_request_checks();

} // namespace kv::agent_kit
