// SPDX-License-Identifier: Apache-2.0
// A message bus that is absent, at another address, silent, or ended. Runs under dbus-run-session.
#include "event_fixture.hpp"
#include "testing/support/child_process.hpp"
#include "testing/support/temporary_directory.hpp"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace kv::test {
namespace {

/// A message bus that can be killed.
class OwnBus {
public:
    explicit OwnBus(const TemporaryDirectory &directory, const std::string &configuration = "--session")
        : address("unix:path=" + (directory / "bus").string()),
          daemon_({.words = {"dbus-daemon", configuration, "--nofork", "--nosyslog", "--address=" + address,
                             "--print-address=1"}})
    {
        if (!daemon_.wait_for_line()) // the daemon prints its address when it listens
            throw std::runtime_error("dbus-daemon does not start");
    }

    void stop()
    {
        daemon_.signal(SIGKILL);
        wait_for_exit(daemon_.pid());
    }

    const std::string address;

private:
    ChildProcess daemon_;
};

} // namespace

TEST(EventBusTest, FailsAtOnceWithOneLineWithoutABus)
{
    const TemporaryDirectory directory;
    const Environment nothing_set = {{"DBUS_SESSION_BUS_ADDRESS", {}}, {"XDG_RUNTIME_DIR", {}}};
    const Environment no_socket = {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (directory / "none").string()}};
    const Environment no_system_bus = {{"KORVANE_BUS", "system"},
                                       {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (directory / "none").string()}};
    const Environment no_own_bus = {{"KORVANE_BUS", "unix:path=" + (directory / "none").string()}};
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
        ASSERT_EQ(result.lines().size(), 1U) << result.text();
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
            // The publisher's connection is in no loop and stays open until the next event.
            EXPECT_TRUE(loop_until([&] { return open_descriptors() == before + 1; }));
            EXPECT_FALSE(g_main_context_pending(nullptr));
        } // removing handlers without a bus works
        EXPECT_EQ(open_descriptors(), before + 1);
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
    const ChildResult result = in_child({{"KORVANE_BUS", "unix:path=" + (directory / "bus").string()}}, [] {
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
    environment["KORVANE_BUS"] = "unix:path=" + (directory / "bus").string();
    const ChildResult result = in_child(environment, [&] {
        const auto before = open_descriptors();
        const Listener listener;
        silent.hang_up_on_next();
        EXPECT_TRUE(loop_until([&] { return open_descriptors() == before; }));
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines().size(), 1U) << result.text();
}

/// The configuration of a bus to which every user may connect, as to the system bus.
std::string shared_bus_configuration(const TemporaryDirectory &directory)
{
    std::ofstream(directory / "bus.conf") << "<busconfig><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
                                             "<policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
                                             "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                                             "<allow send_type=\"signal\"/></policy></busconfig>";
    return "--config-file=" + (directory / "bus.conf").string();
}

TEST(EventSenderTest, OfAnotherUserIsNotTrustedOnASharedBus)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    constexpr uid_t nobody = 65534;
    const TemporaryDirectory directory;
    std::filesystem::permissions(directory.path(), std::filesystem::perms::all);
    const OwnBus bus(directory, shared_bus_configuration(directory));
    Environment environment = errors_only;
    environment["KORVANE_BUS"] = bus.address;
    const ChildResult result = in_child(environment, [] {
        Listener listener;
        Listener last("org.example.ServiceManager.Last");
        wait_until_subscribed();
        int published[2];
        int end[2];
        ASSERT_EQ(pipe(published) + pipe(end), 0);
        const pid_t sender = fork();
        if (sender == 0) {
            close(end[1]);
            const bool sent = setuid(nobody) == 0 && event_publish(update_status, nullptr) == 0;
            char byte = sent ? 'y' : 'n';
            if (write(published[1], &byte, 1) == 1 && read(end[0], &byte, 1) > 0) // connected until its user is checked
                _exit(1);
            _exit(0);
        }
        char byte = 0;
        ASSERT_EQ(read(published[0], &byte, 1), 1);
        EXPECT_EQ(byte, 'y');
        publish("org.example.ServiceManager.Last");
        EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
        EXPECT_EQ(listener.count, 0);
        close(end[1]);
        waitpid(sender, nullptr, 0);
        publish();
        EXPECT_TRUE(loop_until([&] { return listener.count >= 1; }));
        EXPECT_EQ(listener.count, 1);
    });
    EXPECT_EQ(result.status, 0) << result.text();
    EXPECT_TRUE(contains(result.text(), "UpdateStatus of user 65534: only user 0 and root")) << result.text();
}

TEST(EventSenderTest, IsForgottenWithARemovedHandler)
{
    const TemporaryDirectory directory;
    const OwnBus bus(directory);
    const ChildResult result = in_child({{"KORVANE_BUS", bus.address}, {"DBUS_SESSION_BUS_ADDRESS", {}}}, [] {
        Listener last("org.example.ServiceManager.Last");
        {
            Listener removed;
            wait_until_subscribed();
            publish();
            for (int i = 0; i < 3; ++i)
                g_main_context_iteration(nullptr, FALSE);
        }
        publish("org.example.ServiceManager.Last");
        EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
    });
    EXPECT_EQ(result.status, 0) << result.text();
}

template <class Function>
Function *bus_function(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(dlopen("libsystemd.so.0", RTLD_NOW), name));
}

/// Publishes an update event without data from a connection that owns the bus name.
void publish_as_owner(const char *name)
{
    void *bus = nullptr;
    ASSERT_GE(bus_function<int(void **)>("sd_bus_open_user")(&bus), 0);
    ASSERT_GE(bus_function<int(void *, const char *, std::uint64_t)>("sd_bus_request_name")(bus, name, 0), 0);
    ASSERT_GE(bus_function<int(void *, const char *, const char *, const char *, const char *, ...)>(
                  "sd_bus_emit_signal")(bus, "/any/path", "org.example.ServiceManager", "UpdateStatus", "a{sv}", 0),
              0);
    bus_function<void *(void *)>("sd_bus_flush_close_unref")(bus);
}

TEST(EventSenderTest, MustOwnTheConfiguredName)
{
    const ChildResult result = in_child({{"KORVANE_EVENT_SENDER", "org.example.ServiceManager"}}, [] {
        Listener listener;
        unsetenv("KORVANE_EVENT_SENDER");
        Listener last("org.example.ServiceManager.Last");
        wait_until_subscribed();
        publish(); // by a connection without the name
        publish("org.example.ServiceManager.Last");
        EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
        EXPECT_EQ(listener.count, 0);
        publish_as_owner("org.example.ServiceManager");
        EXPECT_TRUE(loop_until([&] { return listener.count >= 1; }));
        EXPECT_EQ(listener.count, 1);
    });
    EXPECT_EQ(result.status, 0) << result.text();
}

/// A publisher of events without values. The bus keeps the order of its events, which it would not keep between two of them.
class Publisher {
public:
    Publisher() { EXPECT_GE(bus_function<int(void **)>("sd_bus_open_user")(&bus_), 0); }
    ~Publisher() { bus_function<void *(void *)>("sd_bus_close_unref")(bus_); }
    Publisher(const Publisher &) = delete;
    Publisher &operator=(const Publisher &) = delete;

    /// Sends to one connection, where the bus checks no match rule of the receiver, or as a broadcast.
    void send(const char *member, const char *destination = nullptr)
    {
        void *message = nullptr;
        EXPECT_GE(bus_function<int(void *, void **, const char *, const char *, const char *)>(
                      "sd_bus_message_new_signal")(bus_, &message, "/any/path", "org.example.ServiceManager", member),
                  0);
        EXPECT_GE(bus_function<int(void *, const char *, ...)>("sd_bus_message_append")(message, "a{sv}", 0), 0);
        EXPECT_GE(bus_function<int(void *, void *, const char *, std::uint64_t *)>("sd_bus_send_to")(
                      bus_, message, destination, nullptr),
                  0);
        bus_function<void *(void *)>("sd_bus_message_unref")(message);
        EXPECT_GE(bus_function<int(void *)>("sd_bus_flush")(bus_), 0);
    }

private:
    void *bus_ = nullptr;
};

TEST(EventSenderTest, OfAnEventToOneProcessIsNotTrusted)
{
    const TemporaryDirectory directory;
    const OwnBus bus(directory);
    for (const char *name : {"", "org.example.ServiceManager"}) {
        const ChildResult result = in_child({{"KORVANE_LOG", "error:stderr"},
                                             {"DBUS_SESSION_BUS_ADDRESS", bus.address},
                                             {"KORVANE_EVENT_SENDER", name}},
                                            [] {
                                                Listener listener;
                                                unsetenv("KORVANE_EVENT_SENDER");
                                                Listener last("org.example.ServiceManager.Last");
                                                wait_until_subscribed();
                                                Publisher publisher;
                                                for (int i = 0; i < 64; ++i)
                                                    publisher.send("UpdateStatus", (":1." + std::to_string(i)).c_str());
                                                publisher.send("Last");
                                                EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
                                                EXPECT_EQ(listener.count, 0);
                                            });
        EXPECT_EQ(result.status, 0) << result.text();
        EXPECT_TRUE(contains(result.text(), "it was sent to this process only")) << name << result.text();
    }
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
