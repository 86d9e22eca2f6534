/* SPDX-License-Identifier: Apache-2.0 */
/* The test of an application of its own: it reaches an agent that only this test sees. */
#include <korvane.h>
#include <korvane_test.h>

#include <stdio.h>

static void on_connection(int code, korvane_h device, int status, void *user_data)
{
    (void)device;
    if (code == KORVANE_ERROR_NONE && status == KORVANE_CONNECTION_CONNECTED)
        *(bool *)user_data = true;
}

static bool is_true(void *flag)
{
    return *(const bool *)flag;
}

int main(void)
{
    korvane_test_agent *agent = korvane_test_start(NULL);
    if (!agent) {
        puts(korvane_test_problem(NULL));
        return 1;
    }
    bool connected = false;
    korvane_h device = NULL;
    const int result = korvane_initialize(&device, on_connection, &connected);
    korvane_test_run_until(is_true, &connected, 5000);
    printf("korvane_initialize(): %d, connected: %d\n", result, connected);
    if (device)
        korvane_deinitialize(device);
    korvane_test_stop(agent);
    return result == KORVANE_ERROR_NONE && connected ? 0 : 1;
}
