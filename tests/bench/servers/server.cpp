// SPDX-License-Identifier: Apache-2.0
// korvane-bench-server bare|glib|sdbus FOLDER
// korvane-bench-server stub            (the environment names the directories)
// Serves one peer after the other until it is killed; prints a line when it listens.

#include "bench/clients/clients.hpp"
#include "serving.hpp"

#include <glib-unix.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <sys/socket.h>
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
    constexpr std::uint32_t send_ap_list = 25;
    unsigned char request[8192];
    const ssize_t size = recv(peer, request, sizeof request, 0);
    if (size < 8 || number_at(request) != static_cast<std::size_t>(size) - 4)
        return false;
    if (number_at(request + 4) == send_ap_list)
        return send(peer, bare_list_reply, sizeof bare_list_reply, MSG_NOSIGNAL) == sizeof bare_list_reply;
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

void serve_bus(const std::string &path)
{
    const int listening = listen_at(path);
    report_ready();
    for (;;) {
        sd_bus *bus = serve_bus_on(accept_from(listening));
        require(sd_bus_add_object_vtable(bus, nullptr, bus_path, bus_interface, bus_vtable, nullptr) >= 0, "vtable");
        while (bus_turn(bus)) {
        }
        sd_bus_close_unref(bus);
    }
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
        throw std::invalid_argument(kind);
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-server: %s\n", e.what());
        return 1;
    }
}
