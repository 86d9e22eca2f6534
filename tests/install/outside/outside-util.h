/* SPDX-License-Identifier: Apache-2.0 */
#ifndef OUTSIDE_UTIL_H
#define OUTSIDE_UTIL_H

#include <korvane_util.h>

#include <glib.h>

static int configure(korvane_h device, void *loop)
{
    (void)device;
    (void)loop;
    return KORVANE_ERROR_NONE;
}

static void on_state(enum korvane_util_state state, int result, korvane_h device, void *loop)
{
    (void)device;
    if (state == KORVANE_UTIL_NOT_INSTALLED && result == KORVANE_ERROR_NOT_SUPPORTED)
        g_main_loop_quit((GMainLoop *)loop);
}

/* Ends when the connection reports that no agent is installed. */
static bool reports_that_no_agent_is_installed(void)
{
    struct korvane_util_agent agent;
    korvane_util_connection_h connection = NULL;
    GMainLoop *loop = g_main_loop_new(NULL, FALSE);
    if (korvane_util_get_agent(&agent) != KORVANE_ERROR_NONE || agent.is_installed)
        return false;
    if (korvane_util_connect(configure, on_state, loop, &connection) != KORVANE_ERROR_NONE)
        return false;
    g_main_loop_run(loop);
    korvane_util_disconnect(connection);
    g_main_loop_unref(loop);
    return true;
}

#endif
