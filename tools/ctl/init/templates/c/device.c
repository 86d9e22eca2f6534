#include "device.h"

#include <stdio.h>
#include <stdlib.h>

/* The phone asks for the networks that the device sees. A real device scans, and replies when the scan has ended. */
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

/* The phone has chosen a network. A real device joins it. */
static void on_access_point(korvane_h device, korvane_ap_info_h ap_info, void *user_data)
{
    (void)device;
    (void)user_data;
    char *ssid = NULL;
    if (korvane_apinfo_get_ssid(ap_info, &ssid) == KORVANE_ERROR_NONE)
        printf("joining %s\n", ssid);
    free(ssid);
}

int configure_device(korvane_h device, void *user_data)
{
    int result = korvane_set_scan_ap_cb(device, on_scan, user_data);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_set_wifi_ap_provisioning_cb(device, on_access_point, user_data);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_set_device_property(device, "@NAME@", 11, 1);
    return result == KORVANE_ERROR_NONE ? korvane_start(device) : result;
}
