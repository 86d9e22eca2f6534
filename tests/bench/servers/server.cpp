// SPDX-License-Identifier: Apache-2.0
// korvane-bench-server bare|glib|sdbus|sdbus-loop FOLDER
// korvane-bench-server stub            (the environment names the directories)
// Serves peers until it is killed: bare and sdbus one after the other, the others all at once. Prints a line when it listens.

#include "bench/clients/clients.hpp"
#include "serving.hpp"

#include <glib-unix.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <systemd/sd-event.h>
#include <unistd.h>

namespace kv::test {

namespace {

std::uint32_t number_at(const unsigned char *bytes)
{
    std::uint32_t number = 0;
    memcpy(&number, bytes, sizeof number);
    return number;
}

/// One request of whatever length, one reply; false when the peer is gone.
bool answer(int peer)
{
    constexpr std::uint32_t get_device_id = 28;
    static unsigned char request[256 * 1024];
    ssize_t size = recv(peer, request, sizeof request, 0);
    while (size >= 8 && static_cast<std::size_t>(size) < number_at(request) + 4) {
        const ssize_t more = recv(peer, request + size, sizeof request - static_cast<std::size_t>(size), 0);
        size = more > 0 ? size + more : -1;
    }
    if (size < 8)
        return false;
    if (number_at(request + 4) != get_device_id)
        return send(peer, bare_result, sizeof bare_result, MSG_NOSIGNAL) == sizeof bare_result;
    return send(peer, bare_reply, sizeof bare_reply, MSG_NOSIGNAL) == sizeof bare_reply;
}

void serve_bare(const std::string &path)
{
    const int listening = listen_at(path);
    report_ready();
    for (;;) {
        const int peer = accept_from(listening);
        while (answer(peer)) {
        }
        close(peer);
    }
}

gboolean on_request(int peer, GIOCondition, void *)
{
    if (answer(peer))
        return G_SOURCE_CONTINUE;
    close(peer);
    return G_SOURCE_REMOVE;
}

gboolean on_connection(int listening, GIOCondition, void *)
{
    g_unix_fd_add(accept_from(listening), G_IO_IN, on_request, nullptr);
    return G_SOURCE_CONTINUE;
}

void serve_glib(const std::string &path)
{
    g_unix_fd_add(listen_at(path), G_IO_IN, on_connection, nullptr);
    report_ready();
    run_main_loop();
}

int on_bus_call(sd_bus_message *message, void *, sd_bus_error *)
{
    return sd_bus_reply_method_return(message, "s", device_id);
}

// Like the stub side it does not look into the list.
int on_bus_list(sd_bus_message *message, void *, sd_bus_error *)
{
    return sd_bus_reply_method_return(message, "i", 0);
}

const sd_bus_vtable bus_vtable[] = {
    SD_BUS_VTABLE_START(0), SD_BUS_METHOD(bus_method, "", "s", on_bus_call, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD(bus_list_method, "ia(ssiiisii)", "i", on_bus_list, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};

sd_bus *serve_bus_methods_on(int link)
{
    sd_bus *bus = serve_bus_on(link);
    require(sd_bus_add_object_vtable(bus, nullptr, bus_path, bus_interface, bus_vtable, nullptr) >= 0, "vtable");
    return bus;
}

/// One peer after the other, each with a blocking loop of sd-bus.
void serve_bus(const std::string &path)
{
    const int listening = listen_at(path);
    report_ready();
    for (;;) {
        sd_bus *bus = serve_bus_methods_on(accept_from(listening));
        while (bus_turn(bus)) {
        }
        sd_bus_close_unref(bus);
    }
}

/// The event loop closes the connection when the peer is gone.
int on_bus_connection(sd_event_source *, int listening, std::uint32_t, void *events)
{
    sd_bus *bus = serve_bus_methods_on(accept_from(listening));
    require(sd_bus_attach_event(bus, static_cast<sd_event *>(events), 0) >= 0, "sd-bus in a loop");
    return 0;
}

/// All peers at once, in a loop of sd-event.
void serve_buses(const std::string &path)
{
    sd_event *events = nullptr;
    require(sd_event_new(&events) >= 0 &&
                sd_event_add_io(events, nullptr, listen_at(path), EPOLLIN, on_bus_connection, events) >= 0,
            "sd-event");
    report_ready();
    require(sd_event_loop(events) >= 0, "sd-event");
}

void on_parcel(const rpc_port_stub_peer_t *, rpc_port_h port, void *)
{
    rpc_port_parcel_h request = nullptr;
    int method = 0;
    if (rpc_port_parcel_create_from_port(&request, port) != 0)
        return;
    require(rpc_port_parcel_read_int32(request, &method) == 0, "request");
    rpc_port_parcel_destroy(request);
    answer_request(port, method);
}

void serve_stub()
{
    listen_as_agent(on_parcel);
    report_ready();
    run_main_loop();
}

} // namespace

} // namespace kv::test

int main(int argc, char **argv)
{
    using namespace kv::test;
    try {
        const std::string kind = argc > 1 ? argv[1] : "";
        if (kind == peer::stub)
            serve_stub();
        if (argc != 3)
            throw std::invalid_argument("which peer, and where?");
        const std::string path = socket_path(kind, argv[2]);
        if (kind == peer::bare)
            serve_bare(path);
        if (kind == peer::glib)
            serve_glib(path);
        if (kind == peer::sdbus)
            serve_bus(path);
        if (kind == peer::sdbus_loop)
            serve_buses(path);
        throw std::invalid_argument(kind);
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-server: %s\n", e.what());
        return 1;
    }
}
