// SPDX-License-Identifier: Apache-2.0
#include "fixture.hpp"

#include "testing/support/read_file.hpp"
#include "testing/support/wait.hpp"

#include <glib.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include <last_result.h>

namespace kv::test {

namespace {

// The first line fixes the log's destination for the whole process.
const std::string log_path = [] {
    static const TemporaryDirectory log_directory;
    const std::string path = log_directory / "log";
    setenv("KORVANE_LOG", ("info:file:" + path).c_str(), 1);
    return path;
}();
size_t log_start = 0;

std::vector<std::string> open_descriptors()
{
    std::vector<std::string> found;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string what = std::filesystem::read_symlink(entry.path(), gone).string();
        if (!gone && what.find("/proc/") == std::string::npos)
            found.push_back(what.substr(0, what.find('[')));
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool wait_readable(int descriptor)
{
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(test_timeout.count())) == 1;
}

} // namespace

PortsTest::PortsTest() : runtime(directory / "run"), packages(directory / "packages")
{
    g_main_context_default(); // creates its descriptor before they are counted
    mkdir(packages.c_str(), 0755);
    setenv("KORVANE_RUNTIME_DIR", runtime.c_str(), 1);
    setenv("KORVANE_PACKAGE_DIR", packages.c_str(), 1);
    log_start = read_file(log_path).size();
    descriptors_before_ = open_descriptors();
}

PortsTest::~PortsTest()
{
    std::vector<std::string> now = open_descriptors();
    for (auto *descriptors : {&descriptors_before_, &now})
        std::erase_if(*descriptors, [](const std::string &what) { return what.ends_with("/log"); });
    EXPECT_EQ(descriptors_before_, now) << "the test leaks descriptors";
}

void PortsTest::install_package(const std::string &further_keys) const
{
    std::ofstream(packages + "/" + appid + ".package") << "[Package]\nVersion=2.3\n" << further_keys;
}

std::string PortsTest::log()
{
    return read_file(log_path).substr(log_start);
}

bool run_until(const std::function<bool()> &condition)
{
    bool late = false;
    GSource *limit = g_timeout_source_new(static_cast<guint>(test_timeout.count()));
    g_source_set_callback(
        limit, [](gpointer flag) -> gboolean { return *static_cast<bool *>(flag) = true, TRUE; }, &late, nullptr);
    g_source_attach(limit, nullptr);
    while (!condition() && !late)
        g_main_context_iteration(nullptr, TRUE);
    g_source_destroy(limit);
    g_source_unref(limit);
    return condition();
}

void run_ready_sources()
{
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

int send_number(rpc_port_h port, int number)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create(&parcel) != 0)
        return -1;
    rpc_port_parcel_write_int32(parcel, number);
    const int result = rpc_port_parcel_send(parcel, port);
    rpc_port_parcel_destroy(parcel);
    return result;
}

std::optional<int> read_number(rpc_port_h port)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_port(&parcel, port) != 0)
        return std::nullopt;
    int number = 0;
    const int result = rpc_port_parcel_read_int32(parcel, &number);
    rpc_port_parcel_destroy(parcel);
    return result == 0 ? std::optional<int>(number) : std::nullopt;
}

Proxy::Proxy()
{
    EXPECT_EQ(0, rpc_port_proxy_create(&handle));
    static const auto run = [](const std::function<void()> &hook) {
        if (const auto copy = hook) // the hook may assign itself
            copy();
    };
    rpc_port_proxy_add_connected_event_cb(
        handle,
        [](const char *endpoint, const char *name, rpc_port_h port, void *data) {
            auto *proxy = static_cast<Proxy *>(data);
            EXPECT_STREQ(appid, endpoint);
            EXPECT_STREQ(port_name, name);
            proxy->connected++;
            proxy->main = port;
            run(proxy->on_connected);
            EXPECT_STREQ(appid, endpoint) << "the names must stay valid until the callback returns";
            EXPECT_STREQ(port_name, name);
        },
        this);
    rpc_port_proxy_add_disconnected_event_cb(
        handle,
        [](const char *endpoint, const char *name, void *data) {
            auto *proxy = static_cast<Proxy *>(data);
            proxy->disconnected++;
            run(proxy->on_disconnected);
            EXPECT_STREQ(appid, endpoint);
            EXPECT_STREQ(port_name, name);
        },
        this);
    rpc_port_proxy_add_rejected_event_cb(
        handle,
        [](const char *endpoint, const char *name, void *data) {
            auto *proxy = static_cast<Proxy *>(data);
            proxy->rejected++;
            proxy->last_result = get_last_result();
            run(proxy->on_rejected);
            EXPECT_STREQ(appid, endpoint);
            EXPECT_STREQ(port_name, name);
        },
        this);
    rpc_port_proxy_add_received_event_cb(
        handle,
        [](const char *endpoint, const char *name, void *data) {
            auto *proxy = static_cast<Proxy *>(data);
            proxy->received++;
            run(proxy->on_received);
            EXPECT_STREQ(appid, endpoint);
            EXPECT_STREQ(port_name, name);
        },
        this);
}

Proxy::~Proxy()
{
    destroy();
}

void Proxy::destroy()
{
    main = nullptr;
    if (!handle)
        return;
    EXPECT_EQ(0, rpc_port_proxy_destroy(std::exchange(handle, nullptr)));
}

bool Proxy::connected_now()
{
    return connect() == 0 && run_until([this] { return connected == 1 || rejected == 1; }) && connected == 1;
}

rpc_port_h Proxy::callback_port() const
{
    rpc_port_h port = nullptr;
    EXPECT_EQ(0, rpc_port_proxy_get_port(handle, RPC_PORT_PORT_CALLBACK, &port));
    return port;
}

int Proxy::send(int number, rpc_port_h to) const
{
    return send_number(to ? to : main, number);
}

std::optional<int> Proxy::read(rpc_port_h from) const
{
    return read_number(from ? from : main);
}

int Proxy::read_code(rpc_port_h from) const
{
    rpc_port_parcel_h parcel = nullptr;
    const int code = rpc_port_parcel_create_from_port(&parcel, from ? from : main);
    if (parcel)
        rpc_port_parcel_destroy(parcel);
    return code;
}

Stub::Stub()
{
    static const rpc_port_stub_events_t events = {
        [](const rpc_port_stub_peer_t *peer, void *data) {
            auto *stub = static_cast<Stub *>(data);
            stub->last_peer = *peer;
            stub->last_sender = peer->sender;
            if (const auto hook = stub->on_connecting)
                hook();
            return stub->connecting_result;
        },
        [](const rpc_port_stub_peer_t *peer, void *data) {
            static_cast<Stub *>(data)->peers.emplace_back(peer->instance);
        },
        [](const rpc_port_stub_peer_t *peer, void *data) {
            auto *stub = static_cast<Stub *>(data);
            stub->disconnected.emplace_back(peer->instance);
            if (const auto hook = stub->on_disconnected)
                hook();
        },
        [](const rpc_port_stub_peer_t *peer, rpc_port_h port, void *data) {
            auto *stub = static_cast<Stub *>(data);
            const std::optional<int> request = read_number(port);
            stub->requests.push_back(request.value_or(-1));
            stub->requested_by.emplace_back(peer->instance);
            if (const auto hook = stub->on_request)
                hook(port, request.value_or(-1));
            else
                send_number(port, request.value_or(-1));
        },
    };
    EXPECT_EQ(0, rpc_port_stub_create(&handle, appid, port_name, &events, this));
}

Stub::~Stub()
{
    destroy();
}

void Stub::destroy()
{
    if (!handle)
        return;
    EXPECT_EQ(0, rpc_port_stub_destroy(std::exchange(handle, nullptr)));
}

rpc_port_h Stub::port(rpc_port_port_type_e type) const
{
    rpc_port_h found = nullptr;
    if (peers.empty())
        ADD_FAILURE() << "no peer is connected";
    else
        EXPECT_EQ(0, rpc_port_stub_get_port(handle, peers.back().c_str(), type, &found));
    return found;
}

int Stub::push(int number) const
{
    return send_number(port(RPC_PORT_PORT_CALLBACK), number);
}

Child::Child(const Body &body)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("socketpair");
    pid = fork();
    if (pid == 0) {
        close(ends[0]);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        GMainContext *own = g_main_context_new(); // without the parent's sources
        g_main_context_push_thread_default(own);
        body([&] { [[maybe_unused]] const ssize_t sent = ::send(ends[1], "r", 1, MSG_NOSIGNAL); },
             [&] {
                 GSource *end = g_source_new(
                     [] {
                         static GSourceFuncs functions = {
                             nullptr, nullptr, [](GSource *, GSourceFunc, gpointer) -> gboolean { _exit(0); },
                             nullptr, nullptr, nullptr};
                         return &functions;
                     }(),
                     sizeof(GSource));
                 g_source_add_unix_fd(end, ends[1], G_IO_IN);
                 g_source_attach(end, own);
                 for (;;)
                     g_main_context_iteration(own, TRUE);
             });
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    close(ends[1]);
    control_ = ends[0];
    char byte = 0;
    if (!wait_readable(control_) || recv(control_, &byte, 1, 0) != 1)
        ADD_FAILURE() << "the child did not become ready";
}

Child::~Child()
{
    close(control_);
    if (pid > 0)
        wait();
}

void Child::kill_now()
{
    kill(pid, SIGKILL);
    wait();
}

int Child::wait()
{
    int status = -1;
    waitpid(pid, &status, 0);
    pid = -1;
    return status;
}

Agent::Agent(const Handler &handler)
    : Child([&handler](const auto &ready, const auto &serve) {
          Stub stub;
          stub.on_request = [&](rpc_port_h main, int request) { handler(stub, main, request); };
          if (stub.listen() != 0)
              _exit(2);
          ready();
          serve();
      })
{
}

Setting::Setting(const char *name, const std::string &value) : name_(name)
{
    if (const char *before = getenv(name))
        before_ = before;
    setenv(name, value.c_str(), 1);
}

Setting::~Setting()
{
    before_ ? setenv(name_, before_->c_str(), 1) : unsetenv(name_);
}

} // namespace kv::test
