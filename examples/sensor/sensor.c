/* SPDX-License-Identifier: Apache-2.0 */
/* A sensor on a battery: it wakes up, does its work in one short period, and sleeps. See README.md. */
#include "../common/application.h"

#include <stdlib.h>

enum presence { PRESENCE_ON = 0, PRESENCE_INACTIVE = 1 };
enum { MINUTES = 60 };

static gboolean once;
static int sleep_ms = 10000;
static int awake_ms = 1000;

static guint alarm_clock; /* ends the sleep or the time awake */
static bool awake;
static int wake_ups;

/* ---- keep-alive -------------------------------------------------------------------------------------------------- */

/* Long intervals save the battery, but networks drop connections that are idle for too long. The agent receives a table
 * of intervals and the indexes of those that it may use. */
static int set_intervals(korvane_h device, void *unused)
{
    (void)unused;
    static const int intervals[] = {2 * MINUTES, 4 * MINUTES, 8 * MINUTES, 16 * MINUTES, 32 * MINUTES};
    return korvane_set_keepalive_intervals(device, intervals, (int)G_N_ELEMENTS(intervals));
}

static int select_intervals(korvane_h device, void *unused)
{
    (void)unused;
    static const int indexes[] = {1, 2, 3};
    return korvane_select_keepalive_intervals(device, indexes, (int)G_N_ELEMENTS(indexes));
}

static void go_to_sleep(korvane_h device);

static void on_keepalive(korvane_h device, int result, void *user_data)
{
    (void)user_data;
    print("keep-alive", "result %d", result);
    if (awake)
        go_to_sleep(device); /* the work is complete */
}

static int follow_keepalives(korvane_h device, void *unused)
{
    (void)unused;
    return korvane_set_keepalive_result_cb(device, on_keepalive, NULL);
}

static const struct call preparation[] = {
    {"set_keepalive_result_cb", follow_keepalives},
    {"set_keepalive_intervals", set_intervals},
    {"select_keepalive_intervals", select_intervals},
    {NULL, NULL},
};

/* ---- the agent's connection -------------------------------------------------------------------------------------- */

/* With these fields the network hardware can send keep-alives while the processor sleeps. */
static const struct {
    const char *name;
    int (*get)(korvane_tcp_header_info_h header, int *value);
} numbers[] = {
    {"ip version", korvane_tcp_header_info_get_ip_version},
    {"source port", korvane_tcp_header_info_get_src_port},
    {"destination port", korvane_tcp_header_info_get_dst_port},
    {"sequence number", korvane_tcp_header_info_get_seq_num},
    {"acknowledgement number", korvane_tcp_header_info_get_ack_num},
    {"window", korvane_tcp_header_info_get_window},
    {"window scale", korvane_tcp_header_info_get_window_scale},
};

static const struct {
    const char *name;
    int (*get)(korvane_tcp_header_info_h header, char **text);
} addresses[] = {
    {"source", korvane_tcp_header_info_get_src_addr},
    {"destination", korvane_tcp_header_info_get_dst_addr},
};

static int read_tcp_header(korvane_h device, void *unused)
{
    (void)unused;
    korvane_tcp_header_info_h header = NULL;
    int result = korvane_get_tcp_header_info(device, &header);
    if (result != KORVANE_ERROR_NONE)
        return result;
    for (size_t i = 0; i < G_N_ELEMENTS(addresses); ++i) {
        char *text = NULL;
        if (addresses[i].get(header, &text) == KORVANE_ERROR_NONE && text)
            print("tcp header", "%s %s", addresses[i].name, text);
        free(text);
    }
    for (size_t i = 0; i < G_N_ELEMENTS(numbers); ++i) {
        int value = 0;
        if (numbers[i].get(header, &value) == KORVANE_ERROR_NONE)
            print("tcp header", "%s %d", numbers[i].name, value);
    }
    return korvane_release_tcp_header_info(header);
}

/* ---- waking and sleeping ----------------------------------------------------------------------------------------- */

static int be_present(korvane_h device, void *unused)
{
    (void)unused;
    return korvane_send_presence(device, PRESENCE_ON);
}

static int be_inactive(korvane_h device, void *unused)
{
    (void)unused;
    return korvane_send_presence(device, PRESENCE_INACTIVE);
}

static int send_keepalive(korvane_h device, void *unused)
{
    (void)unused;
    return korvane_send_keepalive(device);
}

static const struct call work[] = {
    {"send_presence (on)", be_present},
    {"get_tcp_header_info", read_tcp_header},
    {"send_keepalive", send_keepalive},
    {NULL, NULL},
};

static const struct call before_sleep[] = {
    {"send_presence (inactive)", be_inactive},
    {NULL, NULL},
};

static void set_alarm(int milliseconds, GSourceFunc then, korvane_h device)
{
    if (alarm_clock != 0)
        g_source_remove(alarm_clock);
    alarm_clock = then ? g_timeout_add((guint)milliseconds, then, device) : 0;
}

static gboolean on_awake_timeout(gpointer device)
{
    alarm_clock = 0;
    print("keep-alive", "no result");
    go_to_sleep(device);
    return G_SOURCE_REMOVE;
}

static gboolean wake_up(gpointer device)
{
    alarm_clock = 0;
    awake = true;
    ++wake_ups;
    print("awake", "time %d", wake_ups);
    if (make_calls(device, work, NULL) == KORVANE_ERROR_NONE)
        set_alarm(awake_ms, on_awake_timeout, device);
    return G_SOURCE_REMOVE;
}

static void go_to_sleep(korvane_h device)
{
    awake = false;
    set_alarm(0, NULL, NULL);
    if (make_calls(device, before_sleep, NULL) != KORVANE_ERROR_NONE)
        return;
    if (once) {
        end_application(step("stop", korvane_stop(device)) ? DONE : STEP_FAILED);
        return;
    }
    print("asleep", "for %d ms", sleep_ms);
    set_alarm(sleep_ms, wake_up, device);
}

static int configure(korvane_h device, void *user_data)
{
    int result = make_calls(device, preparation, user_data);
    return result == KORVANE_ERROR_NONE ? start_service(device) : result;
}

static void on_connected(korvane_h device, void *user_data)
{
    (void)user_data;
    wake_up(device);
}

static void on_lost(void *user_data)
{
    (void)user_data;
    awake = false;
    set_alarm(0, NULL, NULL);
}

int main(int argc, char **argv)
{
    const GOptionEntry options[] = {
        {"once", 0, 0, G_OPTION_ARG_NONE, &once, "wake up once and end", NULL},
        {"sleep-ms", 0, 0, G_OPTION_ARG_INT, &sleep_ms, "how long it sleeps (10000)", "N"},
        {"awake-ms", 0, 0, G_OPTION_ARG_INT, &awake_ms, "how long it waits for a keep-alive's result (1000)", "N"},
        {NULL, 0, 0, G_OPTION_ARG_NONE, NULL, NULL, NULL},
    };
    if (!parse_command_line(&argc, &argv, options, "A sensor that sleeps most of the time."))
        return NOT_REACHED;
    if (sleep_ms < 1 || awake_ms < 1) {
        wrong_command_line("times must be above 0");
        return NOT_REACHED;
    }
    const struct application application = {
        .configure = configure, .connected = on_connected, .lost = on_lost, .stay = !once};
    return run_application(&application);
}
