/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_APP_EVENT_H
#define KORVANE_PLATFORM_APP_EVENT_H

/* Events that other programs publish. Handlers run on the main loop. */

#include "bundle.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef void *event_handler_h;

/** The event data is valid only during the call. */
typedef void (*event_cb)(const char *event_name, bundle *event_data, void *user_data);

int event_add_event_handler(const char *event_name, event_cb callback, void *user_data, event_handler_h *handler);
int event_remove_event_handler(event_handler_h handler);

#ifdef __cplusplus
}
#endif

#endif
