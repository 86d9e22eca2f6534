/* SPDX-License-Identifier: Apache-2.0 */
/* application_korvane SECONDS: one of many applications. Connects and prints a line. After SIGUSR1 it calls the agent as
 * often as possible for that time, from an idle source, so that events are dispatched in between. Then it prints the number
 * of its calls and events, and the longest time from the end of one call to the end of the next in microseconds. */
#include <glib-unix.h>
#include <korvane.h>
#include <stdio.h>
#include <stdlib.h>

static korvane_h device;
static gint64 end_us;
static gint64 last_us;
static gint64 max_us;
static long calls;
static long events;

static void on_event(korvane_h handle, int status, void *user_data)
{
    (void)handle;
    (void)status;
    (void)user_data;
    events++;
}

static gboolean call_once(gpointer loop)
{
    char *id = NULL;
    if (korvane_get_device_id(device, &id) != KORVANE_ERROR_NONE)
        exit(1);
    free(id);
    calls++;
    const gint64 now = g_get_monotonic_time();
    max_us = MAX(max_us, now - last_us);
    last_us = now;
    if (now < end_us)
        return G_SOURCE_CONTINUE;
    g_main_loop_quit(loop);
    return G_SOURCE_REMOVE;
}

struct run {
    GMainLoop *loop;
    int seconds;
};

static gboolean on_go(gpointer data)
{
    const struct run *run = data;
    last_us = g_get_monotonic_time();
    end_us = last_us + run->seconds * G_USEC_PER_SEC;
    g_idle_add(call_once, run->loop);
    return G_SOURCE_REMOVE;
}

static void on_status(int result, korvane_h handle, int status, void *user_data)
{
    (void)user_data;
    if (result != KORVANE_ERROR_NONE || status != KORVANE_CONNECTION_CONNECTED ||
        korvane_set_status_changed_cb(handle, on_event, NULL) != KORVANE_ERROR_NONE)
        exit(1);
    puts("connected");
    fflush(stdout);
}

int main(int argc, char **argv)
{
    struct run run = {g_main_loop_new(NULL, FALSE), argc > 1 ? atoi(argv[1]) : 1};
    g_unix_signal_add(SIGUSR1, on_go, &run);
    if (korvane_initialize(&device, on_status, NULL) != KORVANE_ERROR_NONE)
        return 1;
    g_main_loop_run(run.loop);
    printf("%ld %ld %lld\n", calls, events, (long long)max_us);
    korvane_deinitialize(device);
    g_main_loop_unref(run.loop);
    return 0;
}
