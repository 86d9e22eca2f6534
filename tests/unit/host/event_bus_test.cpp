// SPDX-License-Identifier: Apache-2.0
// A message bus that is absent, at another address, silent, or ended. Runs under dbus-run-session.
#include "event_fixture.hpp"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace kv::test {
namespace {

/// A message bus that can be killed.
class OwnBus {
public:
    explicit OwnBus(const TemporaryDirectory &directory) : address("unix:path=" + (directory / "bus"))
    {
        int ends[2];
        if (pipe(ends) != 0)
            throw std::runtime_error("pipe");
        daemon_ = start({"dbus-daemon", "--session", "--nofork", "--nosyslog", "--address=" + address,
                         "--print-address=" + std::to_string(ends[1])});
        close(ends[1]);
        char ready[256]; // its address, printed once it listens
        if (read(ends[0], ready, sizeof ready) <= 0)
            throw std::runtime_error("dbus-daemon does not start");
        close(ends[0]);
    }
    ~OwnBus() { stop(); }
    OwnBus(const OwnBus &) = delete;
    OwnBus &operator=(const OwnBus &) = delete;

    void stop()
    {
        if (daemon_ > 0) {
            kill(daemon_, SIGKILL);
            waitpid(daemon_, nullptr, 0);
        }
        daemon_ = -1;
    }

    const std::string address;

private:
    pid_t daemon_ = -1;
};

} // namespace

TEST(EventBusTest, FailsAtOnceWithOneLineWithoutABus)
{
    const TemporaryDirectory directory;
    const Environment nothing_set = {{"DBUS_SESSION_BUS_ADDRESS", {}}, {"XDG_RUNTIME_DIR", {}}};
    const Environment no_socket = {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (directory / "none")}};
    const Environment no_system_bus = {{"KORVANE_BUS", "system"},
                                       {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (directory / "none")}};
    const Environment no_own_bus = {{"KORVANE_BUS", "unix:path=" + (directory / "none")}};
    const Environment no_address = {{"KORVANE_BUS", "printer"}};
    for (Environment environment : {nothing_set, no_socket, no_system_bus, no_own_bus, no_address}) {
        environment["KORVANE_LOG"] = "error:stderr";
        const ChildResult result = in_child(environment, [] {
            const auto before = open_descriptors();
            EXPECT_LT(Listener().result, 0);
            EXPECT_LT(event_publish(update_status, nullptr), 0);
            EXPECT_EQ(open_descriptors(), before);
        });
        EXPECT_EQ(result.status, 0);
        ASSERT_EQ(result.lines().size(), 2U) << result.text();
        EXPECT_NE(result.text().find("cannot connect to the message bus"), std::string::npos);
    }
}

TEST(EventBusTest, UsesTheBusOfAnAddress)
{
    const TemporaryDirectory directory;
    const OwnBus bus(directory);
    const ChildResult result = in_child({{"KORVANE_BUS", bus.address}, {"DBUS_SESSION_BUS_ADDRESS", {}}}, [] {
        Listener listener;
        wait_until_subscribed();
        publish();
        EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    });
    EXPECT_EQ(result.status, 0) << result.text();
}

TEST(EventBusTest, LogsOneLineAndStaysIdleWhenTheBusEnds)
{
    const TemporaryDirectory directory;
    const ChildResult result = in_child(errors_only, [&] {
        OwnBus bus(directory);
        setenv("KORVANE_BUS", bus.address.c_str(), 1);
        const auto before = open_descriptors();
        {
            Listener first;
            Listener second;
            wait_until_subscribed();
            bus.stop();
            EXPECT_TRUE(loop_until([&] { return open_descriptors() == before; }));
            EXPECT_FALSE(g_main_context_pending(nullptr));
        } // removing handlers without a bus works
        EXPECT_EQ(open_descriptors(), before);
        EXPECT_LT(Listener().result, 0);
        const OwnBus next(directory);
        Listener later;
        EXPECT_EQ(later.result, 0);
        wait_until_subscribed();
    });
    EXPECT_EQ(result.status, 0);
    const auto lines = result.lines();
    ASSERT_EQ(lines.size(), 2U) << result.text();
    EXPECT_NE(lines[0].find("lost the connection to the message bus"), std::string::npos) << result.text();
    EXPECT_NE(lines[1].find("cannot connect to the message bus"), std::string::npos) << result.text();
}

namespace {

/// A socket that accepts connections and sends nothing.
class SilentSocket {
public:
    explicit SilentSocket(const std::string &path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, path.c_str());
        if (bind(listener_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 || listen(listener_, 4) != 0)
            throw std::runtime_error("listen");
    }
    ~SilentSocket() { close(listener_); }
    SilentSocket(const SilentSocket &) = delete;
    SilentSocket &operator=(const SilentSocket &) = delete;
    void hang_up_on_next() const { close(accept(listener_, nullptr, nullptr)); }

private:
    int listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

} // namespace

TEST(EventBusTest, DoesNotBlockOnASilentBus)
{
    const TemporaryDirectory directory;
    const SilentSocket silent(directory / "bus");
    const ChildResult result = in_child({{"KORVANE_BUS", "unix:path=" + (directory / "bus")}}, [] {
        const auto start_time = std::chrono::steady_clock::now();
        const Listener listener;
        EXPECT_EQ(listener.result, 0);
        bool over = false;
        g_idle_add(
            [](gpointer flag) -> gboolean {
                *static_cast<bool *>(flag) = true;
                return G_SOURCE_REMOVE;
            },
            &over);
        EXPECT_TRUE(loop_until([&] { return over; }));
        EXPECT_LT(std::chrono::steady_clock::now() - start_time, std::chrono::seconds(2));
    });
    EXPECT_EQ(result.status, 0) << result.text();
}

TEST(EventBusTest, LogsOneLineWhenTheBusClosesAtOnce)
{
    const TemporaryDirectory directory;
    const SilentSocket silent(directory / "bus");
    Environment environment = errors_only;
    environment["KORVANE_BUS"] = "unix:path=" + (directory / "bus");
    const ChildResult result = in_child(environment, [&] {
        const auto before = open_descriptors();
        const Listener listener;
        silent.hang_up_on_next();
        EXPECT_TRUE(loop_until([&] { return open_descriptors() == before; }));
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines().size(), 1U) << result.text();
}

TEST(EventBusTest, WorksInTheParentAfterAFork)
{
    const ChildResult result = in_child(errors_only, [] {
        Listener listener;
        wait_until_subscribed();
        const pid_t child = fork();
        if (child == 0) {
            while (g_main_context_iteration(nullptr, FALSE)) {
            }
            listener.remove();
            _exit(g_main_context_pending(nullptr) ? 1 : 0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        publish();
        EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    });
    EXPECT_EQ(result.status, 0) << result.text();
}

} // namespace kv::test
