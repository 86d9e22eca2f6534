// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/journal.hpp"
#include "faults.hpp"
#include "handlers.hpp"

#include <rpc_port_stub.h>

#include <list>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// Another agent serves the port already.
struct PortInUse : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The agent's port and whoever is connected to it. Runs on the GLib main loop.
class Server final : public Announcer {
public:
    Server(State &state, Journal &journal, Faults &faults, bool refuses)
        : state_(state), journal_(journal), faults_(faults), refuses_(refuses)
    {
    }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    ~Server() { stop(); }

    /// What answers requests. To be called once, before listening.
    void serve_with(Handlers &handlers) { handlers_ = &handlers; }

    /// Throws PortInUse, or std::runtime_error when the port cannot be made.
    void listen();
    /// Disconnects everyone.
    void stop();
    /// Where the port's socket is. Only while it listens.
    std::string directory() const;

    /// Sends the event with values from outside to every peer that has registered for it, and says to how many.
    int emit(const DelegateEntry &delegate, const cJSON *values);

    std::size_t peers() const { return peers_.size(); }
    Json view() const;

private:
    /// A reply that is on its way, slowly.
    struct Delayed {
        Server *server;
        std::string instance;
        Parcel reply;
        std::vector<Event> events;
        unsigned source;
    };

    /// What became of a request.
    struct Handled {
        int id = -1;
        const MethodEntry *method = nullptr; // none for an id that is unknown
        Served served{};
        std::vector<Event> events{};
        std::optional<Fault> fault{};
        std::string problem{};
    };

    /// An event with the one that it goes to.
    struct Addressed {
        std::string instance;
        Event event;
    };

    int to_all(int delegate_id, const Make &make) override;
    void send_announced();
    int connecting(const rpc_port_stub_peer_t &peer);
    void connected(const rpc_port_stub_peer_t &peer);
    void disconnected(const rpc_port_stub_peer_t &peer);
    void received(const rpc_port_stub_peer_t &peer, rpc_port_h port);

    void answer(Peer &peer, rpc_port_parcel_h request);
    Handled handle(Peer &peer, rpc_port_parcel_h request);
    void remember(int method_id, rpc_port_parcel_h request);
    void note_request(const Peer &peer, std::int64_t begun, const Handled &handled, rpc_port_parcel_h request);
    void deliver(const std::string &instance, Served &served, std::vector<Event> events,
                 const std::optional<Fault> &fault);
    void deliver_late(const std::string &instance, Served &served, std::vector<Event> events, int milliseconds);
    void reply(const std::string &instance, rpc_port_parcel_h parcel, std::vector<Event> &events);
    void send(const std::string &instance, Event &event);
    void drop(const std::string &instance);
    rpc_port_h port_of(const std::string &instance, rpc_port_port_type_e type);
    void note_connection(const std::string &peer, const char *what);

    State &state_;
    Journal &journal_;
    Faults &faults_;
    Handlers *handlers_ = nullptr;
    bool refuses_;
    bool answering_ = false;
    std::vector<Addressed> announced_{}; // while a request was answered; to be sent behind its reply
    rpc_port_stub_h stub_ = nullptr;
    std::map<std::string, Peer, std::less<>> peers_;
    std::list<Delayed> delayed_;
};

} // namespace kv::virtual_agent
