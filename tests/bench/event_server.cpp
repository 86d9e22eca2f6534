// SPDX-License-Identifier: Apache-2.0
// korvane-bench-event-server bare|glib|sdbus|stub FOLDER
// Sends events as it is ordered, to one client after the other until it is killed; prints a line when it listens.

#include "clients.hpp"
#include "serving.hpp"

#include <glib-unix.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int status = 2;

class Sender {
public:
    virtual ~Sender() = default;
    virtual void send_one() = 0;
    /// Makes a burst ready, and lets it go.
    virtual void prepare() = 0;
    virtual void release() = 0;
};

/// Carries out one order; false when the client is gone.
bool obey(int orders, Sender &sender)
{
    char what = 0;
    if (recv(orders, &what, 1, 0) != 1)
        return false;
    if (what == order::one) {
        sender.send_one();
    } else if (what == order::release) {
        sender.release();
    } else {
        sender.prepare();
        require(send(orders, &what, 1, MSG_NOSIGNAL) == 1, "orders");
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

/// It has no queue that could be filled beforehand: a burst is composed and written when it is let go.
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

/// Through the platform's callback port, to the delegate that a request brought.
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

/// On the main loop: orders for a sender, which is the client's when it stands for one link.
struct Ordering {
    Sender *sender;
    std::unique_ptr<Sender> owned;
};

gboolean on_order(int orders, GIOCondition, void *data)
{
    auto *client = static_cast<Ordering *>(data);
    if (obey(orders, *client->sender))
        return G_SOURCE_CONTINUE;
    close(orders);
    delete client;
    return G_SOURCE_REMOVE;
}

int listening_for_events = -1;

gboolean on_client(int listening, GIOCondition, void *)
{
    const int orders = accept_from(listening);
    auto *client = new Ordering{&port_sender, nullptr};
    if (listening_for_events >= 0) {
        client->owned = std::make_unique<BareSender>(accept_from(listening_for_events));
        client->sender = client->owned.get();
    }
    g_unix_fd_add(orders, G_IO_IN, on_order, client);
    return G_SOURCE_CONTINUE;
}

template <class S>
void serve_blocking(int listening_for_orders)
{
    say_ready();
    for (;;) {
        const int orders = accept_from(listening_for_orders);
        S sender(accept_from(listening_for_events));
        while (obey(orders, sender)) {
        }
        close(orders);
    }
}

void serve(const std::string &kind, const std::string &folder)
{
    const int listening_for_orders = listen_at(order_path(kind, folder));
    if (kind == peer::stub)
        stub = listen_as_agent(on_parcel);
    else
        listening_for_events = listen_at(event_path(kind, folder));
    if (kind == peer::bare)
        serve_blocking<BareSender>(listening_for_orders);
    if (kind == peer::sdbus)
        serve_blocking<BusSender>(listening_for_orders);
    g_unix_fd_add(listening_for_orders, G_IO_IN, on_client, nullptr);
    say_ready();
    run_main_loop();
}

} // namespace

} // namespace bench

int main(int argc, char **argv)
{
    bench::die_with_parent();
    try {
        if (argc != 3)
            throw std::invalid_argument("which peer, and where?");
        bench::serve(argv[1], argv[2]);
        return 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-event-server: %s\n", e.what());
        return 1;
    }
}
