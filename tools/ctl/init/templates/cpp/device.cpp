#include "device.hpp"

#include <cstdlib>
#include <iostream>
#include <memory>

namespace {

/// The phone asks for the networks that the device sees. A real device scans, and replies when the scan has ended.
void on_scan(korvane_h device, int req_id, void *)
{
    korvane_aplist_h created = nullptr;
    if (korvane_aplist_create(&created, 1) != KORVANE_ERROR_NONE)
        return;
    const std::unique_ptr<korvane_aplist_s, decltype(&korvane_aplist_destroy)> list{created, korvane_aplist_destroy};
    korvane_aplist_set_ssid(list.get(), 0, "home");
    korvane_aplist_set_channel(list.get(), 0, 6);
    korvane_send_ap_list(device, list.get(), req_id);
}

/// The phone has chosen a network. A real device joins it.
void on_access_point(korvane_h, korvane_ap_info_h ap_info, void *)
{
    char *returned = nullptr;
    if (korvane_apinfo_get_ssid(ap_info, &returned) != KORVANE_ERROR_NONE)
        return;
    const std::unique_ptr<char, decltype(&std::free)> ssid{returned, std::free};
    std::cout << "joining " << ssid.get() << std::endl;
}

} // namespace

int configure_device(korvane_h device, void *user_data)
{
    int result = korvane_set_scan_ap_cb(device, on_scan, user_data);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_set_wifi_ap_provisioning_cb(device, on_access_point, user_data);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_set_device_property(device, "@NAME@", 11, 1);
    return result == KORVANE_ERROR_NONE ? korvane_start(device) : result;
}
