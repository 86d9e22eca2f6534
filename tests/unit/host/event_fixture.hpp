// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "child.hpp"
#include "testing/support/read_file.hpp"
#include "testing/support/wait.hpp"

#include <app_event.h>
#include <app_event_publish.h>

#include <gtest/gtest.h>

#include <glib.h>

#include <filesystem>
#include <functional>
#include <string>

/// Application events over a real message bus.
namespace kv::test {

inline constexpr const char *update_status = "org.example.ServiceManager.UpdateStatus";

inline bool has_bus_library()
{
    return read_file("/proc/self/maps").find("libsystemd") != std::string::npos;
}

inline std::ptrdiff_t open_descriptors()
{
    g_main_context_default(); // its first use opens a descriptor
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

inline bool loop_until(const std::function<bool()> &condition, GMainContext *context = nullptr)
{
    return wait_until([&] {
        while (g_main_context_iteration(context, FALSE)) {
        }
        return condition();
    });
}

/// Subscribes to an event and counts its deliveries.
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

/// Returns when the bus has processed every subscription of this thread. It processes them in order, so one more that
/// receives an event proves the earlier ones.
inline void wait_until_subscribed(GMainContext *context = nullptr)
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

inline void publish(const char *name = update_status)
{
    bundle *data = bundle_create();
    bundle_add_str(data, "Install", "org.example.agent");
    EXPECT_EQ(event_publish(name, data), 0);
    bundle_free(data);
}

inline std::string text_in(bundle *data, const char *key)
{
    char *text = nullptr;
    return bundle_get_str(data, key, &text) == 0 ? text : "(none)";
}

inline const Environment errors_only = {{"KORVANE_LOG", "error:stderr"}};

} // namespace kv::test
