// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/connection.hpp"

#include <korvane.h>

#include <string>

#include <systemd/sd-bus.h>

/// Connections of the clients. Their constructors throw if there is no connection.
namespace kv::test {

[[noreturn]] void fail(const std::string &what);
/// Ends the process. For callbacks that C code calls, from which no exception may leave.
[[noreturn]] void die(const char *what);

/// A connected stream socket that blocks.
class Socket {
public:
    explicit Socket(const std::string &path);
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    ~Socket();

    int descriptor() const { return descriptor_; }
    void send_all(const void *bytes, std::size_t size) const;
    /// Receives exactly `size` bytes with one system call.
    void receive_whole(void *bytes, std::size_t size) const;

private:
    int descriptor_;
};

/// A D-Bus connection to one peer, without a daemon.
class BusLink {
public:
    explicit BusLink(const std::string &path);
    BusLink(const BusLink &) = delete;
    BusLink &operator=(const BusLink &) = delete;
    ~BusLink() { sd_bus_flush_close_unref(bus_); }

    sd_bus *get() const { return bus_; }

private:
    sd_bus *bus_ = nullptr;
};

class ProxyLink {
public:
    ProxyLink();
    ProxyLink(const ProxyLink &) = delete;
    ProxyLink &operator=(const ProxyLink &) = delete;
    ~ProxyLink() { rpc_port_proxy_kv_master_destroy(proxy_); }

    rpc_port_proxy_kv_master_h get() const { return proxy_; }

private:
    rpc_port_proxy_kv_master_h proxy_ = nullptr;
    bool connected_ = false;
};

/// The library, initialised and connected. At most one per process.
class ApiLink {
public:
    ApiLink();
    ApiLink(const ApiLink &) = delete;
    ApiLink &operator=(const ApiLink &) = delete;
    ~ApiLink() { korvane_deinitialize(handle_); }

    korvane_h get() const { return handle_; }

private:
    static void on_status(int result, korvane_h, int status, void *self);

    korvane_h handle_ = nullptr;
    bool connected_ = false;
};

} // namespace kv::test
