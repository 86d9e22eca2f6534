// SPDX-License-Identifier: Apache-2.0
#include "connections.hpp"

#include "common/agent_state.hpp"
#include "testing/support/wait.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::test {

void fail(const std::string &what)
{
    throw std::runtime_error(what);
}

void die(const char *what)
{
    fprintf(stderr, "%s\n", what);
    exit(1);
}

Socket::Socket(const std::string &path) : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (connect(descriptor_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw std::system_error(errno, std::generic_category(), path);
}

Socket::~Socket()
{
    close(descriptor_);
}

void Socket::send_all(const void *bytes, std::size_t size) const
{
    if (send(descriptor_, bytes, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
        fail("socket: cannot send");
}

void Socket::receive_whole(void *bytes, std::size_t size) const
{
    if (recv(descriptor_, bytes, size, 0) != static_cast<ssize_t>(size))
        fail("socket: the reply is incomplete");
}

BusLink::BusLink(const std::string &path)
{
    if (sd_bus_new(&bus_) < 0 || sd_bus_set_address(bus_, ("unix:path=" + path).c_str()) < 0 || sd_bus_start(bus_) < 0)
        fail("sd-bus: cannot connect");
}

ProxyLink::ProxyLink()
{
    const rpc_port_proxy_kv_master_callback_s callbacks{
        [](rpc_port_proxy_kv_master_h, void *self) { static_cast<ProxyLink *>(self)->connected_ = true; },
        [](rpc_port_proxy_kv_master_h, void *) {},
        [](rpc_port_proxy_kv_master_h, void *) { die("proxy: the agent refused the connection"); },
    };
    if (rpc_port_proxy_kv_master_create(KORVANE_AGENT_APPID, &callbacks, this, &proxy_) != 0 ||
        rpc_port_proxy_kv_master_connect(proxy_) != 0)
        fail("proxy: cannot connect");
    if (!run_main_loop_until([this] { return connected_; }))
        fail("proxy: not connected");
}

ApiLink::ApiLink()
{
    if (korvane_initialize(&handle_, on_status, this) != KORVANE_ERROR_NONE)
        fail("api: cannot initialise");
    if (!run_main_loop_until([this] { return connected_; }))
        fail("api: not connected");
}

void ApiLink::on_status(int result, korvane_h, int status, void *self)
{
    if (result != KORVANE_ERROR_NONE || status != KORVANE_CONNECTION_CONNECTED)
        die("api: the connection ended");
    static_cast<ApiLink *>(self)->connected_ = true;
}

} // namespace kv::test
