/* SPDX-License-Identifier: Apache-2.0 */
/* The log, and the last result. */
#include "kit.h"

#include <dlog.h>
#include <last_result.h>

static void accepts_each_priority(void)
{
    for (int priority = 4; priority <= 6; ++priority)
        g_assert_cmpint(dlog_print(priority, "KORVANE_KIT", "priority %d\n", priority), >=, 0);
}

static void accepts_each_text(void)
{
    char *text = g_strnfill(100 * 1024, 'x');
    g_assert_cmpint(dlog_print(4, "KORVANE_KIT", "%s", text), >=, 0);
    g_free(text);
    g_assert_cmpint(dlog_print(4, "KORVANE_KIT", "%s", ""), >=, 0);
    g_assert_cmpint(dlog_print(4, "KORVANE_KIT", "%s", "100 %s \xff\xfe"), >=, 0);
}

static void keeps_the_last_result(void)
{
    set_last_result(-13);
    g_assert_cmpint(get_last_result(), ==, -13);
    g_assert_cmpint(get_last_result(), ==, -13);
    set_last_result(0);
    g_assert_cmpint(get_last_result(), ==, 0);
}

static gpointer read_last_result(gpointer data)
{
    int *results = data;
    results[0] = get_last_result();
    set_last_result(-5);
    results[1] = get_last_result();
    return NULL;
}

static void keeps_one_last_result_per_thread(void)
{
    set_last_result(-13);
    int results[2] = {1, 1};
    g_thread_join(g_thread_new("last-result", read_last_result, results));
    g_assert_cmpint(results[0], ==, 0);
    g_assert_cmpint(results[1], ==, -5);
    g_assert_cmpint(get_last_result(), ==, -13);
    set_last_result(0);
}

void kit_add_log_checks(void)
{
    kit_add("/log/each-priority", accepts_each_priority);
    kit_add("/log/each-text", accepts_each_text);
    kit_add("/last-result/is-kept", keeps_the_last_result);
    kit_add("/last-result/is-per-thread", keeps_one_last_result_per_thread);
}
