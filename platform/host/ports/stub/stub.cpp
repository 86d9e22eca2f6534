// SPDX-License-Identifier: Apache-2.0
#include "stub.hpp"

#include <cerrno>

using namespace kv::host;

namespace {

Peer *find_peer(const Stub *stub, const char *instance)
{
    if (!stub || !instance)
        return nullptr;
    return static_cast<Peer *>(g_hash_table_lookup(stub->peers, instance));
}

// Skips a peer whose `disconnected` event is running: that callback may be destroying the stub.
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
    Owned<Stub> stub = make<Stub>();
    if (!stub)
        return -ENOMEM;
    stub->appid = copy_text(appid);
    stub->port_name = copy_text(port_name);
    if (!stub->appid || !stub->port_name)
        return -ENOMEM;
    stub->events = *events;
    stub->data = data;
    stub->peers = g_hash_table_new(g_str_hash, g_str_equal);
    *out = stub.release();
    return 0;
}

int rpc_port_stub_destroy(rpc_port_stub_h handle)
{
    auto *stub = static_cast<Stub *>(handle);
    if (!stub || stub->destroyed)
        return -EINVAL;
    const Ref<Stub> creators = Ref<Stub>::adopt(stub);
    stub->destroyed = true;
    stub_stop_listening(stub);
    while (Peer *peer = any_live_peer(stub))
        peer_drop(peer);
    // Unlocked last: the port is free for another agent only when this one has no peers.
    stub->lock.reset();
    return 0;
}

int rpc_port_stub_listen(rpc_port_stub_h handle)
{
    auto *stub = static_cast<Stub *>(handle);
    if (!stub || stub->destroyed)
        return -EINVAL;
    if (stub->listener)
        return -EALREADY;
    return stub_listen(stub);
}

int rpc_port_stub_get_directory(rpc_port_stub_h handle, const char **directory)
{
    if (!handle || !directory)
        return -EINVAL;
    const auto *stub = static_cast<const Stub *>(handle);
    *directory = stub->listener ? stub->paths.directory : nullptr;
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
