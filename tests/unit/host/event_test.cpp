// SPDX-License-Identifier: Apache-2.0
// Application events over a real message bus. Runs under dbus-run-session.
#include "event_fixture.hpp"
#include "testing/support/child_process.hpp"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

namespace kv::test {
namespace {

const bool had_bus_library_at_start = has_bus_library();

/// Sends an event with another implementation of the bus protocol. The payload is GVariant text.
void send_with_gdbus(const std::string &payload)
{
    output_of(
        {.words = {"gdbus", "emit", "--session", "--object-path", "/any/path", "--signal", update_status, payload}});
}

} // namespace

TEST(EventTest, LoadsTheBusLibraryWithTheFirstHandler)
{
    EXPECT_FALSE(had_bus_library_at_start);
    const Listener listener;
    EXPECT_TRUE(has_bus_library());
}

TEST(EventTest, DeliversTextsArraysAndBytes)
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
    wait_until_subscribed();
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

TEST(EventTest, DeliversAnEventWithoutData)
{
    Listener listener;
    wait_until_subscribed();
    EXPECT_EQ(event_publish(update_status, nullptr), 0);
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
}

TEST(EventTest, IgnoresEventsOfOtherNames)
{
    Listener listener;
    Listener last("org.example.ServiceManager.Last");
    wait_until_subscribed();
    publish("org.example.ServiceManager.Other");
    publish("org.example.Other.UpdateStatus");
    publish("org.example.ServiceManager.Last");
    EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
    EXPECT_EQ(listener.count, 0);
}

TEST(EventTest, SkipsDuplicateKeysAndUnsupportedTypes)
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
        wait_until_subscribed();
        send_with_gdbus("{'a': <'first'>, 'a': <'second'>, 'number': <42>, 'nested': <<<[{'x': <(1, 'y')>}]>>>, "
                        "'z': <'last'>}");
        EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.text().find("ignoring a second value of \"a\""), std::string::npos) << result.text();
    EXPECT_NE(result.text().find("ignoring \"number\" of type \"i\""), std::string::npos) << result.text();
    EXPECT_NE(result.text().find("ignoring \"nested\" of type \"v\""), std::string::npos) << result.text();
}

TEST(EventTest, DropsMalformedAndHugeEventsWithOneLine)
{
    std::string many_entries = "{";
    for (int i = 0; i < 257; ++i)
        many_entries += "'" + std::to_string(i) + "': <true>,";
    many_entries.back() = '}';
    std::string many_texts = "{'Start': <[";
    for (int i = 0; i < 5000; ++i)
        many_texts += "'',";
    many_texts += "'']>}";
    const std::string large = "{'a': <'" + std::string(120'000, 'x') + "'>}"; // below the limit

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
            wait_until_subscribed();
            send_with_gdbus(payload);
            send_with_gdbus(large);
            EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
        });
        EXPECT_EQ(result.status, 0) << payload.substr(0, 40);
        ASSERT_EQ(result.lines().size(), 1U) << result.text();
        EXPECT_NE(result.text().find("dropping event " + std::string(update_status)), std::string::npos)
            << result.text();
        EXPECT_NE(result.text().find(reason), std::string::npos) << result.text();
    }
}

// Handlers

TEST(EventHandlerTest, CallsAllHandlersOfAnEvent)
{
    Listener first;
    Listener second;
    wait_until_subscribed();
    publish();
    EXPECT_TRUE(loop_until([&] { return first.count == 1 && second.count == 1; }));
}

TEST(EventHandlerTest, AllowsRemovalInItsOwnCallback)
{
    const auto before = open_descriptors();
    Listener listener;
    wait_until_subscribed();
    std::string seen;
    listener.then = [&](const char *name, bundle *data) {
        listener.remove();                                   // the last one, so the connection closes
        seen = std::string(name) + text_in(data, "Install"); // both stay valid
    };
    publish();
    publish();
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    EXPECT_EQ(seen, std::string(update_status) + "org.example.agent");
    EXPECT_FALSE(g_main_context_pending(nullptr));
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(listener.count, 1);
}

TEST(EventHandlerTest, AllowsReplacementInItsOwnCallback)
{
    Listener listener;
    wait_until_subscribed();
    listener.then = [&](const char *, bundle *) {
        listener.then = nullptr;
        listener.remove();
        EXPECT_EQ(listener.add(), 0);
    };
    publish();
    EXPECT_TRUE(loop_until([&] { return listener.count == 1; }));
    wait_until_subscribed();
    publish();
    EXPECT_TRUE(loop_until([&] { return listener.count == 2; }));
}

TEST(EventHandlerTest, AllowsRemovalInAnotherCallback)
{
    Listener first;
    Listener second;
    Listener last("org.example.ServiceManager.Last");
    wait_until_subscribed();
    first.then = [&](const char *, bundle *) { second.remove(); };
    second.then = [&](const char *, bundle *) { first.remove(); };
    publish();
    publish("org.example.ServiceManager.Last");
    EXPECT_TRUE(loop_until([&] { return last.count == 1; }));
    EXPECT_EQ(first.count + second.count, 1);
}

TEST(EventHandlerTest, ReleasesTheConnectionWithTheLastHandler)
{
    { // loads the library
        const Listener listener;
        wait_until_subscribed();
    }
    const auto before = open_descriptors();
    for (int i = 0; i < 3; ++i) {
        Listener first;
        Listener second;
        EXPECT_EQ(open_descriptors(), before + 1) << "one connection serves all handlers";
        if (i > 0)
            wait_until_subscribed();
    }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_FALSE(g_main_context_pending(nullptr));
}

TEST(EventHandlerTest, RefusesNull)
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

TEST(EventHandlerTest, RefusesNamesWithoutInterfaceOrMember)
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

TEST(EventHandlerTest, RunsOnTheThreadDefaultContext)
{
    std::thread([] {
        GMainContext *context = g_main_context_new();
        g_main_context_push_thread_default(context);
        {
            Listener listener;
            std::thread::id called_on;
            listener.then = [&](const char *, bundle *) { called_on = std::this_thread::get_id(); };
            wait_until_subscribed(context);
            publish();
            EXPECT_TRUE(loop_until([&] { return listener.count == 1; }, context));
            EXPECT_EQ(called_on, std::this_thread::get_id());
        }
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }).join();
}

// The main loop

TEST(EventLoopTest, SleepsWithoutEvents)
{
    static int polls = 0;
    const Listener listener;
    wait_until_subscribed();
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

TEST(EventLoopTest, RunsOtherSourcesDuringAFlood)
{
    constexpr int storm = 300;
    Listener listener;
    wait_until_subscribed();
    for (int i = 0; i < storm; ++i)
        publish();
    int since_timer = 0;
    int max_in_a_row = 0;
    listener.then = [&](const char *, bundle *) { max_in_a_row = std::max(max_in_a_row, ++since_timer); };
    const guint timer = g_timeout_add(
        0,
        [](gpointer counter) -> gboolean {
            *static_cast<int *>(counter) = 0;
            return G_SOURCE_CONTINUE;
        },
        &since_timer);
    EXPECT_TRUE(wait_until([&] {
        g_main_context_iteration(nullptr, TRUE);
        return listener.count == storm;
    }));
    g_source_remove(timer);
    EXPECT_LE(max_in_a_row, 128); // two turns, because the loop chooses the order of sources in a turn
}

// The bus

} // namespace kv::test
