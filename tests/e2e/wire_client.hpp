// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "application.hpp"

#include <rpc_port_stub.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kv::test {

using Bytes = std::string;

inline Bytes int32(int value)
{
    Bytes bytes(4, '\0');
    for (unsigned i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>((static_cast<unsigned>(value) >> (8 * i)) & 0xff);
    return bytes;
}

/// A client of the agent's port that sends and receives arbitrary parcels.
class Client {
public:
    Client()
    {
        rpc_port_proxy_create(&proxy_);
        rpc_port_proxy_add_connected_event_cb(
            proxy_,
            [](const char *, const char *, rpc_port_h port, void *data) { static_cast<Client *>(data)->port_ = port; },
            this);
        rpc_port_proxy_add_disconnected_event_cb(
            proxy_, [](const char *, const char *, void *data) { static_cast<Client *>(data)->port_ = nullptr; }, this);
        rpc_port_proxy_add_received_event_cb(
            proxy_, [](const char *, const char *, void *data) { static_cast<Client *>(data)->read_event(); }, this);
    }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
    ~Client() { rpc_port_proxy_destroy(proxy_); }

    /// Begins to connect; the main loop completes it.
    void begin() { EXPECT_EQ(rpc_port_proxy_connect(proxy_, "org.korvane.agent", "kv_master"), 0); }
    bool is_connected() const { return port_ != nullptr; }
    bool connect()
    {
        begin();
        return run_main_loop_until([this] { return is_connected(); });
    }

    bool send(const Bytes &payload)
    {
        rpc_port_parcel_h parcel = nullptr;
        EXPECT_EQ(rpc_port_parcel_create_from_raw(&parcel, payload.data(), payload.size()), 0);
        const int error = rpc_port_parcel_send(parcel, port_);
        rpc_port_parcel_destroy(parcel);
        return error == 0;
    }
    /// Returns the next parcel of the main link; "closed" if the link ends before.
    Bytes receive() { return next_of(port_); }
    /// Sends a request and returns the reply; "closed" if the link ends before.
    Bytes exchange(const Bytes &payload)
    {
        EXPECT_TRUE(send(payload));
        return receive();
    }
    /// Sends a request several times before it reads the replies. Returns whether each of them is `reply`.
    bool exchange_all(const Bytes &request, int times, const Bytes &reply)
    {
        bool succeeds = true;
        for (int i = 0; i < times; ++i)
            succeeds = send(request) && succeeds;
        for (int i = 0; i < times; ++i)
            succeeds = receive() == reply && succeeds;
        return succeeds;
    }

    std::vector<Bytes> events{}; // in the order in which the main loop delivered them

private:
    void read_event()
    {
        rpc_port_h callbacks = nullptr;
        rpc_port_proxy_get_port(proxy_, RPC_PORT_PORT_CALLBACK, &callbacks);
        if (Bytes event = next_of(callbacks); event != "closed")
            events.push_back(std::move(event));
    }

    static Bytes next_of(rpc_port_h port)
    {
        rpc_port_parcel_h parcel = nullptr;
        if (rpc_port_parcel_create_from_port(&parcel, port) != 0)
            return "closed";
        const void *bytes = nullptr;
        std::size_t size = 0;
        rpc_port_parcel_get_raw(parcel, &bytes, &size);
        Bytes payload{static_cast<const char *>(bytes), size};
        rpc_port_parcel_destroy(parcel);
        return payload;
    }

    rpc_port_proxy_h proxy_ = nullptr;
    rpc_port_h port_ = nullptr;
};

} // namespace kv::test
