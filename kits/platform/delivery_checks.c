/* SPDX-License-Identifier: Apache-2.0 */
/* Events: whole, in order, each once, and before the end of the connection. */
#include "agent/commands.h"
#include "kit.h"

static void delivers_each_event_once(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    g_assert_true(kit_command(&link, KIT_EVENTS, 10000));
    kit_wait_count(&link.events, 10000, "events");
    kit_run_loop(50);
    g_assert_cmpint(link.events, ==, 10000);
    g_assert_true(link.in_order);
    g_assert_true(link.is_own_thread);
    kit_link_close(&link);
}

/* An event may arrive during a call. No event of a call may be lost, and no reply may be taken for an event. */
static void delivers_events_between_calls(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    for (int i = 1; i <= 200; ++i) {
        link.next_event = 0;
        g_assert_true(kit_command(&link, KIT_EVENTS, 2));
        if (!kit_wait_count(&link.events, 2 * i, "events"))
            break;
    }
    g_assert_cmpint(link.events, ==, 400);
    g_assert_true(link.in_order);
    kit_link_close(&link);
}

static void delivers_events_before_the_end(void)
{
    struct kit_link link;
    if (!kit_link_open(&link))
        return;
    g_assert_cmpint(kit_send(&link, KIT_EVENTS_CLOSE, 10), ==, 0);
    kit_wait(&link.is_disconnected, "callback 'disconnected'");
    g_assert_cmpint(link.events, ==, 10);
    g_assert_true(link.in_order);
    kit_run_loop(50);
    g_assert_cmpint(link.events, ==, 10);
    g_assert_cmpint(link.disconnections, ==, 1);
    kit_link_close(&link);
}

void kit_add_delivery_checks(void)
{
    kit_add("/delivery/each-once", delivers_each_event_once);
    kit_add("/delivery/between-calls", delivers_events_between_calls);
    kit_add("/delivery/before-the-end", delivers_events_before_the_end);
}
