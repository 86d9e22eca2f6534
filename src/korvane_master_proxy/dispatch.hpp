// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rpc_port.h>

/// The platform's received event: reads one parcel from the callback port of the proxy (`data`) and dispatches it.
void __kv_master_on_received(const char *endpoint, const char *port_name, void *data);
