// SPDX-License-Identifier: Apache-2.0
//
// A connected proxy: its admission, its requests, and its end.
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <initializer_list>

#include "platform/host/log/log.hpp"
#include "stub.hpp"

namespace kv::host {
namespace {

// Each request runs the agent's handler while other peers wait.
constexpr int max_requests_per_turn = 256;

void serve(Peer *peer)
{
    for (Port *port : {&peer->main, &peer->callback})
        if (port->outbox.size() > 0 && !port->held)
            port_flush(port);
    Received received = Received::nothing;
    if (peer->main.open() && g_source_query_unix_fd(peer->source.get(), peer->main.watch) != 0)
        received = port_fill(&peer->main);
    // A peer that the agent has disconnected, or that accepts no reply, is not served any more. A peer that has closed
    // its end still has its last requests served.
    if (peer->main.open())
        port_deliver(&peer->main, max_requests_per_turn, [peer] {
            if (peer->stub->events.received)
                peer->stub->events.received(&peer->identity, &peer->main, peer->stub->data);
            return !peer->gone && peer->main.open();
        });
    if (peer->gone)
        return;
    if (!peer->main.open() || (received == Received::end && !port_has_pending_frame(&peer->main)))
        peer_drop(peer);
}

struct PeerSource {
    GSource base;
    Peer *peer;
};

gboolean has_requests(GSource *source, gint *)
{
    return port_has_pending_frame(&reinterpret_cast<PeerSource *>(source)->peer->main);
}

gboolean run_peer_turn(GSource *source, GSourceFunc, gpointer)
{
    // The peer is alive: dropping it destroys the source.
    Peer *peer = reinterpret_cast<PeerSource *>(source)->peer;
    if (peer->stub->listens_in != process_generation)
        return G_SOURCE_REMOVE; // a forked child runs its parent's loop, but the links are the parent's
    if (g_source_get_ready_time(source) != -1)
        g_source_set_ready_time(source, -1);
    const Ref<Peer> alive{peer};
    serve(peer);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs peer_source_functions = {has_requests, nullptr, run_peer_turn, nullptr, nullptr, nullptr};

Peer *create_peer(Stub *stub, const PeerCredentials &credentials, const char *sender)
{
    void *memory = malloc(sizeof(Peer));
    if (!memory)
        return nullptr;
    auto *peer = new (memory) Peer(stub);
    snprintf(peer->instance, sizeof peer->instance, "%d.%llu", credentials.pid,
             static_cast<unsigned long long>(++stub->instances));
    snprintf(peer->sender, sizeof peer->sender, "%s", sender);
    peer->identity = {peer->instance, peer->sender, credentials.pid, credentials.uid};
    return peer;
}

void create_source(Peer *peer)
{
    GSource *source = g_source_new(&peer_source_functions, sizeof(PeerSource));
    peer->source.reset(source);
    reinterpret_cast<PeerSource *>(source)->peer = peer;
    g_source_set_static_name(source, "rpc port peer");
    g_source_set_can_recurse(source, TRUE);
    peer->main.source = source;
    peer->callback.source = source;
    // The callback link is watched only while it waits for room. The end of a peer shows on the main link.
    peer->main.watch = g_source_add_unix_fd(source, peer->main.fd.get(), G_IO_IN);
    g_source_attach(source, peer->stub->context);
}

/// The stub's table takes over the creator's reference.
void open_peer(Peer *peer)
{
    Stub *stub = peer->stub.get();
    g_hash_table_insert(stub->peers, peer->instance, peer);
    create_source(peer);
    dlog_print(log_info, log_tag, "port %s of %s: %s (process %d) connected as %s", stub->port_name.get(),
               stub->appid.get(), peer->sender, peer->identity.pid, peer->instance);
    if (stub->events.connected)
        stub->events.connected(&peer->identity, stub->data);
}

} // namespace

bool send_handshake_reply(const Fd &link, int code)
{
    uint8_t bytes[reply_size];
    write_handshake_reply(bytes, {protocol_version, code});
    ssize_t sent;
    do {
        sent = send(link.get(), bytes, sizeof bytes, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(sizeof bytes);
}

void peer_admit(Stub *stub, Fd main, Fd callback, const PeerCredentials &credentials, const char *sender)
{
    Peer *peer = create_peer(stub, credentials, sender);
    if (!peer) {
        dlog_print(log_error, log_tag, "port %s of %s: out of memory; refusing %s (process %d)", stub->port_name.get(),
                   stub->appid.get(), sender, credentials.pid);
        return;
    }
    Ref<Peer> created = Ref<Peer>::adopt(peer);
    port_open(&peer->main, std::move(main), PortRole::server_main, &peer->callback, peer->instance);
    port_open(&peer->callback, std::move(callback), PortRole::server_callback, &peer->main, peer->instance);
    const int code = stub->events.connecting ? stub->events.connecting(&peer->identity, stub->data) : 0;
    // The agent may have destroyed the stub meanwhile; the peer keeps it in memory.
    if (send_handshake_reply(peer->main.fd, stub->destroyed ? -ESHUTDOWN : code) && code == 0 && !stub->destroyed) {
        peer->references++;
        open_peer(peer);
        return;
    }
    if (code != 0)
        dlog_print(log_info, log_tag, "port %s of %s: the agent refused %s (process %d) with %d", stub->port_name.get(),
                   stub->appid.get(), sender, credentials.pid, code);
}

void peer_drop(Peer *peer)
{
    const Ref<Peer> alive{peer};
    const Ref<Stub> stub{peer->stub.get()};
    peer->gone = true;
    port_break(&peer->main);
    dlog_print(log_info, log_tag, "port %s of %s: %s (process %d) disconnected", stub->port_name.get(),
               stub->appid.get(), peer->sender, peer->identity.pid);
    peer->main.source = nullptr;
    peer->callback.source = nullptr;
    peer->source.reset();
    // The callback still finds the peer by its instance. The event is never raised twice, because the source is gone.
    if (stub->events.disconnected && stub->listens_in == process_generation)
        stub->events.disconnected(&peer->identity, stub->data);
    g_hash_table_remove(stub->peers, peer->instance);
    Ref<Peer>::adopt(peer); // the table's
}

} // namespace kv::host
