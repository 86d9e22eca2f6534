// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/connection.hpp"

#include <korvane.h>

#include <string>

#include <systemd/sd-bus.h>

/// What the clients are connected by. All of it throws when it cannot be made.
namespace bench {

[[noreturn]] void fail(const std::string &what);
/// From a callback that C code has called: nothing may be thrown there.
[[noreturn]] void die(const char *what);

/// Runs the main loop until the flag is set.
void run_until(const bool &flag);

/// A blocking stream socket, connected.
class Socket {
public:
    explicit Socket(const std::string &path);
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    ~Socket();

    int descriptor() const { return descriptor_; }
    void send_all(const void *bytes, std::size_t size) const;
    /// One receive, which must bring all of it.
    void receive_whole(void *bytes, std::size_t size) const;

private:
    int descriptor_;
};

/// A bus link to one peer, without a daemon.
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

/// The library, initialised and connected: there is one of it in a process.
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

} // namespace bench
