// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bundle.h>

namespace kv {

/// Handles the service manager's event about updates of the agent. Only the presence of keys matters.
void _update_status_event_cb(const char *event_name, bundle *event_data, void *user_data);

} // namespace kv
