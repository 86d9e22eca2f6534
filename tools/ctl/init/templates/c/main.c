/* @NAME@: connects to the agent, and connects again after each interruption. */
#include "device.h"

#include <korvane_util.h>

#include <glib-unix.h>

#include <stdio.h>

static void on_state(enum korvane_util_state state, int result, korvane_h device, void *user_data)
{
    (void)device;
    (void)user_data;
    const struct korvane_util_result *reason = korvane_util_explain(result);
    printf("%s: %s\n", korvane_util_get_state_name((int)state), reason ? reason->cause : "another reason");
}

static gboolean on_terminate(gpointer loop)
{
    g_main_loop_quit(loop);
    return G_SOURCE_CONTINUE;
}

int main(void)
{
    setvbuf(stdout, NULL, _IOLBF, 0);
    GMainLoop *loop = g_main_loop_new(NULL, FALSE);
    g_unix_signal_add(SIGTERM, on_terminate, loop);
    g_unix_signal_add(SIGINT, on_terminate, loop);
    korvane_util_connection_h connection = NULL;
    if (korvane_util_connect(configure_device, on_state, NULL, &connection) != KORVANE_ERROR_NONE)
        return 1;
    g_main_loop_run(loop);

    korvane_h device = korvane_util_get_handle(connection);
    if (device)
        korvane_stop(device);
    korvane_util_disconnect(connection);
    g_main_loop_unref(loop);
    return 0;
}
