// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include "common/agent_state.hpp"
#include "dispatch.hpp"
#include "src/kv_master/log.hpp"
#include "src/kv_master/wire.hpp"

using namespace kv;
using namespace kv::proxy;

using master::log;

namespace {

void __kv_master_on_connected(const char *endpoint, const char *port_name, rpc_port_h port, void *data)
{
    auto *h = static_cast<rpc_port_proxy_kv_master_h>(data);
    if (h->destroyed)
        return;
    h->port = port;
    rpc_port_proxy_get_port(h->proxy, RPC_PORT_PORT_CALLBACK, &h->callback_port);
    // The callback may destroy the proxy. Only endpoint and port_name, which the platform keeps valid, are used after it.
    if (h->callback.connected)
        h->callback.connected(h, h->user_data);
    log::info()("[__RPC_PORT__] endpoint(%s), port_name(%s)"_fmt, endpoint, port_name);
}

void __kv_master_on_disconnected(const char *endpoint, const char *port_name, void *data)
{
    auto *h = static_cast<rpc_port_proxy_kv_master_h>(data);
    if (h->destroyed)
        return;
    h->port = nullptr;
    if (h->callback.disconnected)
        h->callback.disconnected(h, h->user_data);
    log::info()("[__RPC_PORT__] endpoint(%s), port_name(%s)"_fmt, endpoint, port_name);
}

void __kv_master_on_rejected(const char *endpoint, const char *port_name, void *data)
{
    auto *h = static_cast<rpc_port_proxy_kv_master_h>(data);
    if (h->destroyed)
        return;
    h->port = nullptr;
    if (h->callback.rejected)
        h->callback.rejected(h, h->user_data);
    log::info()("[__RPC_PORT__] endpoint(%s), port_name(%s)"_fmt, endpoint, port_name);
}

rpc_port_proxy_kv_master_h __create_kv_master(const char *stub_appid)
{
    Owned<rpc_port_proxy_kv_master_s> h{make_zeroed<rpc_port_proxy_kv_master_s>()};
    if (!h) {
        log::error()("Out of memory"_fmt);
        return nullptr;
    }
    h->stub_appid = CText::copy(stub_appid);
    if (!h->stub_appid) {
        log::error()("Out of memory"_fmt);
        return nullptr;
    }
    if (rpc_port_proxy_create(&h->proxy) != 0) {
        log::error()("Failed to create proxy"_fmt);
        return nullptr;
    }
    return h.release();
}

/// Logs under the name of the function that registers.
bool watch_events(rpc_port_proxy_kv_master_h h, Caller caller = Caller::here())
{
    if (int err = rpc_port_proxy_add_connected_event_cb(h->proxy, __kv_master_on_connected, h); err != 0) {
        log::error(caller)("Failed to add connected event cb. err = %d"_fmt, err);
        return false;
    }
    if (int err = rpc_port_proxy_add_disconnected_event_cb(h->proxy, __kv_master_on_disconnected, h); err != 0) {
        log::error(caller)("Failed to add disconnected event cb. err = %d"_fmt, err);
        return false;
    }
    if (int err = rpc_port_proxy_add_rejected_event_cb(h->proxy, __kv_master_on_rejected, h); err != 0) {
        log::error(caller)("Failed to add rejected event cb. err = %d"_fmt, err);
        return false;
    }
    if (int err = rpc_port_proxy_add_received_event_cb(h->proxy, __kv_master_on_received, h); err != 0) {
        log::error(caller)("Failed to add received event cb. err = %d"_fmt, err);
        return false;
    }
    return true;
}

[[gnu::noinline]] void release_reference(rpc_port_proxy_kv_master_h h)
{
    if (--h->references > 0)
        return;
    g_rec_mutex_clear(&h->mutex);
    destroy(h);
}

} // namespace

int rpc_port_proxy_kv_master_create(const char *stub_appid, const rpc_port_proxy_kv_master_callback_s *callback,
                                    void *user_data, rpc_port_proxy_kv_master_h *h)
{
    if (!stub_appid || !callback || !h) {
        log::error()("Invalid parameter"_fmt);
        return -1;
    }
    rpc_port_proxy_kv_master_h created = __create_kv_master(stub_appid);
    if (!created)
        return -1;
    created->callback = *callback;
    created->user_data = user_data;
    g_rec_mutex_init(&created->mutex);
    if (!watch_events(created)) {
        rpc_port_proxy_kv_master_destroy(created);
        return -1;
    }
    *h = created;
    return 0;
}

int rpc_port_proxy_kv_master_connect(rpc_port_proxy_kv_master_h h)
{
    if (!h || !h->proxy) {
        log::error()("Invalid parameter"_fmt);
        return -1;
    }
    int err = rpc_port_proxy_connect(h->proxy, h->stub_appid.get(), KORVANE_AGENT_PORT);
    if (err != 0)
        log::error()("Failed to connect kv_master(%s)"_fmt, h->stub_appid.get());
    return err;
}

int rpc_port_proxy_kv_master_destroy(rpc_port_proxy_kv_master_h h)
{
    if (!h) {
        log::error()("Invalid parameter"_fmt);
        return -1;
    }
    h->destroyed = true; // first, so that events raised by the platform from here on are ignored
    h->port = nullptr;
    h->callback = {};
    g_list_free_full(std::exchange(h->delegates, nullptr), free);
    rpc_port_proxy_destroy(std::exchange(h->proxy, nullptr));
    release_reference(h);
    return 0;
}

namespace kv::proxy {

ProxyReference::ProxyReference(rpc_port_proxy_kv_master_h proxy) : proxy_(proxy)
{
    ++proxy_->references;
}

ProxyReference::~ProxyReference()
{
    release_reference(proxy_);
}

} // namespace kv::proxy
