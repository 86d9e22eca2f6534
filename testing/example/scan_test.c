/* SPDX-License-Identifier: Apache-2.0 */
/* A unit test of an application, here one that answers scans. Start with a copy of this file. See ../README.md. */
#include <korvane.h>
#include <korvane_test.h>

#include <stdio.h>
#include <stdlib.h>

/* ---- the code under test ----------------------------------------------------------------------------------- */

static void on_scan(korvane_h device, int req_id, void *user_data)
{
    (void)user_data;
    korvane_aplist_h list = NULL;
    if (korvane_aplist_create(&list, 1) != KORVANE_ERROR_NONE)
        return;
    korvane_aplist_set_ssid(list, 0, "home");
    korvane_aplist_set_channel(list, 0, 6);
    korvane_send_ap_list(device, list, req_id);
    korvane_aplist_destroy(list);
}

static void on_connection(int result, korvane_h device, int status, void *user_data)
{
    (void)result;
    if (status != KORVANE_CONNECTION_CONNECTED)
        return;
    korvane_set_scan_ap_cb(device, on_scan, NULL);
    *(bool *)user_data = korvane_start(device) == KORVANE_ERROR_NONE;
}

/* ---- the test ---------------------------------------------------------------------------------------------------- */

static korvane_test_agent *agent;

static void check(const char *step, bool succeeded)
{
    printf("%s: %s\n", step, succeeded ? "ok" : korvane_test_problem(agent));
    if (!succeeded)
        exit(EXIT_FAILURE);
}

static bool is_true(void *flag)
{
    return *(const bool *)flag;
}

int main(int argc, char **argv)
{
    const korvane_test_options options = {.version = argc > 1 ? argv[1] : NULL};
    agent = korvane_test_start(&options);
    check("start an agent", agent != NULL);

    korvane_h device = NULL;
    bool started = false;
    check("initialize the library", korvane_initialize(&device, on_connection, &started) == KORVANE_ERROR_NONE);
    check("the application starts its service", korvane_test_run_until(is_true, &started, 2000));
    check("the agent receives the call", korvane_test_wait_for_call(agent, "start", NULL, 2000));

    check("the phone connects", korvane_test_tell(agent, "phone connect"));
    check("the phone asks for the networks", korvane_test_tell(agent, "phone scan"));
    check("the application sends one network", korvane_test_until(agent, "setup.networks.#", "1", 2000));
    check("the network has its name", korvane_test_until(agent, "setup.networks.0.ssid", "\"home\"", 2000));
    check("the application resets nothing", korvane_test_count_calls(agent, "reset") == 0);

    korvane_deinitialize(device);
    korvane_test_stop(agent);
    return EXIT_SUCCESS;
}
