/* SPDX-License-Identifier: Apache-2.0 */
/* The washer's radio. There is none: a file says what it would receive. */
#ifndef WASHER_RADIO_H
#define WASHER_RADIO_H

#include <korvane.h>

#include <glib.h>

enum { LONGEST_SSID = 32 };

struct access_point {
    /* A network name is any 1 to 32 bytes, and rarely says in which encoding. */
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

/* What the radio receives now, strongest first; NULL, with the reason, when the file cannot be read. Without a path, a
 * list that is built in. To be released with g_ptr_array_unref(). */
GPtrArray *radio_scan(const char *path, GError **error);

/* The strongest access point of a network, or the one with this hardware address; NULL when there is none. */
const struct access_point *radio_find(const GPtrArray *scan, const char *ssid, const char *bssid);

/* Whether the name can be told: names travel as C strings, so one with a zero byte in it cannot. */
bool radio_can_tell(const struct access_point *access_point);

/* Fills an entry of the answer to a scan. */
int radio_tell(korvane_aplist_h list, int index, const struct access_point *access_point);

#endif
