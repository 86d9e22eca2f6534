// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include "platform/host/ports/links/handshake.hpp"
#include "platform/host/ports/links/port.hpp"
#include "platform/host/ports/runtime/runtime_directory.hpp"
#include <rpc_port.h>

namespace kv::host {

/// An event's function and what it is called with.
template <class Function>
struct EventCallback {
    Function function;
    void *data;
};

enum class ProxyState : uint8_t {
    idle,     ///< not connected, or no more
    waiting,  ///< for the agent's socket, as the agent is starting or its backlog is full
    greeting, ///< both links are made, the agent's answer is awaited
    connected,
};

/// The calling side of one port. It lives as long as somebody holds it: its creator, and every turn of its source.
struct Proxy {
    unsigned holders;
    ProxyState state;
    uint32_t made_in; ///< the process generation of its source
    char *appid;
    char *port_name;
    EventCallback<rpc_port_proxy_connected_event_cb> connected;
    EventCallback<rpc_port_proxy_disconnected_event_cb> disconnected;
    EventCallback<rpc_port_proxy_rejected_event_cb> rejected;
    EventCallback<rpc_port_proxy_received_event_cb> received;

    Port main;
    Port callback;
    GSource *source;
    void *main_watch;
    void *callback_watch;

    // While connecting.
    PortPlace place;
    gint64 gives_up_at;
    int timeout_ms;
    int starting_lock; ///< held by the one process that starts the agent, else -1
    bool started;
    bool startable;
    uint8_t answer[answer_size];
    size_t answered;
};

void proxy_hold(Proxy *proxy);
void proxy_release(Proxy *proxy);

/// Begins to connect. 0, or a negative code at once when there is nobody to connect to.
int proxy_begin(Proxy *proxy);
/// Closes the links and forgets the source, raising nothing.
void proxy_close(Proxy *proxy);
/// One turn of the source while the connection is being made.
void proxy_continue_connecting(Proxy *proxy);
/// One turn of the source on a connection.
void proxy_serve(Proxy *proxy);

} // namespace kv::host
