// SPDX-License-Identifier: Apache-2.0
#include "clients.hpp"

#include "common/agent_state.hpp"
#include "connection.hpp"
#include "methods.hpp"

#include <korvane.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace bench {

namespace {

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what);
}

class BareClient : public Client {
public:
    explicit BareClient(const std::string &path) : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (connect(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            throw std::system_error(errno, std::generic_category(), path);
    }
    BareClient(const BareClient &) = delete;
    BareClient &operator=(const BareClient &) = delete;
    ~BareClient() override { close(socket_); }

    void call() override
    {
        unsigned char reply[sizeof bare_reply];
        if (send(socket_, bare_request, sizeof bare_request, MSG_NOSIGNAL) != sizeof bare_request ||
            recv(socket_, reply, sizeof reply, 0) != sizeof reply)
            fail("bare: the exchange failed");
    }

private:
    int socket_;
};

class BusClient : public Client {
public:
    explicit BusClient(const std::string &path)
    {
        if (sd_bus_new(&bus_) < 0 || sd_bus_set_address(bus_, ("unix:path=" + path).c_str()) < 0 ||
            sd_bus_start(bus_) < 0)
            fail("sd-bus: cannot connect");
    }
    BusClient(const BusClient &) = delete;
    BusClient &operator=(const BusClient &) = delete;
    ~BusClient() override { sd_bus_flush_close_unref(bus_); }

    void call() override
    {
        sd_bus_message *reply = nullptr;
        const char *text = nullptr;
        if (sd_bus_call_method(bus_, nullptr, bus_path, bus_interface, bus_method, nullptr, &reply, "") < 0 ||
            sd_bus_message_read(reply, "s", &text) < 0)
            fail("sd-bus: the call failed");
        sd_bus_message_unref(reply);
    }

private:
    sd_bus *bus_ = nullptr;
};

/// From a callback that C code has called: nothing may be thrown there.
[[noreturn]] void die(const char *what)
{
    fprintf(stderr, "%s\n", what);
    exit(1);
}

/// Runs the main loop until the flag is set.
void run_until(const bool &flag)
{
    while (!flag)
        g_main_context_iteration(nullptr, TRUE);
}

class ProxyClient : public Client {
public:
    ProxyClient()
    {
        const rpc_port_proxy_kv_master_callback_s callbacks{
            [](rpc_port_proxy_kv_master_h, void *self) { static_cast<ProxyClient *>(self)->connected_ = true; },
            [](rpc_port_proxy_kv_master_h, void *) {},
            [](rpc_port_proxy_kv_master_h, void *) { die("proxy: the agent refused"); },
        };
        if (rpc_port_proxy_kv_master_create(KORVANE_AGENT_APPID, &callbacks, this, &proxy_) != 0 ||
            rpc_port_proxy_kv_master_connect(proxy_) != 0)
            fail("proxy: cannot connect");
        run_until(connected_);
    }
    ProxyClient(const ProxyClient &) = delete;
    ProxyClient &operator=(const ProxyClient &) = delete;
    ~ProxyClient() override { rpc_port_proxy_kv_master_destroy(proxy_); }

    void call() override
    {
        char *text = nullptr;
        if (rpc_port_proxy_kv_master_invoke_get_device_id(proxy_, &text) != 0)
            fail("proxy: the call failed");
        free(text);
    }

private:
    rpc_port_proxy_kv_master_h proxy_ = nullptr;
    bool connected_ = false;
};

class ApiClient : public Client {
public:
    ApiClient()
    {
        if (korvane_initialize(&handle_, on_status, this) != KORVANE_ERROR_NONE)
            fail("api: cannot initialise");
        run_until(connected_);
    }
    ApiClient(const ApiClient &) = delete;
    ApiClient &operator=(const ApiClient &) = delete;
    ~ApiClient() override { korvane_deinitialize(handle_); }

    void call() override
    {
        if (korvane_start(handle_) != KORVANE_ERROR_NONE)
            fail("api: the call failed");
    }

private:
    static void on_status(int result, korvane_h, int status, void *self)
    {
        if (result != KORVANE_ERROR_NONE || status != KORVANE_CONNECTION_CONNECTED)
            die("api: the connection ended");
        static_cast<ApiClient *>(self)->connected_ = true;
    }

    korvane_h handle_ = nullptr;
    bool connected_ = false;
};

} // namespace

std::unique_ptr<Client> connect_to(const std::string &peer, const std::string &folder)
{
    if (peer == peer::proxy)
        return std::make_unique<ProxyClient>();
    if (peer == peer::api)
        return std::make_unique<ApiClient>();
    if (peer == peer::sdbus)
        return std::make_unique<BusClient>(socket_path(peer, folder));
    return std::make_unique<BareClient>(socket_path(peer, folder));
}

} // namespace bench
