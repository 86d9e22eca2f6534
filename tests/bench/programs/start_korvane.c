/* SPDX-License-Identifier: Apache-2.0 */
/* start_korvane: initialises, waits for the connection, starts the service and reports after the reply. */
#define _GNU_SOURCE
#include "start_report.h"

#include <glib.h>
#include <korvane.h>

static void on_status(int result, korvane_h handle, int status, void *user_data)
{
    (void)user_data;
    if (result != KORVANE_ERROR_NONE || status != KORVANE_CONNECTION_CONNECTED ||
        korvane_start(handle) != KORVANE_ERROR_NONE)
        exit(1);
    report_first_reply();
    korvane_deinitialize(handle);
    exit(0);
}

int main(void)
{
    korvane_h handle;
    if (korvane_initialize(&handle, on_status, NULL) != KORVANE_ERROR_NONE)
        return 1;
    g_main_loop_run(g_main_loop_new(NULL, FALSE));
    return 1;
}
