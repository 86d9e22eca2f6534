// SPDX-License-Identifier: Apache-2.0
#include "clients.hpp"

#include "connections.hpp"
#include "src/korvane_master_proxy/functions/methods.hpp"

#include <cstdlib>

namespace kv::test {

namespace {

class BareClient : public Client {
public:
    explicit BareClient(const std::string &path) : socket_(path) {}

    void call() override
    {
        unsigned char reply[sizeof bare_reply];
        socket_.send_all(bare_request, sizeof bare_request);
        socket_.receive_whole(reply, sizeof reply);
    }

private:
    Socket socket_;
};

class BusClient : public Client {
public:
    explicit BusClient(const std::string &path) : bus_(path) {}

    void call() override
    {
        sd_bus_message *reply = nullptr;
        const char *text = nullptr;
        if (sd_bus_call_method(bus_.get(), nullptr, bus_path, bus_interface, bus_method, nullptr, &reply, "") < 0 ||
            sd_bus_message_read(reply, "s", &text) < 0)
            fail("sd-bus: the call failed");
        sd_bus_message_unref(reply);
    }

private:
    BusLink bus_;
};

class ProxyClient : public Client {
public:
    void call() override
    {
        char *text = nullptr;
        if (rpc_port_proxy_kv_master_invoke_get_device_id(proxy_.get(), &text) != 0)
            fail("proxy: the call failed");
        free(text);
    }

private:
    ProxyLink proxy_;
};

class ApiClient : public Client {
public:
    void call() override
    {
        if (korvane_start(api_.get()) != KORVANE_ERROR_NONE)
            fail("api: the call failed");
    }

private:
    ApiLink api_;
};

} // namespace

std::unique_ptr<Client> connect_to(const std::string &peer, const std::string &folder)
{
    if (peer == peer::proxy)
        return std::make_unique<ProxyClient>();
    if (peer == peer::api)
        return std::make_unique<ApiClient>();
    if (peer == peer::sdbus || peer == peer::sdbus_loop)
        return std::make_unique<BusClient>(socket_path(peer, folder));
    if (peer == peer::bare || peer == peer::glib)
        return std::make_unique<BareClient>(socket_path(peer, folder));
    if (auto client = connect_list_client(peer, folder))
        return client;
    if (auto client = connect_growth_client(peer, folder))
        return client;
    if (auto client = connect_event_client(peer, folder))
        return client;
    fail("no such peer: " + peer);
}

} // namespace kv::test
