// SPDX-License-Identifier: Apache-2.0
#include "proxy.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/host/log/log.hpp"

namespace kv::host {

void proxy_hold(Proxy *proxy)
{
    proxy->holders++;
}

void proxy_release(Proxy *proxy)
{
    if (--proxy->holders > 0)
        return;
    free(proxy->appid);
    free(proxy->port_name);
    free(proxy);
}

namespace {

// All that one receive usually brings.
constexpr int most_events_per_turn = 4096;

} // namespace

void proxy_serve(Proxy *proxy)
{
    Port *port = &proxy->callback;
    // While it is the proxy's, this connection is: callbacks may close it, and may even have connected again.
    const GSource *source = proxy->source;
    // What was pushed before the link broke is delivered before the end of the link is told.
    if (!proxy->main.open() || (g_source_query_unix_fd(proxy->source, proxy->main_watch) & (G_IO_HUP | G_IO_ERR)))
        port_break(&proxy->main);
    const bool over = !proxy->main.open();
    Received received = Received::nothing;
    if (over || g_source_query_unix_fd(proxy->source, proxy->callback_watch) != 0)
        received = port_fill(port);
    port_deliver(port, most_events_per_turn, [proxy, source] {
        if (proxy->received.function)
            proxy->received.function(proxy->appid, proxy->port_name, proxy->received.data);
        return proxy->source == source;
    });
    if (proxy->source != source || port_has_news(port))
        return;
    if (received == Received::end || (over && received == Received::nothing)) {
        dlog_print(log_info, log_tag, "port %s of %s: disconnected", proxy->port_name, proxy->appid);
        proxy_close(proxy);
        if (proxy->disconnected.function)
            proxy->disconnected.function(proxy->appid, proxy->port_name, proxy->disconnected.data);
    } else if (over) {
        g_source_set_ready_time(proxy->source, 0);
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

// The names stay those of the first connect: callbacks that are still running hold them.
int name_port(Proxy *proxy, const char *appid, const char *port_name)
{
    if (proxy->appid)
        return strcmp(proxy->appid, appid) == 0 && strcmp(proxy->port_name, port_name) == 0 ? 0 : -EINVAL;
    char *own_appid = strdup(appid);
    char *own_port_name = strdup(port_name);
    if (!own_appid || !own_port_name) {
        free(own_appid);
        free(own_port_name);
        return -ENOMEM;
    }
    proxy->appid = own_appid;
    proxy->port_name = own_port_name;
    return 0;
}

} // namespace

extern "C" {

int rpc_port_proxy_create(rpc_port_proxy_h *out)
{
    if (!out)
        return -EINVAL;
    auto *proxy = static_cast<Proxy *>(calloc(1, sizeof(Proxy)));
    if (!proxy)
        return -ENOMEM;
    proxy->holders = 1;
    proxy->main.fd = -1;
    proxy->callback.fd = -1;
    proxy->starting_lock = -1;
    *out = proxy;
    return 0;
}

int rpc_port_proxy_destroy(rpc_port_proxy_h handle)
{
    auto *proxy = static_cast<Proxy *>(handle);
    if (!proxy)
        return -EINVAL;
    proxy_close(proxy);
    proxy_release(proxy);
    return 0;
}

int rpc_port_proxy_connect(rpc_port_proxy_h handle, const char *appid, const char *port_name)
{
    auto *proxy = static_cast<Proxy *>(handle);
    if (!proxy || !appid || !port_name)
        return -EINVAL;
    if (proxy->state != ProxyState::idle)
        return proxy->state == ProxyState::connected ? -EISCONN : -EALREADY;
    if (const int code = name_port(proxy, appid, port_name))
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
