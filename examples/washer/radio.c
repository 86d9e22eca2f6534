/* SPDX-License-Identifier: Apache-2.0 */
#include "radio.h"

#include <cjson/cJSON.h>

#include <limits.h>
#include <stddef.h>
#include <string.h>

static const char built_in[] =
    "[{\"ssid\":\"home\",\"bssid\":\"02:00:00:00:00:01\",\"authtype\":4,\"enctype\":3,\"channel\":6,"
    "\"frequency\":2437,\"signal_level\":-48,\"max_rate\":144,\"password\":\"laundry day\"},"
    "{\"ssid\":\"home\",\"bssid\":\"02:00:00:00:00:02\",\"authtype\":4,\"enctype\":3,\"channel\":44,"
    "\"frequency\":5220,\"signal_level\":-61,\"max_rate\":866,\"password\":\"laundry day\"},"
    "{\"ssid\":\"caf\xc3\xa9\",\"bssid\":\"02:00:00:00:00:03\",\"channel\":11,"
    "\"frequency\":2462,\"signal_level\":-70,\"max_rate\":54}]";

/* The numbers of an access point: their names in the file, their places in the struct, their setters. */
static const struct number {
    const char *name;
    size_t offset;
    int (*set)(korvane_aplist_h list, int index, int value);
} numbers[] = {
    {"authtype", offsetof(struct access_point, authtype), korvane_aplist_set_authtype},
    {"enctype", offsetof(struct access_point, enctype), korvane_aplist_set_enctype},
    {"channel", offsetof(struct access_point, channel), korvane_aplist_set_channel},
    {"signal_level", offsetof(struct access_point, signal_level), korvane_aplist_set_signal_level},
    {"max_rate", offsetof(struct access_point, max_rate), korvane_aplist_set_max_rate},
    {"frequency", offsetof(struct access_point, frequency), korvane_aplist_set_frequency},
};

static void *member(struct access_point *access_point, size_t offset)
{
    return (char *)access_point + offset;
}

static void free_access_point(gpointer item)
{
    struct access_point *access_point = item;
    g_free(access_point->bssid);
    g_free(access_point->password);
    g_free(access_point);
}

/* ---- reading ----------------------------------------------------------------------------------------------------- */

/* Sets an error about a member, or about the whole access point if `name` is NULL. Returns false. */
static bool wrong(GError **error, int place, const char *name, const char *problem)
{
    g_set_error(error, g_quark_from_static_string("radio"), 0, "access point %d: %s%s%s %s", place, name ? "\"" : "",
                name ? name : "it", name ? "\"" : "", problem);
    return false;
}

static bool read_text(const cJSON *object, const char *name, char **text, int place, GError **error)
{
    const cJSON *value = cJSON_GetObjectItemCaseSensitive(object, name);
    if (value && !cJSON_IsString(value))
        return wrong(error, place, name, "is a text");
    *text = value ? g_strdup(value->valuestring) : NULL;
    return true;
}

static bool set_name(struct access_point *access_point, const char *bytes, size_t length, int place, GError **error)
{
    if (length < 1 || length > LONGEST_SSID)
        return wrong(error, place, NULL, "has a name of 1 to 32 bytes");
    memcpy(access_point->ssid, bytes, length);
    access_point->ssid_length = length;
    return true;
}

static bool set_name_by_hex(struct access_point *access_point, const char *hex, int place, GError **error)
{
    size_t digits = strlen(hex);
    char bytes[LONGEST_SSID];
    if (digits % 2 != 0 || digits / 2 > LONGEST_SSID || strspn(hex, "0123456789abcdefABCDEF") != digits)
        return wrong(error, place, "ssid_hex", "is 1 to 32 pairs of hexadecimal digits");
    for (size_t i = 0; i < digits / 2; ++i)
        bytes[i] = (char)(g_ascii_xdigit_value(hex[2 * i]) << 4 | g_ascii_xdigit_value(hex[2 * i + 1]));
    return set_name(access_point, bytes, digits / 2, place, error);
}

static bool read_name(const cJSON *object, struct access_point *access_point, int place, GError **error)
{
    char *text = NULL;
    char *hex = NULL;
    bool good = read_text(object, "ssid", &text, place, error) && read_text(object, "ssid_hex", &hex, place, error);
    if (good && !text == !hex)
        good = wrong(error, place, NULL, "has either \"ssid\" or \"ssid_hex\"");
    else if (good)
        good = text ? set_name(access_point, text, strlen(text), place, error)
                    : set_name_by_hex(access_point, hex, place, error);
    g_free(text);
    g_free(hex);
    return good;
}

static bool read_number(const cJSON *object, const struct number *number, struct access_point *access_point, int place,
                        GError **error)
{
    const cJSON *value = cJSON_GetObjectItemCaseSensitive(object, number->name);
    if (!value)
        return true;
    double given = cJSON_GetNumberValue(value); /* NaN if the value is not a number */
    if (!(given >= INT_MIN && given <= INT_MAX) || given != (double)(int)given)
        return wrong(error, place, number->name, "is a whole number of 32 bits");
    *(int *)member(access_point, number->offset) = (int)given;
    return true;
}

/* Refuses unknown members, so that a misspelt name is reported. */
static bool knows_members(const cJSON *object, int place, GError **error)
{
    static const char *const others[] = {"ssid", "ssid_hex", "bssid", "password", "gone", NULL};
    for (const cJSON *item = object->child; item; item = item->next) {
        bool known = g_strv_contains(others, item->string);
        for (size_t i = 0; i < G_N_ELEMENTS(numbers); ++i)
            known = known || strcmp(numbers[i].name, item->string) == 0;
        if (!known)
            return wrong(error, place, item->string, "is not known");
    }
    return true;
}

static bool read_texts_and_numbers(const cJSON *object, struct access_point *access_point, int place, GError **error)
{
    if (!read_name(object, access_point, place, error) ||
        !read_text(object, "bssid", &access_point->bssid, place, error) ||
        !read_text(object, "password", &access_point->password, place, error))
        return false;
    for (size_t i = 0; i < G_N_ELEMENTS(numbers); ++i)
        if (!read_number(object, &numbers[i], access_point, place, error))
            return false;
    return true;
}

static bool read_access_point(const cJSON *object, struct access_point *access_point, int place, GError **error)
{
    if (!cJSON_IsObject(object))
        return wrong(error, place, NULL, "is no object");
    if (!knows_members(object, place, error) || !read_texts_and_numbers(object, access_point, place, error))
        return false;
    const cJSON *gone = cJSON_GetObjectItemCaseSensitive(object, "gone");
    if (gone && !cJSON_IsBool(gone))
        return wrong(error, place, "gone", "is true or false");
    access_point->gone = cJSON_IsTrue(gone);
    return true;
}

static gint stronger_first(gconstpointer a, gconstpointer b)
{
    const struct access_point *const *one = a;
    const struct access_point *const *other = b;
    return ((*one)->signal_level < (*other)->signal_level) - ((*one)->signal_level > (*other)->signal_level);
}

static GPtrArray *read_all(const char *text, GError **error)
{
    cJSON *list = cJSON_ParseWithOpts(text, NULL, true);
    GPtrArray *all = g_ptr_array_new_with_free_func(free_access_point);
    bool good = cJSON_IsArray(list);
    if (!good)
        g_set_error(error, g_quark_from_static_string("radio"), 0, "not a JSON array of access points");
    int place = 1;
    for (const cJSON *item = good ? list->child : NULL; item && good; item = item->next, ++place) {
        struct access_point *access_point = g_new0(struct access_point, 1);
        good = read_access_point(item, access_point, place, error);
        if (good && !access_point->gone)
            g_ptr_array_add(all, access_point);
        else
            free_access_point(access_point);
    }
    cJSON_Delete(list);
    if (!good) {
        g_ptr_array_unref(all);
        return NULL;
    }
    g_ptr_array_sort(all, stronger_first);
    return all;
}

GPtrArray *radio_scan(const char *path, GError **error)
{
    if (!path)
        return read_all(built_in, error);
    char *text = NULL;
    if (!g_file_get_contents(path, &text, NULL, error))
        return NULL;
    GPtrArray *scan = read_all(text, error);
    g_free(text);
    if (!scan)
        g_prefix_error(error, "%s: ", path);
    return scan;
}

/* ---- using ------------------------------------------------------------------------------------------------------- */

const struct access_point *radio_find(const GPtrArray *scan, const char *ssid, const char *bssid)
{
    for (guint i = 0; i < scan->len; ++i) {
        const struct access_point *access_point = scan->pdata[i];
        bool same_name =
            access_point->ssid_length == strlen(ssid) && memcmp(access_point->ssid, ssid, strlen(ssid)) == 0;
        bool same_place =
            !bssid || *bssid == '\0' || (access_point->bssid && g_ascii_strcasecmp(access_point->bssid, bssid) == 0);
        if (same_name && same_place)
            return access_point;
    }
    return NULL;
}

bool radio_can_send(const struct access_point *access_point)
{
    return memchr(access_point->ssid, '\0', access_point->ssid_length) == NULL;
}

int radio_fill_entry(korvane_aplist_h list, int index, const struct access_point *access_point)
{
    int result = korvane_aplist_set_ssid(list, index, access_point->ssid);
    if (result == KORVANE_ERROR_NONE && access_point->bssid)
        result = korvane_aplist_set_bssid(list, index, access_point->bssid);
    for (size_t i = 0; i < G_N_ELEMENTS(numbers) && result == KORVANE_ERROR_NONE; ++i) {
        const int *value = (const int *)(const void *)((const char *)access_point + numbers[i].offset);
        result = numbers[i].set(list, index, *value);
        if (result == KORVANE_ERROR_AGENT_VERSION_LOWER)
            result = KORVANE_ERROR_NONE; /* agents before 2.3 have no frequency */
    }
    return result;
}
