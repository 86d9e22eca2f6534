// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kv::virtual_agent {

/// Sends a state, such as "READY=1", to the service manager that started this process (NOTIFY_SOCKET). Does nothing without
/// one; a failure is ignored, because the agent serves applications all the same.
void notify_service_manager(std::string_view state);

} // namespace kv::virtual_agent
