/* SPDX-License-Identifier: Apache-2.0 */
/* The washer's radio, simulated: a file lists the networks that it receives. */
#ifndef WASHER_RADIO_H
#define WASHER_RADIO_H

#include <korvane.h>

#include <glib.h>

enum { LONGEST_SSID = 32 };

struct access_point {
    /* A network name is 1 to 32 bytes in an unknown encoding. */
    char ssid[LONGEST_SSID + 1];
    size_t ssid_length;
    char *bssid;
    char *password; /* NULL: an open network */
    int authtype;
    int enctype;
    int channel;
    int frequency;
    int signal_level;
    int max_rate;
    gboolean gone;
};

/* Returns the access points that the radio receives now, strongest first; NULL, with the reason, if the file cannot be
 * read. Without a path, a built-in list. Release it with g_ptr_array_unref(). */
GPtrArray *radio_scan(const char *path, GError **error);

/* Returns the strongest access point of a network, or the one with this hardware address; NULL if there is none. */
const struct access_point *radio_find(const GPtrArray *scan, const char *ssid, const char *bssid);

/* Returns whether the name can be sent: names are sent as C strings, so a name with a zero byte cannot. */
bool radio_can_send(const struct access_point *access_point);

/* Fills an entry of the reply to a scan. */
int radio_fill_entry(korvane_aplist_h list, int index, const struct access_point *access_point);

#endif
