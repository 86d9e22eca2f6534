// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bundle.h>

namespace kv {

/// Follows the service manager's announcements of agent updates. Only which keys are there matters, not their values.
void _update_status_event_cb(const char *event_name, bundle *event_data, void *user_data);

} // namespace kv
