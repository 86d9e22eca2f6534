// SPDX-License-Identifier: Apache-2.0
#include "serving.hpp"

#include "bench/clients/clients.hpp"

#include "common/agent_state.hpp"

#include <glib.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::test {

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::system_error(errno, std::generic_category(), what);
}

void report_ready()
{
    puts("ready");
    fflush(stdout);
}

void run_main_loop()
{
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
}

int listen_at(const std::string &path)
{
    const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path.c_str());
    require(bind(listening, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0, "bind");
    require(listen(listening, 128) == 0, "listen");
    return listening;
}

int accept_from(int listening)
{
    const int peer = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    require(peer >= 0, "accept");
    return peer;
}

sd_bus *serve_bus_on(int link)
{
    sd_bus *bus = nullptr;
    require(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, link, link) >= 0 &&
                sd_bus_set_server(bus, 1, sd_id128_t{}) >= 0 && sd_bus_start(bus) >= 0,
            "sd-bus server");
    return bus;
}

bool bus_turn(sd_bus *bus)
{
    const int done = sd_bus_process(bus, nullptr);
    return done > 0 || (done == 0 && sd_bus_wait(bus, UINT64_MAX) >= 0);
}

rpc_port_stub_h listen_as_agent(rpc_port_stub_received_event_cb on_parcel)
{
    const rpc_port_stub_events_t events{nullptr, nullptr, nullptr, on_parcel};
    rpc_port_stub_h stub = nullptr;
    require(rpc_port_stub_create(&stub, KORVANE_AGENT_APPID, KORVANE_AGENT_PORT, &events, nullptr) == 0 &&
                rpc_port_stub_listen(stub) == 0,
            "stub");
    return stub;
}

void answer_request(rpc_port_h port, int method)
{
    constexpr int is_update_ready = 2;
    constexpr int get_device_id = 28;
    constexpr int common_interface = 102;
    rpc_port_parcel_h reply = nullptr;
    require(rpc_port_parcel_create(&reply) == 0, "parcel");
    rpc_port_parcel_write_int32(reply, 0);
    if (method == get_device_id)
        rpc_port_parcel_write_string(reply, device_id);
    if (method == common_interface)
        rpc_port_parcel_write_string(reply, "");
    if (method == is_update_ready)
        rpc_port_parcel_write_bool(reply, false);
    rpc_port_parcel_write_int32(reply, 0);
    rpc_port_parcel_send(reply, port);
    rpc_port_parcel_destroy(reply);
}

} // namespace kv::test
