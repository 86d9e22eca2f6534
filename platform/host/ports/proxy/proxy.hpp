// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>
#include <rpc_port.h>

#include "platform/host/owned.hpp"
#include "platform/host/ports/links/handshake.hpp"
#include "platform/host/ports/links/port.hpp"
#include "platform/host/ports/runtime/runtime_directory.hpp"

namespace kv::host {

/// An event's callback and its user data.
template <class Function>
struct EventCallback {
    Function function = nullptr;
    void *data = nullptr;
};

enum class ProxyState : uint8_t {
    idle,        ///< not connected
    waiting,     ///< for the agent's socket: the agent is starting, or its backlog is full
    handshaking, ///< both links are open; the agent has not replied
    connected,
};

/// The application's side of one port. Its creator and every running turn of its source own it.
struct Proxy {
    unsigned references = 1;
    ProxyState state = ProxyState::idle;
    uint32_t created_in = 0; ///< the process generation of its source
    CText appid;
    CText port_name;
    EventCallback<rpc_port_proxy_connected_event_cb> connected;
    EventCallback<rpc_port_proxy_disconnected_event_cb> disconnected;
    EventCallback<rpc_port_proxy_rejected_event_cb> rejected;
    EventCallback<rpc_port_proxy_received_event_cb> received;

    Port main;
    Port callback;
    Source source;
    void *main_watch = nullptr;
    void *callback_watch = nullptr;

    // While connecting.
    PortPaths paths;
    gint64 deadline = 0; ///< of the connection, on the monotonic clock in microseconds
    int timeout_ms = 0;
    int polling_us = 0;
    Fd starting_lock; ///< locked by the one process that starts the agent
    bool started = false;
    bool startable = false;
    Fd agent_process;              ///< of an agent that this proxy has started; readable when it has ended
    void *process_watch = nullptr; ///< of that descriptor
    bool agent_ended = false;
    int shortage = 0; ///< the errno of the last attempt that failed for lack of descriptors or memory
    uint8_t reply[reply_size];
    size_t reply_received = 0;
};

/// Begins to connect: 0, or a negative code if the failure is known at once.
int proxy_begin(Proxy *proxy);
/// Closes the links and destroys the source without raising an event.
void proxy_close(Proxy *proxy);
/// Runs one turn of the source while the connection is being made.
void proxy_continue_connecting(Proxy *proxy);
/// Runs one turn of the source of a connection.
void proxy_serve(Proxy *proxy);

} // namespace kv::host
