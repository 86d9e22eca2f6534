// SPDX-License-Identifier: Apache-2.0
#include "stub.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/host/log/log.hpp"

namespace kv::host {

void stub_hold(Stub *stub)
{
    stub->holders++;
}

void stub_release(Stub *stub)
{
    if (--stub->holders > 0)
        return;
    if (stub->peers)
        g_hash_table_unref(stub->peers);
    free(stub->appid);
    free(stub->port_name);
    free(stub);
}

} // namespace kv::host

using namespace kv::host;

namespace {

Peer *find_peer(const Stub *stub, const char *instance)
{
    if (!stub || !instance)
        return nullptr;
    return static_cast<Peer *>(g_hash_table_lookup(stub->peers, instance));
}

// Not one whose `disconnected` is being raised: the stub may be destroyed in there.
Peer *any_live_peer(const Stub *stub)
{
    const auto is_live = [](gpointer, gpointer peer, gpointer) -> gboolean { return !static_cast<Peer *>(peer)->gone; };
    return static_cast<Peer *>(g_hash_table_find(stub->peers, is_live, nullptr));
}

} // namespace

extern "C" {

int rpc_port_stub_create(rpc_port_stub_h *out, const char *appid, const char *port_name,
                         const rpc_port_stub_events_t *events, void *data)
{
    if (!out || !appid || !port_name || !events)
        return -EINVAL;
    auto *stub = static_cast<Stub *>(calloc(1, sizeof(Stub)));
    if (!stub)
        return -ENOMEM;
    stub->holders = 1;
    stub->lock = -1;
    stub->listener = -1;
    stub->appid = strdup(appid);
    stub->port_name = strdup(port_name);
    if (!stub->appid || !stub->port_name) {
        stub_release(stub);
        return -ENOMEM;
    }
    stub->events = *events;
    stub->data = data;
    stub->peers = g_hash_table_new(g_str_hash, g_str_equal);
    *out = stub;
    return 0;
}

int rpc_port_stub_destroy(rpc_port_stub_h handle)
{
    auto *stub = static_cast<Stub *>(handle);
    if (!stub || stub->destroyed)
        return -EINVAL;
    stub->destroyed = true;
    stub_stop_listening(stub);
    while (Peer *peer = any_live_peer(stub))
        peer_drop(peer);
    // Held to the end: the next agent must not find the port free while this one still has peers.
    if (stub->lock >= 0)
        close(stub->lock);
    stub->lock = -1;
    stub_release(stub);
    return 0;
}

int rpc_port_stub_listen(rpc_port_stub_h handle)
{
    auto *stub = static_cast<Stub *>(handle);
    if (!stub || stub->destroyed)
        return -EINVAL;
    if (stub->listener >= 0)
        return -EALREADY;
    return stub_listen(stub);
}

int rpc_port_stub_get_directory(rpc_port_stub_h handle, const char **directory)
{
    if (!handle || !directory)
        return -EINVAL;
    const auto *stub = static_cast<const Stub *>(handle);
    *directory = stub->listener >= 0 ? stub->place.directory : nullptr;
    return *directory ? 0 : -ENOTCONN;
}

int rpc_port_stub_get_port(rpc_port_stub_h handle, const char *instance, rpc_port_port_type_e type, rpc_port_h *port)
{
    if (!handle || !instance || !port || (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK))
        return -EINVAL;
    Peer *peer = find_peer(static_cast<Stub *>(handle), instance);
    *port = nullptr;
    if (!peer)
        return -ENOENT;
    *port = type == RPC_PORT_PORT_MAIN ? &peer->main : &peer->callback;
    return 0;
}

int rpc_port_stub_disconnect(rpc_port_stub_h handle, const char *instance)
{
    if (!handle || !instance)
        return -EINVAL;
    Peer *peer = find_peer(static_cast<Stub *>(handle), instance);
    if (!peer)
        return -ENOENT;
    port_break(&peer->main);
    return 0;
}

} // extern "C"
