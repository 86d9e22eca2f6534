/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_KIT_H
#define KORVANE_PLATFORM_KIT_H

/* What the checks share: the options, the kit's agent, and a connection to it. */

#include "kits/common/check.h"

#include <glib.h>
#include <rpc_port.h>
#include <stdbool.h>

struct kit_options {
    char *agent_program; /* argv of the kit's agent as one string; NULL: the platform starts the agent */
    char *agent_id;      /* application id with which the proxy connects */
    char *port_name;
    char *package;         /* an installed package; NULL if the device cannot name one */
    char *version;         /* its version */
    char *publish_command; /* a shell command that announces the start of an update; NULL if there is none */
    int reply_timeout_ms;  /* the platform's timeout for a reply; 0 if it has none */
};

extern struct kit_options kit_options;

/* The kit's agent. The first check that connects starts it. */

/** Starts the agent unless it runs. Returns false, and fails or skips the check, if it cannot. */
bool kit_start_agent(void);
/** Ends the agent. Returns false, and skips the check, if the platform is the one that starts it. */
bool kit_stop_agent(void);

/** A proxy and what it has reported. */
struct kit_link {
    rpc_port_proxy_h proxy;
    rpc_port_h main_port;
    rpc_port_h callback_port;
    bool is_connected;
    bool is_rejected;
    bool is_disconnected;
    int last_result; /* in the callback `rejected` */
    int reports;     /* calls of any callback */
    int disconnections;
    int events;               /* parcels read in `received` */
    int next_event;           /* the number that the next event must have */
    bool in_order;            /* whether each event had that number */
    bool is_own_thread;       /* whether each callback ran on the thread of the main loop */
    rpc_port_h reported_port; /* the port that `connected` received */
    GThread *thread;
};

/** Creates the proxy and registers its callbacks. Fails the check and returns false if that fails. */
bool kit_link_create(struct kit_link *link);
/** Creates the proxy, connects it and waits until it is connected. */
bool kit_link_open(struct kit_link *link);
/** Destroys the proxy, if there is one. */
void kit_link_close(struct kit_link *link);

/* Requests to the kit's agent. agent/commands.h lists the commands. */

/** Sends a command. Returns the result of the send. */
int kit_send(struct kit_link *link, int command, int argument);
/** Waits for a parcel on the main port. Fails the check and returns NULL if none arrives; else destroy the parcel. */
rpc_port_parcel_h kit_read(struct kit_link *link);
/** Sends a command and reads its reply, which must begin with the command. */
bool kit_command(struct kit_link *link, int command, int argument);

/* The checks, by subject. Each function adds its checks to the test program. */

void kit_add_log_checks(void);
void kit_add_package_checks(void);
void kit_add_app_event_checks(void);
void kit_add_parcel_checks(void);
void kit_add_connection_checks(void);
void kit_add_destruction_checks(void);
void kit_add_exchange_checks(void);
void kit_add_delivery_checks(void);

#endif
