/* SPDX-License-Identifier: Apache-2.0 */
/* The description of this washer, sent to the agent before the service starts. */
#include "washer.h"

#include <stdlib.h>
#include <string.h>

const char device_type[] = "washer";

static const char device_name[] = "Washer";
static const char model[] = "WM-7";
static const char firmware[] = "4.1.2";
static const char *const languages[] = {"en-GB", "en-US", "de-DE", "fr-FR", "ko-KR"};

/* The agent defines these bit masks and codes. */
enum { WIFI_MODE_BGN = 0x0b, WIFI_FREQ_2_4_AND_5_GHZ = 0x03 };
enum { TERMS_OF_USE = 0x01, NOT_YET_AGREED = 0 };
static const int authtypes[] = {0, 4, 5};

bool identity_speaks(const char *language)
{
    for (size_t i = 0; i < G_N_ELEMENTS(languages); ++i)
        if (strcmp(languages[i], language) == 0)
            return true;
    return false;
}

static int send_property(korvane_h device, void *washer)
{
    (void)washer;
    int result = korvane_set_device_property_with_wifi_authtype(
        device, device_name, WIFI_MODE_BGN, WIFI_FREQ_2_4_AND_5_GHZ, authtypes, (int)G_N_ELEMENTS(authtypes));
    if (result != KORVANE_ERROR_AGENT_VERSION_LOWER)
        return result;
    return korvane_set_device_property(device, device_name, WIFI_MODE_BGN, WIFI_FREQ_2_4_AND_5_GHZ);
}

static int send_platform(korvane_h device, void *washer)
{
    (void)washer;
    korvane_platform_info_h info = NULL;
    int result = korvane_platforminfo_create(&info);
    if (result != KORVANE_ERROR_NONE)
        return result;
    /* A field that is newer than the agent is refused and left out. */
    korvane_platforminfo_set_model_number(info, model);
    korvane_platforminfo_set_platform_version(info, "4");
    korvane_platforminfo_set_vendor_id(info, "vendor-0001");
    korvane_platforminfo_set_manufacture_date(info, "2026-05-04");
    korvane_platforminfo_set_firmware_version(info, firmware);
    result = korvane_set_platform_info(device, info);
    korvane_platforminfo_destroy(info);
    return result;
}

static int send_profile(korvane_h device, void *user_data)
{
    struct washer *washer = user_data;
    korvane_device_profile_info_h profile = NULL;
    int result = korvane_device_profile_info_create(&profile);
    if (result != KORVANE_ERROR_NONE)
        return result;
    char *nick = state_get(&washer->state, "nick name");
    char *language = state_get(&washer->state, "language");
    korvane_device_profile_info_set_nick(profile, nick ? nick : device_name);
    korvane_device_profile_info_set_locale(profile, language ? language : languages[0]);
    korvane_device_profile_info_set_serial_number(profile, "WM7-000001");
    g_free(language);
    g_free(nick);
    result = korvane_set_device_profile_info(device, profile);
    korvane_device_profile_info_destroy(profile);
    return result;
}

static int send_terms(korvane_h device, void *washer)
{
    (void)washer;
    korvane_tnc_info_h terms = NULL;
    int result = korvane_tnc_info_create(&terms);
    if (result != KORVANE_ERROR_NONE)
        return result;
    korvane_tncinfo_set_version(terms, "2026-01");
    korvane_tncinfo_set_header(terms, "Terms of use of this washer");
    result = korvane_set_tnc_info(device, terms);
    korvane_tnc_info_destroy(terms);
    return result;
}

static int send_terms_url(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_tnc_url(device, "https://washer.example/terms");
}

static int send_terms_type(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_tnc_type(device, TERMS_OF_USE);
}

static int send_terms_status(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_tnc_status(device, NOT_YET_AGREED);
}

static int send_last_status(korvane_h device, void *washer)
{
    (void)washer;
    korvane_last_status_info_h status = NULL;
    int result = korvane_laststatusinfo_create(&status);
    if (result != KORVANE_ERROR_NONE)
        return result;
    korvane_laststatusinfo_set_timestamp(status, (int)(g_get_real_time() / G_USEC_PER_SEC));
    korvane_laststatusinfo_set_error_code(status, "0");
    result = korvane_set_last_status_info(device, status);
    korvane_laststatusinfo_destroy(status);
    return result;
}

static int send_name(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_device_name(device, device_name);
}

static int send_type(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_device_type_with_device_no(device, 0, device_type);
}

static int send_languages(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_language_list(device, languages, (int)G_N_ELEMENTS(languages));
}

static int send_setup_version(korvane_h device, void *washer)
{
    (void)washer;
    return korvane_set_easysetup_version_info(device, "1.0");
}

int identity_send_vendor_info(korvane_h device, void *user_data)
{
    const struct washer *washer = user_data;
    cJSON *info = cJSON_CreateObject();
    cJSON_AddStringToObject(info, "model", model);
    cJSON_AddStringToObject(info, "firmware", firmware);
    cJSON_AddBoolToObject(info, "joined", washer->joined);
    char *text = cJSON_PrintUnformatted(info);
    int result = text ? korvane_set_provisioning_vendor_info(device, text) : KORVANE_ERROR_OUT_OF_MEMORY;
    cJSON_free(text);
    cJSON_Delete(info);
    return result;
}

const struct call identity_calls[] = {
    {"set_device_property", send_property},
    {"set_device_name", send_name},
    {"set_device_type_with_device_no", send_type},
    {"set_platform_info", send_platform},
    {"set_device_profile_info", send_profile},
    {"set_last_status_info", send_last_status},
    {"set_language_list", send_languages},
    {"set_easysetup_version_info", send_setup_version},
    {"set_provisioning_vendor_info", identity_send_vendor_info},
    {"set_tnc_info", send_terms},
    {"set_tnc_url", send_terms_url},
    {"set_tnc_type", send_terms_type},
    {"set_tnc_status", send_terms_status},
    {NULL, NULL},
};
