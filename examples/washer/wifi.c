/* SPDX-License-Identifier: Apache-2.0 */
/* Replies to scans, and joins the network that the phone has chosen. */
#include "washer.h"

#include <stdlib.h>
#include <string.h>

/* ---- scans ------------------------------------------------------------------------------------------------------- */

static GPtrArray *scan(const struct washer *washer)
{
    GError *error = NULL;
    GPtrArray *found = radio_scan(washer->radio_path, &error);
    if (!found)
        print("radio", "%s", error->message);
    g_clear_error(&error);
    return found;
}

static int send_list(korvane_h device, const GPtrArray *found, int count, int req_id)
{
    korvane_aplist_h list = NULL;
    int result = korvane_aplist_create(&list, count);
    if (result != KORVANE_ERROR_NONE)
        return result;
    int index = 0;
    for (guint i = 0; i < found->len && result == KORVANE_ERROR_NONE; ++i)
        if (radio_can_send(found->pdata[i]))
            result = radio_fill_entry(list, index++, found->pdata[i]);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_send_ap_list(device, list, req_id);
    korvane_aplist_destroy(list);
    return result;
}

static void on_scan(korvane_h device, int req_id, void *user_data)
{
    GPtrArray *found = scan(user_data);
    if (!found)
        return;
    int count = 0;
    for (guint i = 0; i < found->len; ++i)
        count += radio_can_send(found->pdata[i]) ? 1 : 0;
    print("scan", "%u access points, %d with a name that can be sent", found->len, count);
    if (count > 0)
        step("send_ap_list", send_list(device, found, count, req_id));
    else
        print("send_ap_list", "left out: there is no empty list, and the phone asks again");
    g_ptr_array_unref(found);
}

/* ---- joining ----------------------------------------------------------------------------------------------------- */

struct wifi_join {
    struct washer *washer;
    guint timer;
    char *ssid;
    char *password;
    char *bssid;
};

void wifi_cancel_join(struct washer *washer)
{
    struct wifi_join *join = washer->join;
    if (!join)
        return;
    washer->join = NULL;
    if (join->timer != 0)
        g_source_remove(join->timer);
    if (join->password)
        explicit_bzero(join->password, strlen(join->password));
    free(join->password);
    free(join->ssid);
    free(join->bssid);
    g_free(join);
}

static void report_failure(enum wifi_error error, const char *why)
{
    print("join", "failed: %s", why);
    korvane_h device = connected_device();
    if (device)
        step("set_wifi_connection_error_code", korvane_set_wifi_connection_error_code(device, (int)error));
}

/* Reports the outcome of joining, after the time that joining takes. Another attempt needs no restart. */
static gboolean on_join_ends(gpointer user_data)
{
    struct wifi_join *join = user_data;
    struct washer *washer = join->washer;
    join->timer = 0;
    GPtrArray *found = scan(washer);
    const struct access_point *chosen = found ? radio_find(found, join->ssid, join->bssid) : NULL;
    if (!chosen) {
        report_failure(WIFI_NETWORK_NOT_FOUND, "there is no such network");
    } else if (chosen->password && strcmp(chosen->password, join->password) != 0) {
        report_failure(WIFI_WRONG_PASSWORD, "the password is wrong");
    } else {
        washer->joined = true;
        print("join", "joined %s on channel %d", join->ssid, chosen->channel);
    }
    if (found)
        g_ptr_array_unref(found);
    wifi_cancel_join(washer);
    if (washer->joined)
        cloud_sign_up(washer);
    return G_SOURCE_REMOVE;
}

/* The candidates are other access points of the network, for radios that roam; this radio only counts them. */
static void print_candidates(korvane_ap_info_h ap_info)
{
    char *text = NULL;
    if (korvane_apinfo_get_candidate_ap(ap_info, &text) == KORVANE_ERROR_NONE && text) {
        cJSON *candidates = cJSON_Parse(text);
        print("candidates", "%d", cJSON_IsArray(candidates) ? cJSON_GetArraySize(candidates) : 0);
        cJSON_Delete(candidates);
    }
    free(text);
}

static void on_access_point(korvane_h device, korvane_ap_info_h ap_info, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    wifi_cancel_join(washer); /* the user has chosen again */
    washer->joined = false;
    struct wifi_join *join = g_new0(struct wifi_join, 1);
    join->washer = washer;
    washer->join = join;
    /* Without a handle, the data of the event could not be decoded. */
    if (!ap_info || korvane_apinfo_get_ssid(ap_info, &join->ssid) != KORVANE_ERROR_NONE || !join->ssid) {
        report_failure(WIFI_REQUEST_UNREADABLE, "the phone's choice cannot be read");
        wifi_cancel_join(washer);
        return;
    }
    /* An open network has no password; an old agent sends no address. */
    if (korvane_apinfo_get_password(ap_info, &join->password) != KORVANE_ERROR_NONE || !join->password)
        join->password = calloc(1, 1);
    korvane_apinfo_get_bssid(ap_info, &join->bssid);
    print("join", "trying %s", join->ssid);
    print_candidates(ap_info);
    join->timer = g_timeout_add((guint)washer->join_ms, on_join_ends, join);
}

REGISTRATION(scan_ap, on_scan)
REGISTRATION(wifi_ap_provisioning, on_access_point)

const struct call wifi_registrations[] = {
    REGISTERS(scan_ap),
    REGISTERS(wifi_ap_provisioning),
    {NULL, NULL},
};
