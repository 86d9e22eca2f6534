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

namespace kv::proxy {
struct PendingReply;
}

/// The library's end of the connection to an agent.
///
/// An application's callback may destroy the proxy while an exchange is sending or waiting further up the stack. So the
/// exchange holds a reference: destroying takes the proxy apart at once, and the last reference frees this struct.
struct rpc_port_proxy_kv_master_s {
    kv::CText stub_appid;
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h port = nullptr; // null while not connected; every call tests it
    // Not cleared on disconnection: the platform raises no event on a dead link, and calls do not use it.
    rpc_port_h callback_port = nullptr;
    rpc_port_proxy_kv_master_callback_s callback{};
    void *user_data = nullptr;
    GList *delegates = nullptr; // of kv::proxy::Delegate: those that the agent may still send events for
    GRecMutex mutex{};          // held by an exchange while it waits for its reply

    kv::proxy::PendingReply *oldest_pending = nullptr; // exchanges that wait, in the order of their requests
    int references = 1;
    bool destroyed = false;
};

/// Makes a proxy that is not connected. Returns 0, or -1 with nothing left allocated.
int rpc_port_proxy_kv_master_create(const char *stub_appid, const rpc_port_proxy_kv_master_callback_s *callback,
                                    void *user_data, rpc_port_proxy_kv_master_h *h);

/// Begins to connect; one of the three callbacks reports the result later. Returns the platform's code on failure.
int rpc_port_proxy_kv_master_connect(rpc_port_proxy_kv_master_h h);

/// Disconnects and frees every delegate on the proxy's list without calling any. Allowed in any state, from any
/// callback. Events that the platform raises meanwhile are ignored.
int rpc_port_proxy_kv_master_destroy(rpc_port_proxy_kv_master_h h);

namespace kv::proxy {

/// Keeps the struct of a proxy allocated, though not the proxy itself alive.
class ProxyReference {
public:
    explicit ProxyReference(rpc_port_proxy_kv_master_h proxy);
    ProxyReference(const ProxyReference &) = delete;
    ProxyReference &operator=(const ProxyReference &) = delete;
    ~ProxyReference();

    rpc_port_proxy_kv_master_h operator->() const { return proxy_; }

private:
    rpc_port_proxy_kv_master_h proxy_;
};

} // namespace kv::proxy
