// SPDX-License-Identifier: Apache-2.0
// korvane-bench-server bare|glib|sdbus FOLDER
// korvane-bench-server stub            (the environment says where)
// Serves one peer after the other until it is killed; prints a line when it listens.

#include "clients.hpp"

#include "common/agent_state.hpp"

#include <rpc_port.h>
#include <rpc_port_stub.h>

#include <glib-unix.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace bench {

namespace {

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::system_error(errno, std::generic_category(), what);
}

void say_ready()
{
    puts("ready");
    fflush(stdout);
}

int listen_at(const std::string &path)
{
    const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path.c_str());
    require(bind(listening, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0, "bind");
    require(listen(listening, 4) == 0, "listen");
    say_ready();
    return listening;
}

int accept_from(int listening)
{
    const int peer = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    require(peer >= 0, "accept");
    return peer;
}

/// One request, one reply; false when the peer is gone.
bool answer(int peer)
{
    unsigned char request[sizeof bare_request];
    return recv(peer, request, sizeof request, 0) == sizeof request &&
           send(peer, bare_reply, sizeof bare_reply, MSG_NOSIGNAL) == sizeof bare_reply;
}

void serve_bare(const std::string &path)
{
    const int listening = listen_at(path);
    for (;;) {
        const int peer = accept_from(listening);
        while (answer(peer)) {
        }
        close(peer);
    }
}

void run_main_loop()
{
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
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
    run_main_loop();
}

int on_bus_call(sd_bus_message *message, void *, sd_bus_error *)
{
    return sd_bus_reply_method_return(message, "s", device_id);
}

const sd_bus_vtable bus_vtable[] = {SD_BUS_VTABLE_START(0),
                                    SD_BUS_METHOD(bus_method, "", "s", on_bus_call, SD_BUS_VTABLE_UNPRIVILEGED),
                                    SD_BUS_VTABLE_END};

void serve_bus(const std::string &path)
{
    const int listening = listen_at(path);
    for (;;) {
        const int peer = accept_from(listening);
        sd_bus *bus = nullptr;
        require(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, peer, peer) >= 0 &&
                    sd_bus_set_server(bus, 1, sd_id128_t{}) >= 0 && sd_bus_start(bus) >= 0 &&
                    sd_bus_add_object_vtable(bus, nullptr, bus_path, bus_interface, bus_vtable, nullptr) >= 0,
                "sd-bus server");
        for (;;) {
            const int done = sd_bus_process(bus, nullptr);
            if (done < 0 || (done == 0 && sd_bus_wait(bus, UINT64_MAX) < 0))
                break;
        }
        sd_bus_close_unref(bus);
    }
}

/// The least that an agent can do: the platform's serving side alone, without an agent's state and records.
void on_parcel(const rpc_port_stub_peer_t *, rpc_port_h port, void *)
{
    rpc_port_parcel_h request = nullptr;
    rpc_port_parcel_h reply = nullptr;
    int method = 0;
    if (rpc_port_parcel_create_from_port(&request, port) != 0)
        return;
    require(rpc_port_parcel_read_int32(request, &method) == 0 && rpc_port_parcel_create(&reply) == 0, "parcel");
    rpc_port_parcel_destroy(request);

    rpc_port_parcel_write_int32(reply, 0);
    if (method == 28)
        rpc_port_parcel_write_string(reply, device_id);
    if (method == 2)
        rpc_port_parcel_write_bool(reply, false);
    rpc_port_parcel_write_int32(reply, 0);
    rpc_port_parcel_send(reply, port);
    rpc_port_parcel_destroy(reply);
}

void serve_stub()
{
    const rpc_port_stub_events_t events{nullptr, nullptr, nullptr, on_parcel};
    rpc_port_stub_h stub = nullptr;
    require(rpc_port_stub_create(&stub, KORVANE_AGENT_APPID, KORVANE_AGENT_PORT, &events, nullptr) == 0 &&
                rpc_port_stub_listen(stub) == 0,
            "stub");
    say_ready();
    run_main_loop();
}

} // namespace

} // namespace bench

int main(int argc, char **argv)
{
    using namespace bench;
    // It has no purpose without the one who measures.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        const std::string kind = argc > 1 ? argv[1] : "";
        if (kind == "stub")
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
