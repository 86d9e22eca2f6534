// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>
#include <rpc_port_stub.h>

#include "platform/host/owned.hpp"
#include "platform/host/ports/links/credentials.hpp"
#include "platform/host/ports/links/handshake.hpp"
#include "platform/host/ports/links/port.hpp"
#include "platform/host/ports/runtime/runtime_directory.hpp"

namespace kv::host {

struct Stub;

/// An accepted link whose connection is not complete: its request or its second link is missing.
struct Handshake {
    Stub *stub = nullptr;
    Owned<Handshake> next; ///< the one accepted before this one
    Fd link;
    PeerCredentials credentials;
    gint64 deadline = 0;
    Source source;
    void *watch = nullptr;
    bool has_request = false;
    HandshakeRequest request;
    size_t received = 0;
    uint8_t bytes[max_request_size];
};

/// The agent's side of one port. Its creator, its peers and every running turn of a source own it.
struct Stub {
    unsigned references = 1;
    bool destroyed = false;
    uint32_t listens_in = 0; ///< the process generation that listens; a forked child leaves everything alone
    CText appid;
    CText port_name;
    rpc_port_stub_events_t events = {};
    void *data = nullptr;
    PortPaths paths;
    gid_t group = no_group;
    int timeout_ms = 0;
    Fd lock;
    Fd listener;
    bool is_inherited = false; ///< the service manager opened the listener
    GMainContext *context = nullptr;
    Source source;
    void *watch = nullptr;
    Owned<Handshake> handshakes;
    unsigned handshake_count = 0;
    gint64 limit_logged_at = 0;  ///< when the log last reported a peer with too many handshakes
    GHashTable *peers = nullptr; ///< by instance
    uint64_t instances = 0;      ///< assigned so far

    ~Stub() { g_clear_pointer(&peers, g_hash_table_unref); }
};

/// One connected proxy. The stub's table and every running turn of its source own it.
struct Peer {
    explicit Peer(Stub *of) : stub(of) {}

    unsigned references = 1;
    bool gone = false;
    Ref<Stub> stub;
    rpc_port_stub_peer_t identity = {};
    char instance[40] = "";
    char sender[max_sender + 1] = "";
    Port main;
    Port callback;
    Source source;
};

int stub_listen(Stub *stub);
/// Removes the socket file and closes the links that are not peers yet.
void stub_stop_listening(Stub *stub);

/// Begins the handshake of an accepted link.
void handshake_begin(Stub *stub, Fd link);

/// Asks the agent whether it accepts a proxy, replies, and opens the peer.
void peer_admit(Stub *stub, Fd main, Fd callback, const PeerCredentials &credentials, const char *sender);
/// Raises `disconnected` and closes the links.
void peer_drop(Peer *peer);
/// Sends the handshake's reply; false if the link does not accept it.
bool send_handshake_reply(const Fd &link, int code);

} // namespace kv::host
