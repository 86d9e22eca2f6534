/* SPDX-License-Identifier: Apache-2.0 */
/* An application that prints lines and never flushes them. SIGTERM ends it at once. */
#include <korvane.h>

#include <glib.h>

#include <stdio.h>

static void on_connection(int result, korvane_h device, int status, void *user_data)
{
    (void)user_data;
    if (result != KORVANE_ERROR_NONE || status != KORVANE_CONNECTION_CONNECTED)
        return;
    printf("before the start\n");
    korvane_start(device);
}

int main(void)
{
    korvane_h device = NULL;
    printf("before the connection\n");
    if (korvane_initialize(&device, on_connection, NULL) != KORVANE_ERROR_NONE)
        return 1;
    g_main_loop_run(g_main_loop_new(NULL, FALSE));
}
