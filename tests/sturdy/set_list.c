/* SPDX-License-Identifier: Apache-2.0 */
/* Makes a list of access points and sets the members of every entry: set_list COUNT forward|backward */
#include <korvane.h>

#include <stdlib.h>
#include <string.h>

static int set_entry(korvane_aplist_h list, int idx)
{
    return korvane_aplist_set_ssid(list, idx, "network") | korvane_aplist_set_bssid(list, idx, "02:00:5e:00:00:01") |
           korvane_aplist_set_authtype(list, idx, 3) | korvane_aplist_set_enctype(list, idx, 4) |
           korvane_aplist_set_channel(list, idx, 11) | korvane_aplist_set_signal_level(list, idx, -40) |
           korvane_aplist_set_max_rate(list, idx, 54) | korvane_aplist_set_frequency(list, idx, 2462);
}

int main(int argc, char **argv)
{
    korvane_aplist_h list = NULL;
    int count, i, failed = 0;

    if (argc != 3)
        return 2;
    count = atoi(argv[1]);
    if (korvane_aplist_create(&list, count) != KORVANE_ERROR_NONE)
        return 1;
    for (i = 0; i < count; ++i)
        failed |= set_entry(list, strcmp(argv[2], "backward") == 0 ? count - 1 - i : i);
    return korvane_aplist_destroy(list) != KORVANE_ERROR_NONE || failed;
}
