/* SPDX-License-Identifier: Apache-2.0 */
/* The interface between the parts of the washer. See README.md. */
#ifndef WASHER_H
#define WASHER_H

#include "../common/application.h"
#include "radio.h"
#include "state.h"

#include <cjson/cJSON.h>

/* Sent to the agent, which passes them on to the phone. The numbers are defined by the maker of this washer, whose phone
 * application knows them. */
enum wifi_error {
    WIFI_NETWORK_NOT_FOUND = 1,
    WIFI_WRONG_PASSWORD = 2,
    WIFI_REQUEST_UNREADABLE = 3,
};

struct washer {
    /* From the command line. */
    gboolean refuse_confirm;
    gboolean sign_up;
    char *radio_path;
    char *state_path;
    char *account_path;
    char *csr_path;
    int join_ms;

    struct state state;
    struct wifi_join *join; /* the attempt in progress */
    bool joined;

    cJSON *account; /* the user's account, until the sign-up request is sent */
    bool signed_up;
    bool credentials_asked;
    gint64 session_lost_us; /* 0 while the session is up or has never been */
};

/* Each event's set function takes a callback of its own type. REGISTRATION wraps one as a row of a table: set_pin()
 * calls korvane_set_pin_cb() with the given callbacks. */
#define REGISTRATION(event, ...)                                                                                       \
    static int set_##event(korvane_h device, void *washer)                                                             \
    {                                                                                                                  \
        return korvane_set_##event##_cb(device, __VA_ARGS__, washer);                                                  \
    }
#define REGISTERS(event)                                                                                               \
    {                                                                                                                  \
        "set_" #event "_cb", set_##event                                                                               \
    }

/* setup.c: confirmations, PINs, provisioning data, language, terms, reset. */
extern const struct call setup_registrations[];

/* wifi.c: scans, and joining the chosen network. */
extern const struct call wifi_registrations[];
void wifi_cancel_join(struct washer *washer);

/* identity.c: the description of this washer. */
extern const struct call identity_calls[];
int identity_send_vendor_info(korvane_h device, void *washer);
extern const char device_type[];
bool identity_speaks(const char *language);

/* cloud.c: sign-up, session, names. */
extern const struct call cloud_registrations[];
void cloud_take_account(struct washer *washer, cJSON *account);
void cloud_sign_up(struct washer *washer);
void cloud_follow(struct washer *washer);
void cloud_reset_link(struct washer *washer);

/* credentials.c: certificate and token. */
void credentials_ask(struct washer *washer);

#endif
