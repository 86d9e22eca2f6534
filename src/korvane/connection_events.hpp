// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/connection.hpp"

namespace kv::api {

/// What becomes of the proxy's connection, told to the application. The user data is the library's handle.
extern const rpc_port_proxy_kv_master_callback_s connection_handlers;

} // namespace kv::api
