// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/owned.hpp"

#include <rpc_port.h>

#include <glib.h>

struct rpc_port_proxy_kv_master_s;
using rpc_port_proxy_kv_master_h = rpc_port_proxy_kv_master_s *;

using rpc_port_proxy_kv_master_connected_cb = void (*)(rpc_port_proxy_kv_master_h h, void *user_data);
using rpc_port_proxy_kv_master_disconnected_cb = void (*)(rpc_port_proxy_kv_master_h h, void *user_data);
using rpc_port_proxy_kv_master_rejected_cb = void (*)(rpc_port_proxy_kv_master_h h, void *user_data);

struct rpc_port_proxy_kv_master_callback_s {
    rpc_port_proxy_kv_master_connected_cb connected;
    rpc_port_proxy_kv_master_disconnected_cb disconnected;
    rpc_port_proxy_kv_master_rejected_cb rejected;
};

/// The client end of one link to an agent.
struct rpc_port_proxy_kv_master_s {
    kv::CText stub_appid;
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h port = nullptr; // NULL while not connected; every call tests it
    // Left as it is on disconnection: no event is received on a dead link, and calls do not use it.
    rpc_port_h callback_port = nullptr;
    rpc_port_proxy_kv_master_callback_s callback{};
    void *user_data = nullptr;
    GList *delegates = nullptr; // of kv::proxy::Delegate: those that the agent may still fire
    GRecMutex mutex{};          // held by a call while it waits for its reply
};

/// Makes a proxy that is not connected. 0, or -1 with nothing left allocated.
int rpc_port_proxy_kv_master_create(const char *stub_appid, const rpc_port_proxy_kv_master_callback_s *callback,
                                    void *user_data, rpc_port_proxy_kv_master_h *h);

/// Begins to connect; one of the three callbacks tells the outcome later. The platform's code on failure.
int rpc_port_proxy_kv_master_connect(rpc_port_proxy_kv_master_h h);

/// Frees the proxy and every delegate on its list, without calling any. Allowed in any state, from any callback.
int rpc_port_proxy_kv_master_destroy(rpc_port_proxy_kv_master_h h);
