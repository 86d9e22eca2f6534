// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/version.hpp"
#include "agent/journal/journal.hpp"
#include "agent/loop/source.hpp"
#include "event_hub.hpp"
#include "faults.hpp"
#include "request_handler.hpp"

#include <rpc_port_stub.h>

#include <list>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// Another agent serves the port already, or another program listens at its socket.
struct PortInUse : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The part of the device's state that the server reads and writes.
struct ServerState {
    const Version &version;
    std::map<int, std::string> &last_requests; // by method id: the bytes of the last request with arguments
};

/// The agent's port. It receives requests, has them served, and sends replies and events. Runs on the GLib main loop.
class Server {
public:
    /// Longer requests are not kept for `state`.
    static constexpr std::size_t max_kept_request = 64 << 10;

    Server(ServerState state, Journal &journal, Faults &faults, EventHub &hub, bool refuses);
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    ~Server() { stop(); }

    /// Sets what serves requests; to be called once, before listen().
    void serve_with(RequestHandler &handler) { handler_ = &handler; }

    /// Opens the port; a port that is open already is closed before. Throws PortInUse, or std::runtime_error if the port
    /// cannot be opened.
    void listen();
    /// Disconnects all applications and closes the port.
    void stop();
    /// The directory of the port's socket. Only while the server listens.
    std::string directory() const;

private:
    /// A reply that a fault delays.
    struct Delayed {
        std::string instance{};
        Parcel reply{};
        std::vector<Event> events{};
        Source timer{};
    };

    struct Handled {
        int id = -1;
        const MethodEntry *method = nullptr; // null for an unknown id
        Served served{};
        std::vector<Event> events{};
        std::optional<Fault> fault{};
        std::string problem{};
    };

    int connecting(const rpc_port_stub_peer_t &peer);
    void connected(const rpc_port_stub_peer_t &peer);
    void disconnected(const rpc_port_stub_peer_t &peer);
    void received(const rpc_port_stub_peer_t &peer, rpc_port_h port);

    void answer(Peer &peer, Parcel request);
    Handled handle(Peer &peer, rpc_port_parcel_h request);
    void keep(int method_id, rpc_port_parcel_h request);
    void note_request(const Peer &peer, std::int64_t begun, const Handled &handled, Parcel request);
    void deliver(const std::string &instance, Served &served, std::vector<Event> events,
                 const std::optional<Fault> &fault);
    void deliver_late(const std::string &instance, Served &served, std::vector<Event> events, int milliseconds);
    void reply(const std::string &instance, rpc_port_parcel_h parcel, std::vector<Event> &events);
    void send(const std::string &instance, Event &event);
    void drop(const std::string &instance);
    rpc_port_h port_of(const std::string &instance, rpc_port_port_type_e type);
    void note_connection(const std::string &peer, const char *what);

    ServerState state_;
    Journal &journal_;
    Faults &faults_;
    EventHub &hub_;
    RequestHandler *handler_ = nullptr;
    bool refuses_;
    rpc_port_stub_h stub_ = nullptr;
    std::list<Delayed> delayed_{};
    Source trim_{};
};

} // namespace kv::virtual_agent
