#include "device.hpp"

#include <iostream>

namespace {

/// The phone asks for the networks that the device sees. A real device scans, and replies when the scan has ended.
void reply_to_scan(korvane::Device &device, int req_id)
{
    korvane::AccessPoint home;
    home.ssid = "home";
    home.channel = 6;
    device.send_ap_list({home}, req_id).value();
}

/// The phone has chosen a network. A real device joins it.
void join(const korvane::ChosenAccessPoint &chosen)
{
    std::cout << "joining " << chosen.ssid().value_or("a network without a name") << std::endl;
}

} // namespace

void configure_device(korvane::Device &device)
{
    device.on_scan_ap([&device](int req_id) { reply_to_scan(device, req_id); }).value().keep();
    device.on_wifi_ap_provisioning(join).value().keep();
    device.set_device_property("@NAME@", 11, 1).value();
    device.start().value();
}
