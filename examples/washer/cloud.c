/* SPDX-License-Identifier: Apache-2.0 */
/* The cloud: sign-up, session, names, status and other events from it. */
#include "washer.h"

#include <string.h>

/* ---- sign-up ----------------------------------------------------------------------------------------------------- */

/* The members of an account, and their setters. */
static const struct {
    const char *name;
    int (*set)(korvane_cloud_info_h info, const char *text);
} account_texts[] = {
    {"region", korvane_cloudinfo_set_region},
    {"auth_provider", korvane_cloudinfo_set_auth_provider},
    {"access_token", korvane_cloudinfo_set_access_token},
    {"refresh_token", korvane_cloudinfo_set_refresh_token},
    {"user_id", korvane_cloudinfo_set_user_id},
    {"client_id", korvane_cloudinfo_set_client_id},
    {"ci_server", korvane_cloudinfo_set_cloud_interface_server},
    {"deploy_env", korvane_cloudinfo_set_deploy_environment},
};

void cloud_take_account(struct washer *washer, cJSON *account)
{
    cJSON_Delete(washer->account);
    washer->account = account;
}

static int sign_up(korvane_h device, const cJSON *account)
{
    korvane_cloud_info_h info = NULL;
    int result = korvane_cloudinfo_create(&info);
    if (result != KORVANE_ERROR_NONE)
        return result;
    for (size_t i = 0; i < G_N_ELEMENTS(account_texts) && result == KORVANE_ERROR_NONE; ++i) {
        const char *text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(account, account_texts[i].name));
        if (text)
            result = account_texts[i].set(info, text);
        if (result == KORVANE_ERROR_AGENT_VERSION_LOWER)
            result = KORVANE_ERROR_NONE; /* an agent before 2.0 chooses its server itself */
    }
    if (result == KORVANE_ERROR_NONE)
        result = korvane_sign_up_cloud(device, info);
    korvane_cloudinfo_destroy(info);
    return result;
}

/* Signs up, unless there is no account or the device is signed up already. */
void cloud_sign_up(struct washer *washer)
{
    korvane_h device = connected_device();
    if (!device || !washer->account || washer->signed_up)
        return;
    if (step("sign_up_cloud", sign_up(device, washer->account)))
        cloud_take_account(washer, NULL); /* tokens are not kept longer than needed */
}

static void on_signup(korvane_h device, bool status, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    washer->signed_up = status;
    print("cloud account", "%s", status ? "signed up" : "signed off");
}

/* ---- the session ------------------------------------------------------------------------------------------------- */

static void on_signin(korvane_h device, bool status, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    if (!status) {
        print("cloud session", "signed out");
        return;
    }
    if (washer->session_lost_us != 0)
        print("cloud session", "back after %" G_GINT64_FORMAT " ms",
              (g_get_monotonic_time() - washer->session_lost_us) / 1000);
    else
        print("cloud session", "signed in");
    washer->session_lost_us = 0;
    credentials_ask(washer);
}

/* The agent restores the session by itself, so the washer only prints the event. */
static void on_session_lost(korvane_h device, int last_error_code, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    print("cloud session", "lost, error %d", last_error_code);
    washer->session_lost_us = g_get_monotonic_time();
}

static void on_keepalive(korvane_h device, int result, void *user_data)
{
    (void)device;
    (void)user_data;
    print("keep-alive", "result %d", result);
}

/* Reads the status at the start of the link, because events report only later changes. */
void cloud_follow(struct washer *washer)
{
    korvane_h device = connected_device();
    bool signed_in = false;
    washer->signed_up = false;
    if (step("get_signup_status", korvane_get_signup_status(device, &washer->signed_up)) &&
        step("get_signin_status", korvane_get_signin_status(device, &signed_in)))
        print("cloud", "%s, %s", washer->signed_up ? "signed up" : "not signed up",
              signed_in ? "signed in" : "not signed in");
    if (signed_in)
        credentials_ask(washer);
    if (washer->sign_up || washer->joined)
        cloud_sign_up(washer);
}

void cloud_reset_link(struct washer *washer)
{
    washer->credentials_asked = false; /* pending requests ended with the link */
    washer->session_lost_us = 0;
}

/* ---- other events ------------------------------------------------------------------------------------------------ */

static void on_renamed(korvane_h device, int device_no, const char *nick, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    if (device_no == 0)
        state_set(&washer->state, "nick name", nick);
    print("nick name", "%s (device %d)", nick, device_no);
}

static void on_last_status(korvane_h device, const char *last_status, void *user_data)
{
    (void)device;
    (void)user_data;
    print("last status", "%s", last_status);
}

static void on_device_list(korvane_h device, const char *const *device_ids, int count, void *user_data)
{
    (void)device;
    (void)user_data;
    enum { FEW = 8 };
    GString *ids = g_string_new(NULL);
    for (int i = 0; i < MIN(count, (int)FEW); ++i)
        g_string_append_printf(ids, "%s%s", i > 0 ? ", " : "", device_ids[i]);
    print("cloud devices", "%d: %s%s", count, ids->str, count > (int)FEW ? ", ..." : "");
    g_string_free(ids, TRUE);
}

static void on_diagnostics(korvane_h device, int value, const char *text, void *user_data)
{
    (void)device;
    (void)user_data;
    print("diagnostics wanted", "%s (%d)", text, value);
}

REGISTRATION(signup_status_changed, on_signup)
REGISTRATION(signin_status_changed, on_signin)
REGISTRATION(tcp_session_disconnected, on_session_lost)
REGISTRATION(keepalive_result, on_keepalive)
REGISTRATION(nick_changed, on_renamed)
REGISTRATION(last_status_changed, on_last_status)
REGISTRATION(cloud_device_list, on_device_list)
REGISTRATION(diagnostics, on_diagnostics)

const struct call cloud_registrations[] = {
    REGISTERS(signup_status_changed), REGISTERS(signin_status_changed), REGISTERS(tcp_session_disconnected),
    REGISTERS(keepalive_result),      REGISTERS(nick_changed),          REGISTERS(last_status_changed),
    REGISTERS(cloud_device_list),     REGISTERS(diagnostics),           {NULL, NULL},
};
