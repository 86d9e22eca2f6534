// SPDX-License-Identifier: Apache-2.0
#include "proxy.hpp"

#include <cerrno>
#include <cstring>

#include "platform/host/log/log.hpp"

namespace kv::host {

namespace {

constexpr int max_events_per_turn = 4096; // what one receive usually returns

} // namespace

void proxy_serve(Proxy *proxy)
{
    Port *port = &proxy->callback;
    // Identifies this connection: a callback may close it, and may even connect again.
    GSource *source = proxy->source.get();
    // The frames that arrived before the link broke are delivered before `disconnected` is raised.
    if (!proxy->main.open() || (g_source_query_unix_fd(source, proxy->main_watch) & (G_IO_HUP | G_IO_ERR)))
        port_break(&proxy->main);
    const bool over = !proxy->main.open();
    Received received = Received::nothing;
    if (over || g_source_query_unix_fd(source, proxy->callback_watch) != 0)
        received = port_fill(port);
    port_deliver(port, max_events_per_turn, [proxy, source] {
        if (proxy->received.function)
            proxy->received.function(proxy->appid.get(), proxy->port_name.get(), proxy->received.data);
        return proxy->source.get() == source;
    });
    if (proxy->source.get() != source || port_has_pending_frame(port))
        return;
    if (received == Received::end || (over && received == Received::nothing)) {
        dlog_print(log_info, log_tag, "port %s of %s: disconnected", proxy->port_name.get(), proxy->appid.get());
        proxy_close(proxy);
        if (proxy->disconnected.function)
            proxy->disconnected.function(proxy->appid.get(), proxy->port_name.get(), proxy->disconnected.data);
    } else if (over) {
        g_source_set_ready_time(source, 0);
    }
}

} // namespace kv::host

using namespace kv::host;

namespace {

template <class Function>
int set_callback(rpc_port_proxy_h handle, EventCallback<Function> Proxy::*event, Function function, void *data)
{
    if (!handle || !function)
        return -EINVAL;
    static_cast<Proxy *>(handle)->*event = {function, data};
    return 0;
}

// Sets the names at the first connect. They do not change after that, because a running callback may use them.
int set_names(Proxy *proxy, const char *appid, const char *port_name)
{
    if (proxy->appid)
        return strcmp(proxy->appid.get(), appid) == 0 && strcmp(proxy->port_name.get(), port_name) == 0 ? 0 : -EINVAL;
    CText own_appid = copy_text(appid);
    CText own_port_name = copy_text(port_name);
    if (!own_appid || !own_port_name)
        return -ENOMEM;
    proxy->appid = std::move(own_appid);
    proxy->port_name = std::move(own_port_name);
    return 0;
}

} // namespace

extern "C" {

int rpc_port_proxy_create(rpc_port_proxy_h *out)
{
    if (!out)
        return -EINVAL;
    Owned<Proxy> proxy = make<Proxy>();
    if (!proxy)
        return -ENOMEM;
    *out = proxy.release();
    return 0;
}

int rpc_port_proxy_destroy(rpc_port_proxy_h handle)
{
    auto *proxy = static_cast<Proxy *>(handle);
    if (!proxy)
        return -EINVAL;
    const Ref<Proxy> creators = Ref<Proxy>::adopt(proxy);
    proxy_close(proxy);
    return 0;
}

int rpc_port_proxy_connect(rpc_port_proxy_h handle, const char *appid, const char *port_name)
{
    auto *proxy = static_cast<Proxy *>(handle);
    if (!proxy || !appid || !port_name)
        return -EINVAL;
    if (proxy->state != ProxyState::idle)
        return proxy->state == ProxyState::connected ? -EISCONN : -EALREADY;
    if (const int code = set_names(proxy, appid, port_name))
        return code;
    return proxy_begin(proxy);
}

int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h handle, rpc_port_proxy_connected_event_cb cb, void *data)
{
    return set_callback(handle, &Proxy::connected, cb, data);
}

int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h handle, rpc_port_proxy_disconnected_event_cb cb,
                                             void *data)
{
    return set_callback(handle, &Proxy::disconnected, cb, data);
}

int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h handle, rpc_port_proxy_rejected_event_cb cb, void *data)
{
    return set_callback(handle, &Proxy::rejected, cb, data);
}

int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h handle, rpc_port_proxy_received_event_cb cb, void *data)
{
    return set_callback(handle, &Proxy::received, cb, data);
}

int rpc_port_proxy_get_port(rpc_port_proxy_h handle, rpc_port_port_type_e type, rpc_port_h *port)
{
    auto *proxy = static_cast<Proxy *>(handle);
    if (!proxy || !port || (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK))
        return -EINVAL;
    if (proxy->state != ProxyState::connected)
        return -ENOTCONN;
    *port = type == RPC_PORT_PORT_MAIN ? &proxy->main : &proxy->callback;
    return 0;
}

} // extern "C"
