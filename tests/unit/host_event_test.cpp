// SPDX-License-Identifier: Apache-2.0
// Runs below a message bus of its own (dbus-run-session).
#include "app_event.h"
#include "app_event_publish.h"
#include "unit/host_child.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

using namespace host_test;

namespace {

constexpr const char *update_status = "org.example.ServiceManager.UpdateStatus";

bool has_bus_library()
{
    return contents_of("/proc/self/maps").find("libsystemd") != std::string::npos;
}

const bool had_bus_library_at_start = has_bus_library();

std::ptrdiff_t open_descriptors()
{
    g_main_context_default(); // has one, made at its first use
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

bool loop_until(const std::function<bool()> &condition, GMainContext *context = nullptr)
{
    return comes_true([&] {
        while (g_main_context_iteration(context, FALSE)) {
        }
        return condition();
    });
}

/// Hears an event and keeps what it was told.
class Listener {
public:
    explicit Listener(const char *name = update_status) : name_(name) { result = add(); }
    ~Listener() { remove(); }
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    int add() { return event_add_event_handler(name_, on_event, this, &handler_); }
    void remove()
    {
        if (!handler_)
            return;
        EXPECT_EQ(event_remove_event_handler(handler_), 0);
        handler_ = nullptr;
    }

    int result = 0;
    int count = 0;
    std::function<void(const char *name, bundle *data)> then;

private:
    static void on_event(const char *name, bundle *data, void *self)
    {
        auto *listener = static_cast<Listener *>(self);
        ++listener->count;
        EXPECT_STREQ(name, listener->name_);
        if (listener->then)
            listener->then(name, data);
    }

    const char *name_;
    event_handler_h handler_ = nullptr;
};

/// Returns when the bus knows what was registered on this thread: it learns in order, so a listener that was
/// registered last stands for all.
void let_the_bus_know(GMainContext *context = nullptr)
{
    constexpr const char *probe_event = "org.example.Test.Probe";
    Listener probe(probe_event);
    ASSERT_EQ(probe.result, 0);
    ASSERT_TRUE(loop_until(
        [&] {
            EXPECT_EQ(event_publish(probe_event, nullptr), 0);
            return probe.count > 0;
        },
        context));
}

void publish(const char *name = update_status)
{
    bundle *data = bundle_create();
    bundle_add_str(data, "Install", "org.example.agent");
    EXPECT_EQ(event_publish(name, data), 0);
    bundle_free(data);
}

std::string text_in(bundle *data, const char *key)
{
    char *text = nullptr;
    return bundle_get_str(data, key, &text) == 0 ? text : "(none)";
}

pid_t start(const std::vector<std::string> &command)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO); // what tests look at is ours alone
    execvp(arguments[0], arguments.data());
    _exit(127);
}

/// Sends an event with another implementation of the bus's protocol than ours; the payload is GVariant text.
void send_from_elsewhere(const std::string &payload)
{
    const pid_t sender =
        start({"gdbus", "emit", "--session", "--object-path", "/any/path", "--signal", update_status, payload});
    int status = -1;
    waitpid(sender, &status, 0);
    ASSERT_EQ(status, 0) << payload;
}

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
        char ready[256]; // written when it listens
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

const Environment errors_only = {{"KORVANE_LOG", "error:stderr"}};

} // namespace

TEST(TheBusLibrary, IsLoadedWithTheFirstHandlerOnly)
{
    EXPECT_FALSE(had_bus_library_at_start);
    const Listener listener;
    EXPECT_TRUE(has_bus_library());
}

TEST(AnEvent, ArrivesWithItsTextsArraysAndBytes)
{
    Listener listener;
    bool checked = false;
    listener.then = [&](const char *, bundle *data) {
        EXPECT_EQ(text_in(data, "Install"), "org.example.agent");
        int length = 0;
        const char **names = bundle_get_str_array(data, "Start", &length);
        ASSERT_EQ(length, 2);
        EXPECT_STREQ(names[1], "b");
        void *bytes = nullptr;
        size_t size = 0;
        EXPECT_EQ(bundle_get_byte(data, "Fail", &bytes, &size), 0);
        ASSERT_EQ(size, 4U);
        EXPECT_EQ(memcmp(bytes, "\xfe\xff\xff\xff", 4), 0);
        checked = true;
    };
    let_the_bus_know();
    const char *const names[] = {"a", "b"};
    bundle *data = bundle_create();
    bundle_add_str(data, "Install", "org.example.agent");
    bundle_add_str_array(data, "Start", names, 2);
    bundle_add_byte(data, "Fail", "\xfe\xff\xff\xff", 4);
    EXPECT_EQ(event_publish(update_status, data), 0);
    bundle_free(data);
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    EXPECT_TRUE(checked);
}

TEST(AnEvent, WithoutDataArrives)
{
    Listener listener;
    let_the_bus_know();
    EXPECT_EQ(event_publish(update_status, nullptr), 0);
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
}

TEST(AnEvent, OfAnotherNameDoesNotArrive)
{
    Listener listener;
    Listener last("org.example.ServiceManager.Last");
    let_the_bus_know();
    publish("org.example.ServiceManager.Other");
    publish("org.example.Other.UpdateStatus");
    publish("org.example.ServiceManager.Last");
    EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
    EXPECT_EQ(listener.count, 0);
}

TEST(AnEvent, OfAForeignSenderKeepsTheFirstOfEqualKeysAndWhatABundleCanHold)
{
    Environment with_info = errors_only;
    with_info["KORVANE_LOG"] = "info:stderr";
    const ChildResult result = in_child(with_info, [] {
        Listener listener;
        listener.then = [](const char *, bundle *data) {
            EXPECT_EQ(text_in(data, "a"), "first");
            EXPECT_EQ(text_in(data, "number"), "(none)");
            EXPECT_EQ(text_in(data, "nested"), "(none)");
            EXPECT_EQ(text_in(data, "z"), "last");
        };
        let_the_bus_know();
        send_from_elsewhere("{'a': <'first'>, 'a': <'second'>, 'number': <42>, 'nested': <<<[{'x': <(1, 'y')>}]>>>, "
                            "'z': <'last'>}");
        EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.text().find("a second value of \"a\" is ignored"), std::string::npos) << result.text();
    EXPECT_NE(result.text().find("\"number\" of type \"i\" is ignored"), std::string::npos) << result.text();
    EXPECT_NE(result.text().find("\"nested\" of type \"v\" is ignored"), std::string::npos) << result.text();
}

TEST(AnEvent, ThatIsMalformedOrBeyondMeasureIsDroppedWithALine)
{
    std::string many_entries = "{";
    for (int i = 0; i < 257; ++i)
        many_entries += "'" + std::to_string(i) + "': <true>,";
    many_entries.back() = '}';
    std::string many_texts = "{'Start': <[";
    for (int i = 0; i < 5000; ++i)
        many_texts += "'',";
    many_texts += "'']>}";
    const std::string large = "{'a': <'" + std::string(120'000, 'x') + "'>}"; // and yet within measure

    struct {
        std::string payload;
        const char *reason;
    } const cases[] = {
        {"'text'", "not a dictionary"},
        {"@a{ss} {'a': 'b'}", "not a dictionary"},
        {many_entries, "Argument list too long"},
        {many_texts, "Argument list too long"},
    };
    for (const auto &[payload, reason] : cases) {
        const ChildResult result = in_child(errors_only, [&payload = payload, &large] {
            Listener listener;
            let_the_bus_know();
            send_from_elsewhere(payload);
            send_from_elsewhere(large);
            EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
        });
        EXPECT_EQ(result.status, 0) << payload.substr(0, 40);
        ASSERT_EQ(result.lines().size(), 1U) << result.text();
        EXPECT_NE(result.text().find("UpdateStatus is dropped: "), std::string::npos) << result.text();
        EXPECT_NE(result.text().find(reason), std::string::npos) << result.text();
    }
}

// Handlers

TEST(Handlers, OfOneEventAreAllCalled)
{
    Listener first;
    Listener second;
    let_the_bus_know();
    publish();
    EXPECT_TRUE(loop_until([&] { return first.count == 1 && second.count == 1; }));
}

TEST(Handlers, MayBeRemovedByTheirOwnCallback)
{
    const auto before = open_descriptors();
    Listener listener;
    let_the_bus_know();
    std::string seen;
    listener.then = [&](const char *name, bundle *data) {
        listener.remove();                                   // the last one: the connection goes with it
        seen = std::string(name) + text_in(data, "Install"); // both are still there
    };
    publish();
    publish();
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    EXPECT_EQ(seen, std::string(update_status) + "org.example.agent");
    EXPECT_FALSE(g_main_context_pending(nullptr));
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(listener.count, 1);
}

TEST(Handlers, MayBeReplacedByTheirOwnCallback)
{
    Listener listener;
    let_the_bus_know();
    listener.then = [&](const char *, bundle *) {
        listener.then = nullptr;
        listener.remove();
        EXPECT_EQ(listener.add(), 0);
    };
    publish();
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    let_the_bus_know();
    publish();
    EXPECT_TRUE(loop_until([&] { return listener.count == 2; }));
}

TEST(Handlers, MayBeRemovedByAnotherOnesCallback)
{
    Listener first;
    Listener second;
    Listener last("org.example.ServiceManager.Last");
    let_the_bus_know();
    first.then = [&](const char *, bundle *) { second.remove(); };
    second.then = [&](const char *, bundle *) { first.remove(); };
    publish();
    publish("org.example.ServiceManager.Last");
    EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
    EXPECT_EQ(first.count + second.count, 1);
}

TEST(Handlers, LeaveNothingBehindWhenTheyAreRemoved)
{
    { // whatever is loaded once
        const Listener listener;
        let_the_bus_know();
    }
    const auto before = open_descriptors();
    for (int i = 0; i < 3; ++i) {
        Listener first;
        Listener second;
        EXPECT_EQ(open_descriptors(), before + 1) << "one connection serves all handlers";
        if (i > 0)
            let_the_bus_know();
    }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_FALSE(g_main_context_pending(nullptr));
}

TEST(Handlers, ThatAreNoneAreRefused)
{
    event_handler_h handler = nullptr;
    EXPECT_EQ(event_add_event_handler(update_status, nullptr, nullptr, &handler), -EINVAL);
    EXPECT_EQ(event_add_event_handler(
                  nullptr, [](const char *, bundle *, void *) {}, nullptr, &handler),
              -EINVAL);
    EXPECT_EQ(event_add_event_handler(
                  update_status, [](const char *, bundle *, void *) {}, nullptr, nullptr),
              -EINVAL);
    EXPECT_EQ(event_remove_event_handler(nullptr), -EINVAL);
}

TEST(Handlers, HaveNamesOfInterfaceAndMember)
{
    const std::string long_name = "a." + std::string(256, 'b') + ".Member";
    const std::string long_member = "a.b." + std::string(256, 'M');
    for (const char *bad : {"", "Member", ".Member", "Interface.Member", "a.b.", "a.b.Mem ber", "a..b.Member",
                            "1.b.Member", "a.b',type='method_call.Member", long_name.c_str(), long_member.c_str()}) {
        const ChildResult result = in_child(errors_only, [&] {
            EXPECT_EQ(Listener(bad).result, -EINVAL);
            EXPECT_EQ(event_publish(bad, nullptr), -EINVAL);
        });
        EXPECT_EQ(result.status, 0) << bad;
        EXPECT_EQ(result.lines().size(), 2U) << result.text();
    }
}

TEST(Handlers, RunOnTheMainContextThatWasTheThreadsDefault)
{
    std::thread([] {
        GMainContext *context = g_main_context_new();
        g_main_context_push_thread_default(context);
        {
            Listener listener;
            std::thread::id called_on;
            listener.then = [&](const char *, bundle *) { called_on = std::this_thread::get_id(); };
            let_the_bus_know(context);
            publish();
            EXPECT_TRUE(loop_until([&] { return listener.count == 1; }, context));
            EXPECT_EQ(called_on, std::this_thread::get_id());
        }
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }).join();
}

// The main loop

TEST(TheMainLoop, SleepsWhileNothingHappens)
{
    static int polls = 0;
    const Listener listener;
    let_the_bus_know();
    ASSERT_TRUE(loop_until([] { return !g_main_context_pending(nullptr); }));
    const GPollFunc poll_function = g_main_context_get_poll_func(nullptr);
    polls = 0;
    g_main_context_set_poll_func(nullptr, [](GPollFD *fds, guint count, gint timeout) {
        ++polls;
        return g_poll(fds, count, timeout);
    });
    bool over = false;
    g_timeout_add(
        100,
        [](gpointer flag) -> gboolean {
            *static_cast<bool *>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &over);
    while (!over)
        g_main_context_iteration(nullptr, TRUE);
    g_main_context_set_poll_func(nullptr, poll_function);
    EXPECT_LE(polls, 5);
}

TEST(TheMainLoop, RunsItsOtherSourcesDuringAStormOfEvents)
{
    constexpr int storm = 300;
    Listener listener;
    let_the_bus_know();
    for (int i = 0; i < storm; ++i)
        publish();
    int since_timer = 0;
    int most_in_a_row = 0;
    listener.then = [&](const char *, bundle *) { most_in_a_row = std::max(most_in_a_row, ++since_timer); };
    const guint timer = g_timeout_add(
        0,
        [](gpointer counter) -> gboolean {
            *static_cast<int *>(counter) = 0;
            return G_SOURCE_CONTINUE;
        },
        &since_timer);
    EXPECT_TRUE(comes_true([&] {
        g_main_context_iteration(nullptr, TRUE);
        return listener.count == storm;
    }));
    g_source_remove(timer);
    EXPECT_LE(most_in_a_row, 128); // two turns, as the order of sources in a turn is the loop's
}

// The bus

TEST(WithoutABus, RegisteringAndPublishingFailAtOnceWithALineEach)
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
        EXPECT_NE(result.text().find("no message bus, so no application events"), std::string::npos);
    }
}

TEST(ABusOfItsOwnAddress, IsUsed)
{
    const TemporaryDirectory directory;
    const OwnBus bus(directory);
    const ChildResult result = in_child({{"KORVANE_BUS", bus.address}, {"DBUS_SESSION_BUS_ADDRESS", {}}}, [] {
        Listener listener;
        let_the_bus_know();
        publish();
        EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    });
    EXPECT_EQ(result.status, 0) << result.text();
}

TEST(ABusThatGoesAway, LeavesOneErrorLineAndAQuietLoop)
{
    const TemporaryDirectory directory;
    const ChildResult result = in_child(errors_only, [&] {
        OwnBus bus(directory);
        setenv("KORVANE_BUS", bus.address.c_str(), 1);
        const auto before = open_descriptors();
        {
            Listener first;
            Listener second;
            let_the_bus_know();
            bus.stop();
            EXPECT_TRUE(loop_until([&] { return open_descriptors() == before; }));
            EXPECT_FALSE(g_main_context_pending(nullptr));
        } // handlers that lost their bus can be removed
        EXPECT_EQ(open_descriptors(), before);
        EXPECT_LT(Listener().result, 0);
        const OwnBus next(directory);
        Listener later;
        EXPECT_EQ(later.result, 0);
        let_the_bus_know();
    });
    EXPECT_EQ(result.status, 0);
    const auto lines = result.lines();
    ASSERT_EQ(lines.size(), 2U) << result.text();
    EXPECT_NE(lines[0].find("the message bus is gone"), std::string::npos) << result.text();
    EXPECT_NE(lines[1].find("no message bus"), std::string::npos) << result.text();
}

namespace {

/// A socket that is no bus: it takes connections and says nothing.
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

TEST(ABusThatNeverAnswers, DoesNotHoldTheApplicationUp)
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

TEST(ABusThatHangsUpAtOnce, LeavesOneErrorLine)
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

TEST(AForkOfTheApplication, DisturbsNeitherTheParentsEventsNorItsOwnLoop)
{
    const ChildResult result = in_child(errors_only, [] {
        Listener listener;
        let_the_bus_know();
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
