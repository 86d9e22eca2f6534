// SPDX-License-Identifier: Apache-2.0
// korvane-bench-event-server bare|glib|sdbus|stub FOLDER
// Sends events on command, to one client after another, until it is killed. Prints a line when it listens.

#include "bench/clients/clients.hpp"
#include "serving.hpp"

#include <glib-unix.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

namespace kv::test {

namespace {

constexpr int status = 2;

class Sender {
public:
    virtual ~Sender() = default;
    virtual void send_one() = 0;
    /// Prepares a burst, and sends it.
    virtual void prepare() = 0;
    virtual void release() = 0;
};

/// Runs one command. Returns false if the client has disconnected.
bool run_command(int commands, Sender &sender)
{
    char what = 0;
    if (recv(commands, &what, 1, 0) != 1)
        return false;
    if (what == event_command::one) {
        sender.send_one();
    } else if (what == event_command::send_burst) {
        sender.release();
    } else {
        sender.prepare();
        require(send(commands, &what, 1, MSG_NOSIGNAL) == 1, "commands");
    }
    return true;
}

class BareSender : public Sender {
public:
    explicit BareSender(int link) : link_(link) {}
    BareSender(const BareSender &) = delete;
    BareSender &operator=(const BareSender &) = delete;
    ~BareSender() override { close(link_); }

    void send_one() override { write(bare_event, sizeof bare_event); }

    void prepare() override
    {
        burst_.clear();
        for (int i = 0; i < burst_size; ++i)
            burst_.insert(burst_.end(), std::begin(bare_event), std::end(bare_event));
    }
    void release() override { write(burst_.data(), burst_.size()); }

private:
    void write(const unsigned char *bytes, std::size_t size) const
    {
        require(send(link_, bytes, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size), "events");
    }

    int link_;
    std::vector<unsigned char> burst_;
};

/// sd-bus has no queue that could be filled in advance: a burst is composed when it is sent.
class BusSender : public Sender {
public:
    explicit BusSender(int link) : bus_(serve_bus_on(link))
    {
        while (sd_bus_is_ready(bus_) <= 0)
            require(bus_turn(bus_), "sd-bus");
    }
    BusSender(const BusSender &) = delete;
    BusSender &operator=(const BusSender &) = delete;
    ~BusSender() override { sd_bus_close_unref(bus_); }

    void send_one() override { send(1); }
    void prepare() override {}
    void release() override { send(burst_size); }

private:
    void send(int count)
    {
        for (int i = 0; i < count; ++i)
            require(sd_bus_emit_signal(bus_, bus_path, bus_interface, bus_signal, "i", status) >= 0, "signal");
        require(sd_bus_flush(bus_) >= 0, "signals");
    }

    sd_bus *bus_;
};

/// Sends on the platform's callback port, to the delegate of a request.
class PortSender : public Sender {
public:
    void take(rpc_port_h callback_port, rpc_port_parcel_h request)
    {
        port_ = callback_port;
        require(rpc_port_parcel_read_int32(request, &id_) == 0 && rpc_port_parcel_read_int32(request, &seq_id_) == 0,
                "delegate");
    }

    void send_one() override
    {
        rpc_port_parcel_h event = nullptr;
        require(rpc_port_parcel_create(&event) == 0, "parcel");
        rpc_port_parcel_write_int32(event, 1);
        rpc_port_parcel_write_int32(event, id_);
        rpc_port_parcel_write_int32(event, seq_id_);
        rpc_port_parcel_write_bool(event, false);
        rpc_port_parcel_write_int32(event, status);
        require(rpc_port_parcel_send(event, port_) == 0, "event");
        rpc_port_parcel_destroy(event);
    }
    void prepare() override
    {
        rpc_port_stub_hold(port_);
        for (int i = 0; i < burst_size; ++i)
            send_one();
    }
    void release() override { rpc_port_stub_flush(port_); }

private:
    rpc_port_h port_ = nullptr;
    int id_ = 0;
    int seq_id_ = 0;
};

PortSender port_sender;
rpc_port_stub_h stub;

void on_parcel(const rpc_port_stub_peer_t *peer, rpc_port_h port, void *)
{
    constexpr int set_status_changed_cb = 6;
    rpc_port_parcel_h request = nullptr;
    int method = 0;
    if (rpc_port_parcel_create_from_port(&request, port) != 0)
        return;
    require(rpc_port_parcel_read_int32(request, &method) == 0, "request");
    if (method == set_status_changed_cb) {
        rpc_port_h callback_port = nullptr;
        rpc_port_stub_get_port(stub, peer->instance, RPC_PORT_PORT_CALLBACK, &callback_port);
        port_sender.take(callback_port, request);
    }
    rpc_port_parcel_destroy(request);
    answer_request(port, method);
}

/// A source on the main loop that reads commands for a sender. It owns the sender if that belongs to one connection.
struct CommandSource {
    Sender *sender;
    std::unique_ptr<Sender> owned;
};

gboolean on_command(int commands, GIOCondition, void *data)
{
    auto *client = static_cast<CommandSource *>(data);
    if (run_command(commands, *client->sender))
        return G_SOURCE_CONTINUE;
    close(commands);
    delete client;
    return G_SOURCE_REMOVE;
}

int listening_for_events = -1;

gboolean on_client(int listening, GIOCondition, void *)
{
    const int commands = accept_from(listening);
    auto *client = new CommandSource{&port_sender, nullptr};
    if (listening_for_events >= 0) {
        client->owned = std::make_unique<BareSender>(accept_from(listening_for_events));
        client->sender = client->owned.get();
    }
    g_unix_fd_add(commands, G_IO_IN, on_command, client);
    return G_SOURCE_CONTINUE;
}

template <class S>
void serve_blocking(int command_listener)
{
    report_ready();
    for (;;) {
        const int commands = accept_from(command_listener);
        S sender(accept_from(listening_for_events));
        while (run_command(commands, sender)) {
        }
        close(commands);
    }
}

void serve(const std::string &kind, const std::string &folder)
{
    const int command_listener = listen_at(event_command_path(kind, folder));
    if (kind == peer::stub)
        stub = listen_as_agent(on_parcel);
    else
        listening_for_events = listen_at(event_path(kind, folder));
    if (kind == peer::bare)
        serve_blocking<BareSender>(command_listener);
    if (kind == peer::sdbus)
        serve_blocking<BusSender>(command_listener);
    g_unix_fd_add(command_listener, G_IO_IN, on_client, nullptr);
    report_ready();
    run_main_loop();
}

} // namespace

} // namespace kv::test

int main(int argc, char **argv)
{
    try {
        if (argc != 3)
            throw std::invalid_argument("which peer, and where?");
        kv::test::serve(argv[1], argv[2]);
        return 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-event-server: %s\n", e.what());
        return 1;
    }
}
