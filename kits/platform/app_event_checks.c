/* SPDX-License-Identifier: Apache-2.0 */
/* Application events. A device without them lets the subscription fail. */
#include "kit.h"

#include <app_event.h>

static const char update_event[] = "org.korvane.ServiceManager.UpdateStatus";

struct seen {
    int events;
    bool has_start; /* whether the last event had the string array "Start" */
    bool is_own_thread;
    GThread *thread;
};

static void on_event(const char *event_name, bundle *data, void *user_data)
{
    struct seen *seen = user_data;
    ++seen->events;
    seen->is_own_thread = g_thread_self() == seen->thread;
    g_assert_cmpstr(event_name, ==, update_event);

    int length = -1;
    seen->has_start = bundle_get_str_array(data, "Start", &length) != NULL && length >= 0;

    /* A value of another type, and a missing one, leave the out arguments as they were. */
    char *text = NULL;
    void *bytes = NULL;
    size_t size = 0;
    g_assert_cmpint(bundle_get_str(data, "Start", &text), <, 0);
    g_assert_cmpint(bundle_get_str(data, "Missing", &text), <, 0);
    g_assert_cmpint(bundle_get_byte(data, "Missing", &bytes, &size), <, 0);
    g_assert_null(bundle_get_str_array(data, "Missing", &length));
    g_assert_null(text);
    g_assert_null(bytes);
}

/* Returns NULL, and skips the check, if the platform has no events. */
static event_handler_h subscribe(struct seen *seen)
{
    *seen = (struct seen){.thread = g_thread_self()};
    event_handler_h handler = NULL;
    const int result = event_add_event_handler(update_event, on_event, seen, &handler);
    if (result == 0 && handler)
        return handler;
    char *reason =
        g_strdup_printf("the platform has no application events: event_add_event_handler returned %d", result);
    g_test_skip(reason);
    g_free(reason);
    return NULL;
}

static bool publish(void)
{
    if (!kit_options.publish_command) {
        g_test_skip("needs --publish");
        return false;
    }
    int status = 0;
    char *arguments[] = {"/bin/sh", "-c", kit_options.publish_command, NULL};
    if (g_spawn_sync(NULL, arguments, NULL, G_SPAWN_DEFAULT, NULL, NULL, NULL, NULL, &status, NULL) && status == 0)
        return true;
    g_test_fail_printf("the command of --publish failed: %s", kit_options.publish_command);
    return false;
}

/*
 * Publishes until the handler has run. A platform may complete a subscription while the main loop runs, so that the first
 * events can be lost. Returns false, and fails or skips the check, if no event arrives.
 */
static bool publish_until_seen(const struct seen *seen)
{
    for (int i = 0; i < kit_timeout_s && seen->events == 0; ++i) {
        kit_run_loop(100);
        if (!publish())
            return false;
        kit_run_loop(900);
    }
    if (seen->events == 0)
        g_test_fail_printf("no event within %d s", kit_timeout_s);
    return seen->events > 0;
}

static void subscribes_again(void)
{
    struct seen seen;
    for (int i = 0; i < 3; ++i) {
        event_handler_h handler = subscribe(&seen);
        if (!handler)
            return;
        g_assert_cmpint(event_remove_event_handler(handler), ==, 0);
    }
    g_assert_cmpint(seen.events, ==, 0);
}

static void delivers_from_the_main_loop(void)
{
    struct seen seen;
    event_handler_h handler = subscribe(&seen);
    if (!handler)
        return;
    if (publish_until_seen(&seen)) {
        g_assert_true(seen.has_start);
        g_assert_true(seen.is_own_thread);
        const int before = seen.events;
        if (publish()) {
            g_assert_cmpint(seen.events, ==, before);
            kit_wait_count(&seen.events, before + 1, "handler of the event");
            kit_run_loop(200);
            g_assert_cmpint(seen.events, ==, before + 1);
        }
    }
    g_assert_cmpint(event_remove_event_handler(handler), ==, 0);
}

static void delivers_nothing_after_the_removal(void)
{
    struct seen removed;
    struct seen kept;
    event_handler_h removed_handler = subscribe(&removed);
    if (!removed_handler)
        return;
    event_handler_h kept_handler = subscribe(&kept);
    g_assert_cmpint(event_remove_event_handler(removed_handler), ==, 0);
    if (!kept_handler)
        return;
    publish_until_seen(&kept);
    g_assert_cmpint(removed.events, ==, 0);
    g_assert_cmpint(event_remove_event_handler(kept_handler), ==, 0);
}

void kit_add_app_event_checks(void)
{
    kit_add("/app-events/subscribe-again", subscribes_again);
    kit_add("/app-events/from-main-loop", delivers_from_the_main_loop);
    kit_add("/app-events/none-after-removal", delivers_nothing_after_the_removal);
}
