// SPDX-License-Identifier: Apache-2.0
#include "server.hpp"

#include "agent/interface/coded_words.hpp"
#include "call_facts.hpp"
#include "common/agent_state.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <malloc.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

Peer described(const rpc_port_stub_peer_t &peer)
{
    std::string program = peer.sender ? peer.sender : "";
    for (char &letter : program) // the peer chooses its name, and the name is printed
        if (!g_ascii_isgraph(letter))
            letter = '?';
    return Peer{peer.instance, program + "(" + std::to_string(peer.pid) + ")"};
}

[[noreturn]] void die_at_once()
{
    ::kill(::getpid(), SIGKILL);
    std::abort();
}

Parcel first_bytes_of(rpc_port_parcel_h parcel, int count)
{
    return parcel_of(std::string{bytes_of(parcel).substr(0, static_cast<std::size_t>(count))});
}

Parcel random_bytes(int count)
{
    std::string bytes;
    while (bytes.size() < static_cast<std::size_t>(count))
        bytes += static_cast<char>(g_random_int() & 0xff);
    return parcel_of(bytes);
}

/// Sends the first `count` bytes of a frame: the payload's length in four bytes, lowest first, and the payload.
void send_beginning(rpc_port_h port, rpc_port_parcel_h parcel, int count)
{
    const std::string_view payload = bytes_of(parcel);
    std::string frame;
    for (unsigned shift = 0; shift < 32; shift += 8)
        frame.push_back(static_cast<char>((payload.size() >> shift) & 0xff));
    frame.append(payload);
    rpc_port_stub_send_raw(port, frame.data(), std::min(frame.size(), static_cast<std::size_t>(count)));
}

/// The reply to a request with an unknown method id.
Parcel bare_reply(int result)
{
    Parcel reply = new_parcel();
    if (rpc_port_parcel_write_int32(reply.get(), master::result) != 0 ||
        rpc_port_parcel_write_int32(reply.get(), result) != 0)
        throw std::bad_alloc{};
    return reply;
}

} // namespace

Server::Server(ServerState state, Journal &journal, Faults &faults, EventHub &hub, bool refuses)
    : state_(state), journal_(journal), faults_(faults), hub_(hub), refuses_(refuses)
{
    hub_.send_by([this](const std::string &instance, Event &event) { send(instance, event); });
}

void Server::listen()
{
    stop();
    rpc_port_stub_events_t events{};
    events.connecting = [](const rpc_port_stub_peer_t *peer, void *data) {
        int verdict = -EACCES;
        contain([&] { verdict = static_cast<Server *>(data)->connecting(*peer); });
        return verdict;
    };
    events.connected = [](const rpc_port_stub_peer_t *peer, void *data) {
        contain([&] { static_cast<Server *>(data)->connected(*peer); });
    };
    events.disconnected = [](const rpc_port_stub_peer_t *peer, void *data) {
        contain([&] { static_cast<Server *>(data)->disconnected(*peer); });
    };
    events.received = [](const rpc_port_stub_peer_t *peer, rpc_port_h port, void *data) {
        contain([&] { static_cast<Server *>(data)->received(*peer, port); });
    };
    int error = rpc_port_stub_create(&stub_, KORVANE_AGENT_APPID, KORVANE_AGENT_PORT, &events, this);
    if (error == 0)
        error = rpc_port_stub_listen(stub_);
    if (error == 0)
        return;
    stop();
    if (error == -EADDRINUSE)
        throw PortInUse{
            "another agent serves this port, or another program listens at its socket; stop that program, or "
            "choose another --runtime-dir"};
    throw std::runtime_error{std::string{"cannot serve the port: "} + std::strerror(-error)};
}

void Server::stop()
{
    if (rpc_port_stub_h stub = std::exchange(stub_, nullptr))
        rpc_port_stub_destroy(stub);
    delayed_.clear();
    hub_.disconnect_all();
}

std::string Server::directory() const
{
    const char *directory = nullptr;
    if (rpc_port_stub_get_directory(stub_, &directory) != 0)
        throw std::logic_error{"the port is closed and has no directory"};
    return directory;
}

int Server::connecting(const rpc_port_stub_peer_t &peer)
{
    if (!refuses_)
        return 0;
    note_connection(described(peer).name(), "refused");
    return -EACCES;
}

void Server::connected(const rpc_port_stub_peer_t &peer)
{
    Peer description = described(peer);
    note_connection(description.name(), "connected");
    hub_.connect(std::move(description));
}

void Server::disconnected(const rpc_port_stub_peer_t &peer)
{
    hub_.disconnect(peer.instance);
    note_connection(described(peer).name(), "disconnected");
}

void Server::received(const rpc_port_stub_peer_t &peer, rpc_port_h port)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_port(&parcel, port) != 0)
        return;
    Parcel request{parcel};
    // Large requests leave free memory behind, which malloc would keep.
    constexpr std::size_t large = 1 << 20;
    const bool is_large = bytes_of(parcel).size() >= large;
    if (Peer *known = hub_.find(peer.instance))
        answer(*known, std::move(request));
    if (is_large)
        trim_.call_soon([] { ::malloc_trim(0); }, G_PRIORITY_LOW);
}

void Server::answer(Peer &peer, Parcel request)
{
    const std::int64_t begun = Journal::now();
    Handled handled;
    {
        const EventHub::Hold hold{hub_};
        handled = handle(peer, request.get());
    }
    note_request(peer, begun, handled, std::move(request));
    // Sending may disconnect the peer, so `peer` is not used any more.
    const std::string instance = peer.instance;
    if (handled.served.decoded)
        deliver(instance, handled.served, std::move(handled.events), handled.fault);
    else
        drop(instance); // its next bytes may not begin with a frame
    hub_.send_held();
}

Server::Handled Server::handle(Peer &peer, rpc_port_parcel_h request)
{
    Handled handled;
    if (rpc_port_parcel_read_int32(request, &handled.id) != 0) {
        handled.problem = "a request without a method id";
        return handled;
    }
    const MethodEntry *method = find_method(handled.id);
    if (!method) {
        handled.problem = "unknown method id " + std::to_string(handled.id);
        handled.served.decoded = true;
        handled.served.reply = bare_reply(refused);
        return handled;
    }
    handled.method = method;
    if (method->is_too_long(bytes_of(request).size())) {
        handled.problem = "a request with an array is limited to 256 KiB";
        return handled;
    }

    Deviation deviation;
    if (method->since > state_.version.number()) {
        handled.problem = "agent " + state_.version.text() + " does not know this method";
        deviation.result = refused;
    } else if ((handled.fault = faults_.take(method->id))) {
        if (handled.fault->form == Fault::Form::result)
            deviation.result = handled.fault->value;
        if (handled.fault->form == Fault::Form::kind)
            deviation.kind = handled.fault->value;
    }
    Call call{peer};
    handled.served = handler_->serve(*method, call, request, deviation);
    handled.events = std::move(call.events);
    if (!handled.served.decoded)
        handled.problem = "its arguments cannot be decoded";
    else if (method->arguments > 0 && !deviation.result)
        keep(method->id, request);
    return handled;
}

void Server::keep(int method_id, rpc_port_parcel_h request)
{
    if (const std::string_view bytes = bytes_of(request); bytes.size() <= max_kept_request)
        state_.last_requests[method_id].assign(bytes);
    else
        state_.last_requests.erase(method_id);
}

void Server::note_request(const Peer &peer, std::int64_t begun, const Handled &handled, Parcel request)
{
    auto facts = std::make_shared<CallFacts>();
    facts->peer = peer.shared_name();
    facts->id = handled.id;
    facts->method = handled.method;
    facts->request = bytes_of(request.get());
    request.reset(); // its copy is decoded again for the log, which takes a long request's size twice more
    if (handled.served.reply)
        facts->reply = bytes_of(handled.served.reply.get());
    facts->duration_us = Journal::now() - begun;
    if (handled.fault)
        facts->fault = handled.fault->form;
    facts->problem = handled.problem;
    journal_.write(begun, std::move(facts));
}

void Server::deliver(const std::string &instance, Served &served, std::vector<Event> events,
                     const std::optional<Fault> &fault)
{
    if (!fault)
        return reply(instance, served.reply.get(), events);
    switch (fault->form) {
    case Fault::Form::die: die_at_once();
    case Fault::Form::half:
        send_beginning(port_of(instance, RPC_PORT_PORT_MAIN), served.reply.get(), fault->value);
        die_at_once();
    case Fault::Form::silent: return;
    case Fault::Form::close: return drop(instance);
    case Fault::Form::cut: return reply(instance, first_bytes_of(served.reply.get(), fault->value).get(), events);
    case Fault::Form::garbage: return reply(instance, random_bytes(fault->value).get(), events);
    case Fault::Form::delay: return deliver_late(instance, served, std::move(events), fault->value);
    case Fault::Form::result:
    case Fault::Form::kind: return reply(instance, served.reply.get(), events);
    }
}

void Server::deliver_late(const std::string &instance, Served &served, std::vector<Event> events, int milliseconds)
{
    Delayed &late = delayed_.emplace_back();
    late.instance = instance;
    late.reply = std::move(served.reply);
    late.events = std::move(events);
    late.timer.call_after(static_cast<unsigned>(milliseconds), [this, &late] {
        reply(late.instance, late.reply.get(), late.events);
        delayed_.remove_if([&late](const Delayed &one) { return &one == &late; });
    });
}

void Server::reply(const std::string &instance, rpc_port_parcel_h parcel, std::vector<Event> &events)
{
    // A disconnected peer has no port. Sending may disconnect it, so each event looks it up again.
    if (rpc_port_h port = port_of(instance, RPC_PORT_PORT_MAIN))
        rpc_port_parcel_send(parcel, port);
    for (Event &event : events)
        send(instance, event);
}

void Server::send(const std::string &instance, Event &event)
{
    Peer *peer = hub_.find(instance);
    rpc_port_h port = port_of(instance, RPC_PORT_PORT_CALLBACK);
    if (!peer || !port)
        return;
    peer->fired(event.delegate);
    Json facts = Json::object();
    facts.set("peer", peer->name()).set("event", event.name).set("values", event.values->copy());
    journal_.write(Journal::now(), facts,
                   peer->name() + "  event " + event.name + "(" + in_words(*event.values, event.name) + ")");
    rpc_port_parcel_send(event.parcel.get(), port);
}

void Server::drop(const std::string &instance)
{
    rpc_port_stub_disconnect(stub_, instance.c_str());
}

rpc_port_h Server::port_of(const std::string &instance, rpc_port_port_type_e type)
{
    rpc_port_h port = nullptr;
    if (!stub_ || rpc_port_stub_get_port(stub_, instance.c_str(), type, &port) != 0)
        return nullptr;
    return port;
}

void Server::note_connection(const std::string &peer, const char *what)
{
    journal_.write(Journal::now(), Json::object().set("peer", peer).set("connection", what), peer + "  " + what);
}

} // namespace kv::virtual_agent
