// SPDX-License-Identifier: Apache-2.0
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/host/log/log.hpp"
#include "stub.hpp"

namespace kv::host {
namespace {

// Each is a handler's work, and other peers are waiting.
constexpr int most_requests_per_turn = 256;

void release_peer(Peer *peer)
{
    if (--peer->holders > 0)
        return;
    port_close(&peer->main);
    port_close(&peer->callback);
    stub_release(peer->stub);
    free(peer);
}

void serve(Peer *peer)
{
    for (Port *port : {&peer->main, &peer->callback})
        if (port->outbox.size() > 0 && !port->held)
            port_flush(port);
    Received received = Received::nothing;
    if (peer->main.open() && g_source_query_unix_fd(peer->source, peer->main.watch) != 0)
        received = port_fill(&peer->main);
    // A peer that was disconnected from here, or cannot be answered, is not served any further; one that has closed
    // its end still gets its last requests carried out.
    if (peer->main.open())
        port_deliver(&peer->main, most_requests_per_turn, [peer] {
            if (peer->stub->events.received)
                peer->stub->events.received(&peer->identity, &peer->main, peer->stub->data);
            return !peer->gone && peer->main.open();
        });
    if (peer->gone)
        return;
    if (!peer->main.open() || (received == Received::end && !port_has_news(&peer->main)))
        peer_drop(peer);
}

struct PeerSource {
    GSource base;
    Peer *peer;
};

gboolean has_requests(GSource *source, gint *)
{
    return port_has_news(&reinterpret_cast<PeerSource *>(source)->peer->main);
}

gboolean run_peer_turn(GSource *source, GSourceFunc, gpointer)
{
    // A peer that is gone has destroyed its source, so the peer behind it is alive.
    Peer *peer = reinterpret_cast<PeerSource *>(source)->peer;
    if (peer->stub->made_in != process_generation)
        return G_SOURCE_REMOVE; // a forked child runs the parent's loop: the links are not its own
    if (g_source_get_ready_time(source) != -1)
        g_source_set_ready_time(source, -1);
    peer->holders++;
    serve(peer);
    release_peer(peer);
    return G_SOURCE_CONTINUE;
}

GSourceFuncs peer_source_functions = {has_requests, nullptr, run_peer_turn, nullptr, nullptr, nullptr};

Peer *make_peer(Stub *stub, const PeerCredentials &credentials, const char *sender)
{
    auto *peer = static_cast<Peer *>(calloc(1, sizeof(Peer)));
    if (!peer)
        return nullptr;
    peer->holders = 1;
    stub_hold(stub);
    peer->stub = stub;
    snprintf(peer->instance, sizeof peer->instance, "%d.%llu", credentials.pid,
             static_cast<unsigned long long>(++stub->peers_so_far));
    snprintf(peer->sender, sizeof peer->sender, "%s", sender);
    peer->identity = {peer->instance, peer->sender, credentials.pid, credentials.uid};
    return peer;
}

void open_peer(Peer *peer)
{
    Stub *stub = peer->stub;
    peer->source = g_source_new(&peer_source_functions, sizeof(PeerSource));
    reinterpret_cast<PeerSource *>(peer->source)->peer = peer;
    g_source_set_static_name(peer->source, "rpc port peer");
    g_source_set_can_recurse(peer->source, TRUE);
    peer->main.source = peer->source;
    peer->callback.source = peer->source;
    // The callback link is looked at only while it has to wait for room: that a peer has died shows on the main link.
    peer->main.watch = g_source_add_unix_fd(peer->source, peer->main.fd, G_IO_IN);
    g_hash_table_insert(stub->peers, peer->instance, peer);
    g_source_attach(peer->source, stub->context);
    dlog_print(log_info, log_tag, "port %s of %s: %s (process %d) connected as %s", stub->port_name, stub->appid,
               peer->sender, peer->identity.pid, peer->instance);
    if (stub->events.connected)
        stub->events.connected(&peer->identity, stub->data);
}

} // namespace

bool send_answer(int link, int code)
{
    uint8_t bytes[answer_size];
    write_answer(bytes, {hello_version, code});
    ssize_t sent;
    do {
        sent = send(link, bytes, sizeof bytes, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(sizeof bytes);
}

void peer_admit(Stub *stub, int main, int callback, const PeerCredentials &credentials, const char *sender)
{
    Peer *peer = make_peer(stub, credentials, sender);
    if (!peer) {
        dlog_print(log_error, log_tag, "port %s of %s: out of memory, a peer is turned away", stub->port_name,
                   stub->appid);
        close(main);
        close(callback);
        return;
    }
    port_open(&peer->main, main, PortRole::server_main, &peer->callback, peer->instance);
    port_open(&peer->callback, callback, PortRole::server_callback, &peer->main, peer->instance);
    const int code = stub->events.connecting ? stub->events.connecting(&peer->identity, stub->data) : 0;
    // The agent may have destroyed the stub meanwhile; the peer has kept it in memory.
    if (send_answer(main, stub->destroyed ? -ESHUTDOWN : code) && code == 0 && !stub->destroyed) {
        open_peer(peer);
        return;
    }
    if (code != 0)
        dlog_print(log_info, log_tag, "port %s of %s: %s (process %d) was refused (%d)", stub->port_name, stub->appid,
                   sender, credentials.pid, code);
    release_peer(peer);
}

void peer_drop(Peer *peer)
{
    Stub *stub = peer->stub;
    peer->gone = true;
    port_break(&peer->main);
    dlog_print(log_info, log_tag, "port %s of %s: %s (process %d) disconnected", stub->port_name, stub->appid,
               peer->sender, peer->identity.pid);
    g_source_destroy(peer->source);
    // Still found by its instance while the event runs; never raised twice, as the source is gone.
    stub_hold(stub);
    if (stub->events.disconnected && stub->made_in == process_generation)
        stub->events.disconnected(&peer->identity, stub->data);
    g_hash_table_remove(stub->peers, peer->instance);
    peer->main.source = nullptr;
    peer->callback.source = nullptr;
    g_source_unref(peer->source);
    release_peer(peer);
    stub_release(stub);
}

} // namespace kv::host
