/* Tests of the device with a virtual agent. */
#include "device.h"

#include <korvane_test.h>
#include <korvane_util.h>

#include <stdio.h>
#include <stdlib.h>

static korvane_test_agent *agent;

static void check(const char *step, bool succeeded)
{
    printf("%s: %s\n", step, succeeded ? "ok" : korvane_test_problem(agent));
    if (!succeeded)
        exit(EXIT_FAILURE);
}

int main(void)
{
    agent = korvane_test_start(NULL);
    check("start an agent", agent != NULL);
    korvane_util_connection_h connection = NULL;
    check("begin to connect", korvane_util_connect(configure_device, NULL, NULL, &connection) == KORVANE_ERROR_NONE);
    check("the device starts its service", korvane_test_wait_for_call(agent, "start", NULL, 10000));

    check("the phone connects", korvane_test_tell(agent, "phone connect"));
    check("the phone asks for the networks", korvane_test_tell(agent, "phone scan"));
    check("the device sends its network", korvane_test_until(agent, "setup.networks.0.ssid", "\"home\"", 10000));

    check("the agent restarts", korvane_test_tell(agent, "restart"));
    check("the device starts its service again", korvane_test_wait_for_call(agent, "start", NULL, 10000));

    korvane_util_disconnect(connection);
    korvane_test_stop(agent);
    return EXIT_SUCCESS;
}
