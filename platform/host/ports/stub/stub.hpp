// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include "platform/host/ports/links/credentials.hpp"
#include "platform/host/ports/links/handshake.hpp"
#include "platform/host/ports/links/port.hpp"
#include "platform/host/ports/runtime/runtime_directory.hpp"
#include <rpc_port_stub.h>

namespace kv::host {

struct Greeting;

/// The serving side of one port. It lives as long as somebody holds it: its creator, and every turn of a source.
struct Stub {
    unsigned holders;
    bool destroyed;
    uint32_t made_in; ///< the process generation it listens in; a forked child leaves everything alone
    char *appid;
    char *port_name;
    rpc_port_stub_events_t events;
    void *data;
    PortPlace place;
    gid_t group;
    int timeout_ms;
    int lock;
    int listener;
    GMainContext *context;
    GSource *source;
    void *watch;
    Greeting *greetings; ///< links that have not both said who they are
    unsigned greeting_count;
    GHashTable *peers; ///< by instance
    uint64_t peers_so_far;
};

/// One connected proxy.
struct Peer {
    unsigned holders;
    bool gone;
    Stub *stub;
    rpc_port_stub_peer_t identity;
    char instance[40];
    char sender[longest_sender + 1];
    Port main;
    Port callback;
    GSource *source;
};

void stub_hold(Stub *stub);
void stub_release(Stub *stub);

int stub_listen(Stub *stub);
/// Takes the socket file away and forgets the links that are not peers yet.
void stub_stop_listening(Stub *stub);

/// Both links of a proxy are there: asks the agent, answers, and opens the peer. Takes over the descriptors.
void peer_admit(Stub *stub, int main, int callback, const PeerCredentials &credentials, const char *sender);
/// Raises `disconnected` and closes the links.
void peer_drop(Peer *peer);
/// Says on a main link whether the connection is accepted; false when the link does not take it.
bool send_answer(int link, int code);

} // namespace kv::host
