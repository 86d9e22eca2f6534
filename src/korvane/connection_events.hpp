// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/connection.hpp"

namespace kv::api {

/// The proxy's connection callbacks, which report to the application. Their user data is the session.
extern const rpc_port_proxy_kv_master_callback_s connection_handlers;

} // namespace kv::api
