// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host_child.hpp"
#include "rpc_port.h"
#include "rpc_port_stub.h"

/// Ports with everything real: sockets, processes, users, a GLib loop. The runtime and package directories are the
/// test's own; what the platform logs is at hand.
namespace host_ports {

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

    host_test::TemporaryDirectory directory;
    std::string runtime; ///< not there yet
    std::string packages;

private:
    std::vector<std::string> descriptors_before_;
};

/// Runs the loop until the condition holds; false when that takes longer than any test may.
bool run_until(const std::function<bool()> &condition);
/// Whatever is ready now, and nothing that has to be waited for.
void run_what_is_ready();

/// Bytes typed by hand, so that the two sides are not only held against each other.
std::string u32(uint32_t value);
std::string frame(const std::string &payload);
std::string hello(int link, const std::string &token = std::string(16, 't'), uint32_t version = 1);
std::string answer(int32_t code, uint32_t version = 1);

/// A proxy and what it was told.
class Proxy {
public:
    Proxy();
    ~Proxy();
    Proxy(const Proxy &) = delete;
    Proxy &operator=(const Proxy &) = delete;

    int connect() { return rpc_port_proxy_connect(handle, appid, port_name); }
    /// Connects and waits for it.
    bool connected_now();
    void destroy();
    rpc_port_h callback_port() const;

    int send(int number, rpc_port_h to = nullptr) const;
    /// One parcel with one number; negative for a failed read of either.
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

/// A stub in this process, on the same loop, and what it was told.
class Stub {
public:
    Stub();
    ~Stub();
    Stub(const Stub &) = delete;
    Stub &operator=(const Stub &) = delete;

    int listen() const { return rpc_port_stub_listen(handle); }
    void destroy();
    rpc_port_h port(rpc_port_port_type_e type) const; ///< of the peer that came last
    int push(int number) const;

    rpc_port_stub_h handle = nullptr;
    std::vector<std::string> peers; ///< instances in the order of their coming
    std::vector<std::string> gone;
    std::vector<int> requests;
    std::vector<std::string> requested_by;
    rpc_port_stub_peer_t last_peer = {};
    std::string last_sender;
    int verdict = 0; ///< what `connecting` answers
    std::function<void()> on_connecting, on_disconnected;
    std::function<void(rpc_port_h main, int request)> on_request; ///< without it the number is sent back
};

int send_number(rpc_port_h port, int number);
/// What a parcel from the port holds, if it begins with a number.
std::optional<int> read_number(rpc_port_h port);

/// Another process. It ends when the test destroys this, or dies.
class Child {
public:
    /// The body gets a function to call when it is ready, and one that runs the loop until the test ends the child.
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

/// A child that serves the port and does with each request as told.
class Agent : public Child {
public:
    using Handler = std::function<void(Stub &stub, rpc_port_h main, int request)>;
    explicit Agent(const Handler &handler);
};

/// A link made by hand: to a stub, or to the listener that a test has in an agent's place.
class RawLink {
public:
    explicit RawLink(int descriptor) : descriptor_(descriptor) {}
    explicit RawLink(const std::string &socket_path);
    ~RawLink() { close_now(); }
    RawLink(RawLink &&other) noexcept : descriptor_(other.descriptor_) { other.descriptor_ = -1; }
    RawLink(const RawLink &) = delete;
    RawLink &operator=(const RawLink &) = delete;

    void send(const std::string &bytes) const;
    /// Waits for so many bytes, or fewer if the link ends; nothing else.
    std::string receive(size_t size) const;
    /// Whether the other side closes, the loop running meanwhile.
    bool is_closed_by_other_side() const;
    void close_now();
    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

/// A listening socket in an agent's place.
class RawListener {
public:
    explicit RawListener(const std::string &socket_path);
    ~RawListener();
    RawListener(const RawListener &) = delete;
    RawListener &operator=(const RawListener &) = delete;
    RawLink accept() const;
    bool has_waiting() const;

    static constexpr int backlog = 8;

private:
    int descriptor_;
};

/// Both links of a proxy made by hand, accepted by a stub on this loop.
struct RawProxy {
    explicit RawProxy(const std::string &socket_path, const std::string &token = std::string(16, 't'));
    RawLink main;
    RawLink callback;
};

/// A proxy that is connected to an agent made by hand.
struct RawAgent {
    RawAgent(const std::string &socket_path, Proxy &proxy);
    RawListener listener;
    std::optional<RawLink> main;
    std::optional<RawLink> callback;
};

/// The environment variable for the life of this.
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

} // namespace host_ports
