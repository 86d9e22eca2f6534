// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "testing/support/temporary_directory.hpp"
#include "unit/host/child.hpp"
#include <rpc_port.h>
#include <rpc_port_stub.h>

/// Tests of ports with real sockets, processes, users and a GLib loop. Each test has its own runtime and package
/// directory and reads the platform's log.
namespace kv::test {

inline constexpr const char *appid = "org.example.agent";
inline constexpr const char *port_name = "kv_master";

class PortsTest : public testing::Test {
protected:
    PortsTest();
    ~PortsTest() override;

    std::string runtime_file(const std::string &suffix) const
    {
        return runtime + "/" + appid + "." + port_name + suffix;
    }
    std::string socket_path() const { return runtime_file(".sock"); }
    void install_package(const std::string &further_keys) const;
    /// The lines of this test so far.
    static std::string log();

    TemporaryDirectory directory;
    std::string runtime; ///< not created yet
    std::string packages;

private:
    std::vector<std::string> descriptors_before_;
};

/// Runs the loop until the condition is true. Returns false on timeout. Unlike run_main_loop_until() it does not wake the
/// loop periodically, because tests count wake-ups.
bool run_until(const std::function<bool()> &condition);
/// Runs the sources that are ready, without waiting.
void run_ready_sources();

/// The bytes of the wire, typed by hand. With the platform's own encoder a mistake of both ends would stay undetected.
std::string u32(uint32_t value);
std::string frame(const std::string &payload);
std::string handshake_request(int link, const std::string &token = std::string(16, 't'), uint32_t version = 1);
std::string handshake_reply(int32_t code, uint32_t version = 1);

/// A proxy and the events that it has raised.
class Proxy {
public:
    Proxy();
    ~Proxy();
    Proxy(const Proxy &) = delete;
    Proxy &operator=(const Proxy &) = delete;

    int connect() { return rpc_port_proxy_connect(handle, appid, port_name); }
    /// Connects and waits until `connected`.
    bool connected_now();
    void destroy();
    rpc_port_h callback_port() const;

    int send(int number, rpc_port_h to = nullptr) const;
    /// Sends and reads parcels with one number.
    std::optional<int> read(rpc_port_h from = nullptr) const;
    int read_code(rpc_port_h from = nullptr) const;

    rpc_port_proxy_h handle = nullptr;
    rpc_port_h main = nullptr;
    int connected = 0;
    int disconnected = 0;
    int rejected = 0;
    int received = 0;
    int last_result = 0; ///< at `rejected`
    std::function<void()> on_connected, on_disconnected, on_rejected, on_received;
};

/// A stub in this process, on the same loop, and the events that it has raised.
class Stub {
public:
    Stub();
    ~Stub();
    Stub(const Stub &) = delete;
    Stub &operator=(const Stub &) = delete;

    int listen() const { return rpc_port_stub_listen(handle); }
    void destroy();
    rpc_port_h port(rpc_port_port_type_e type) const; ///< of the latest peer
    int push(int number) const;

    rpc_port_stub_h handle = nullptr;
    std::vector<std::string> peers; ///< instances in the order of their connection
    std::vector<std::string> disconnected;
    std::vector<int> requests;
    std::vector<std::string> requested_by;
    rpc_port_stub_peer_t last_peer = {};
    std::string last_sender;
    int connecting_result = 0;
    std::function<void()> on_connecting, on_disconnected;
    std::function<void(rpc_port_h main, int request)> on_request; ///< default: send the number back
};

int send_number(rpc_port_h port, int number);
/// The number at the start of the next parcel; null if either is missing.
std::optional<int> read_number(rpc_port_h port);

/// A child process. It ends when this object is destroyed or the test process ends.
class Child {
public:
    /// The body calls `ready` when it can be used, and `serve` to run the loop until the child ends.
    using Body = std::function<void(const std::function<void()> &ready, const std::function<void()> &serve)>;
    explicit Child(const Body &body);
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    void kill_now();
    int wait();

    pid_t pid = -1;

private:
    int control_ = -1;
};

/// A child that serves the port and calls the handler for each request.
class Agent : public Child {
public:
    using Handler = std::function<void(Stub &stub, rpc_port_h main, int request)>;
    explicit Agent(const Handler &handler);
};

/// A link of raw bytes: connected to a stub, or accepted by a RawListener.
class RawLink {
public:
    explicit RawLink(int descriptor) : descriptor_(descriptor) {}
    explicit RawLink(const std::string &socket_path);
    ~RawLink() { close_now(); }
    RawLink(RawLink &&other) noexcept : descriptor_(other.descriptor_) { other.descriptor_ = -1; }
    RawLink(const RawLink &) = delete;
    RawLink &operator=(const RawLink &) = delete;

    void send(const std::string &bytes) const;
    /// Waits for that many bytes, or fewer if the link ends.
    std::string receive(size_t size) const;
    /// Runs the loop until the peer closes the link.
    bool is_closed_by_peer() const;
    void close_now();
    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

/// A listening socket in place of an agent.
class RawListener {
public:
    explicit RawListener(const std::string &socket_path);
    ~RawListener();
    RawListener(const RawListener &) = delete;
    RawListener &operator=(const RawListener &) = delete;
    RawLink accept() const;
    bool has_waiting() const;
    int descriptor() const { return descriptor_; }

    static constexpr int backlog = 8;

private:
    int descriptor_;
};

/// Both links of a raw proxy, accepted by a stub on this loop.
struct RawProxy {
    explicit RawProxy(const std::string &socket_path, const std::string &token = std::string(16, 't'));
    RawLink main;
    RawLink callback;
};

/// A raw agent to which a proxy is connected.
struct RawAgent {
    RawAgent(const std::string &socket_path, Proxy &proxy);
    RawListener listener;
    std::optional<RawLink> main;
    std::optional<RawLink> callback;
};

/// Sets an environment variable until destruction.
class Setting {
public:
    Setting(const char *name, const std::string &value);
    ~Setting();
    Setting(const Setting &) = delete;
    Setting &operator=(const Setting &) = delete;

private:
    const char *name_;
    std::optional<std::string> before_;
};

} // namespace kv::test
