/* SPDX-License-Identifier: Apache-2.0 */
/* The setup, apart from the network: confirmations, PINs, provisioning data, language, terms, reset. */
#include "washer.h"

#include <stdlib.h>
#include <string.h>

static void on_status(korvane_h device, int status, void *user_data)
{
    (void)device;
    (void)user_data;
    print("setup status", "%d", status);
}

/* ---- confirmations by the user ----------------------------------------------------------------------------------- */

/* Sends the user's decision. On a real washer the user presses a key; here the command line decides. */
static void answer(const char *question, const char *call, korvane_h device, int (*send)(korvane_h, bool),
                   const struct washer *washer)
{
    bool yes = !washer->refuse_confirm;
    print(question, "the user says %s", yes ? "yes" : "no");
    step(call, send(device, yes));
}

static void on_user_confirm(korvane_h device, void *user_data)
{
    answer("user confirm", "send_user_confirm", device, korvane_send_user_confirm, user_data);
}

static void on_reset_confirm(korvane_h device, void *user_data)
{
    answer("reset confirm", "send_reset_confirm", device, korvane_send_reset_confirm, user_data);
}

static void on_reset_result(korvane_h device, bool result, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    if (!result) {
        print("reset", "did not happen");
        return;
    }
    state_clear(&washer->state);
    wifi_cancel_join(washer);
    washer->joined = false;
    cloud_take_account(washer, NULL);
    washer->signed_up = false;
    print("reset", "done: all that users left here is forgotten");
}

/* ---- PINs -------------------------------------------------------------------------------------------------------- */

static void on_pin(korvane_h device, const char *pin, int value, void *user_data)
{
    (void)device;
    (void)value;
    (void)user_data;
    print("display", "PIN %s", pin);
}

static void on_pin_closed(korvane_h device, void *user_data)
{
    (void)device;
    (void)user_data;
    print("display", "dark");
}

/* This PIN is for the loudspeaker only, so it is not printed. */
static void on_ultrasound_pin(korvane_h device, const char *pin, int value, void *user_data)
{
    (void)device;
    (void)value;
    (void)user_data;
    print("loudspeaker", "plays a PIN of %zu digits", strlen(pin));
}

static void on_ultrasound_stopped(korvane_h device, void *user_data)
{
    (void)device;
    (void)user_data;
    print("loudspeaker", "silent");
}

/* ---- user and place ---------------------------------------------------------------------------------------------- */

/* The data from the phone, the name under which it is printed and stored, and whether it is stored. */
static const struct {
    const char *name;
    int (*get)(korvane_device_prov_info_h info, char **text);
    bool kept;
} provisioned[] = {
    {"language", korvane_devinfo_get_language, true},
    {"country", korvane_devinfo_get_country, true},
    {"date and time", korvane_devinfo_get_datetime, false},
    {"registering phone", korvane_devinfo_get_regist_mobile_device, false},
};

static void on_provisioning(korvane_h device, korvane_device_prov_info_h info, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    for (size_t i = 0; i < G_N_ELEMENTS(provisioned); ++i) {
        char *text = NULL;
        if (provisioned[i].get(info, &text) == KORVANE_ERROR_NONE && *text != '\0') {
            print(provisioned[i].name, "%s", text);
            if (provisioned[i].kept)
                state_set(&washer->state, provisioned[i].name, text);
        }
        free(text);
    }
    print("provisioning", "taken");
}

static void on_language(korvane_h device, unsigned int req_id, const char *type, const char *value, void *user_data)
{
    struct washer *washer = user_data;
    bool known = identity_speaks(value);
    print("language wanted", "%s (%s), %s", value, type, known ? "changed" : "not spoken here");
    if (known)
        state_set(&washer->state, "language", value);
    step("send_provisioning_language_setting_result",
         korvane_send_provisioning_language_setting_result(device, req_id, known));
}

/* ---- the maker's own data ---------------------------------------------------------------------------------------- */

/* This maker's phone application may include the user's account, which is a secret and is never printed. */
static void on_vendor_info(korvane_h device, int value, const char *text, void *user_data)
{
    (void)device;
    struct washer *washer = user_data;
    print("vendor data", "%zu bytes of kind %d", strlen(text), value);
    cJSON *data = cJSON_Parse(text);
    cJSON *account = cJSON_DetachItemFromObjectCaseSensitive(data, "account");
    cJSON_Delete(data);
    if (!account)
        return;
    cloud_take_account(washer, account);
    if (washer->joined)
        cloud_sign_up(washer);
}

static void on_get_requested(korvane_h device, const char *text, int value, void *user_data)
{
    print("vendor data wanted", "%s (%d)", text, value);
    step("set_provisioning_vendor_info", identity_send_vendor_info(device, user_data));
}

static void on_otm_feature(korvane_h device, int feature, void *user_data)
{
    (void)device;
    (void)user_data;
    print("on-boarding feature", "%d", feature);
}

static void on_terms_result(korvane_h device, const char *result, void *user_data)
{
    (void)device;
    (void)user_data;
    print("terms", "the user's answer: %s", result);
}

static void on_stop_soft_ap(korvane_h device, void *user_data)
{
    (void)device;
    (void)user_data;
    print("soft access point", "stopped");
}

REGISTRATION(status_changed, on_status)
REGISTRATION(user_confirm, on_user_confirm)
REGISTRATION(reset_confirm, on_reset_confirm)
REGISTRATION(reset_result, on_reset_result)
REGISTRATION(pin, on_pin, on_pin_closed)
REGISTRATION(ultrasound_pin, on_ultrasound_pin, on_ultrasound_stopped)
REGISTRATION(device_provisioning, on_provisioning)
REGISTRATION(provisioning_language, on_language)
REGISTRATION(provisioning_vendor_info, on_vendor_info)
REGISTRATION(provisioning_get_requested, on_get_requested)
REGISTRATION(otm_support_feature, on_otm_feature)
REGISTRATION(tnc_result, on_terms_result)
REGISTRATION(stop_soft_ap, on_stop_soft_ap)

const struct call setup_registrations[] = {
    REGISTERS(status_changed),
    REGISTERS(user_confirm),
    REGISTERS(reset_confirm),
    REGISTERS(reset_result),
    REGISTERS(pin),
    REGISTERS(ultrasound_pin),
    REGISTERS(device_provisioning),
    REGISTERS(provisioning_language),
    REGISTERS(provisioning_vendor_info),
    REGISTERS(provisioning_get_requested),
    REGISTERS(otm_support_feature),
    REGISTERS(tnc_result),
    REGISTERS(stop_soft_ap),
    {NULL, NULL},
};
