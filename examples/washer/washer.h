/* SPDX-License-Identifier: Apache-2.0 */
/* A washer: what its parts know of each other. See README.md. */
#ifndef WASHER_H
#define WASHER_H

#include "../common/application.h"
#include "radio.h"
#include "state.h"

#include <cjson/cJSON.h>

/* The agent passes these on to the phone, which shows what to do. The numbers are this washer's own: its phone
 * application knows them. */
enum wifi_error {
    WIFI_NETWORK_NOT_FOUND = 1,
    WIFI_WRONG_PASSWORD = 2,
    WIFI_REQUEST_UNREADABLE = 3,
};

struct washer {
    /* As the command line has it. */
    gboolean refuse_confirm;
    gboolean sign_up;
    char *radio_path;
    char *state_path;
    char *account_path;
    char *csr_path;
    int join_ms;

    struct state state;
    struct wifi_join *join; /* the attempt under way */
    bool joined;

    cJSON *account; /* the user's, until the sign-up has been asked for */
    bool signed_up;
    bool credentials_asked;
    gint64 session_lost_us; /* 0 while the session is up or has never been */
};

/* Each event's setter takes a callback of its own type. This makes it a row of a table: set_pin() for
 * korvane_set_pin_cb() with the callbacks that are given. */
#define REGISTRATION(event, ...)                                                                                       \
    static int set_##event(korvane_h device, void *washer)                                                             \
    {                                                                                                                  \
        return korvane_set_##event##_cb(device, __VA_ARGS__, washer);                                                  \
    }
#define REGISTERS(event)                                                                                               \
    {                                                                                                                  \
        "set_" #event "_cb", set_##event                                                                               \
    }

/* setup.c: what happens between the phone, the washer and its user. */
extern const struct call setup_registrations[];

/* wifi.c: scans, and joining the network that the phone has chosen. */
extern const struct call wifi_registrations[];
void wifi_forget(struct washer *washer);

/* identity.c: what the agent is told of this washer. */
extern const struct call identity_calls[];
int identity_give_vendor_info(korvane_h device, void *washer);
extern const char device_type[];
bool identity_speaks(const char *language);

/* cloud.c: sign-up, session, names. */
extern const struct call cloud_registrations[];
void cloud_take_account(struct washer *washer, cJSON *account);
void cloud_sign_up(struct washer *washer);
void cloud_follow(struct washer *washer);
void cloud_forget(struct washer *washer);

/* credentials.c: certificate and token. */
void credentials_ask(struct washer *washer);

#endif
