// Tests of the device with a virtual agent.
#include "device.hpp"

#include <korvane_test.hpp>
#include <korvane_util.h>

#include <iostream>

int main()
{
    try {
        korvane::test::Agent agent;
        korvane_util_connection_h connection = nullptr;
        if (korvane_util_connect(configure_device, nullptr, nullptr, &connection) != KORVANE_ERROR_NONE)
            return 1;
        agent.wait_for_call("start", 10000);

        agent.tell("phone connect");
        agent.tell("phone scan");
        agent.until("setup.networks.0.ssid", "\"home\"", 10000);

        agent.tell("restart");
        agent.wait_for_call("start", 10000); // again
        korvane_util_disconnect(connection);
    } catch (const std::exception &problem) {
        std::cerr << problem.what() << '\n';
        return 1;
    }
    return 0;
}
