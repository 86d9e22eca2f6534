// Tests of the device with a virtual agent.
#include "device.hpp"

#include <korvane_test.hpp>
#include <korvane_util.hpp>

#include <iostream>

int main()
{
    try {
        korvane::test::Agent agent;
        auto connection = korvane::SupervisedConnection::open(configure_device).value();
        agent.wait_for_call("start", 10000);

        agent.tell("phone connect");
        agent.tell("phone scan");
        agent.until("setup.networks.0.ssid", "\"home\"", 10000);

        agent.tell("restart");
        agent.wait_for_call("start", 10000); // again
    } catch (const std::exception &problem) {
        std::cerr << problem.what() << '\n';
        return 1;
    }
    return 0;
}
