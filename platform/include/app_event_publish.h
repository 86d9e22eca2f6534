/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_APP_EVENT_PUBLISH_H
#define KORVANE_PLATFORM_APP_EVENT_PUBLISH_H

/* Publishing application events on the host platform. */

#include <stddef.h>

#include "bundle.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Functions return 0 or a negative errno-style code. */

/** NULL when out of memory. */
bundle *bundle_create(void);
/** Tolerates NULL. */
void bundle_free(bundle *data);

/* Copy the value. -EEXIST if the bundle has the key, -EINVAL for NULL and for text that is not UTF-8. */
int bundle_add_str(bundle *data, const char *key, const char *value);
int bundle_add_str_array(bundle *data, const char *key, const char *const *values, int count);
int bundle_add_byte(bundle *data, const char *key, const void *bytes, size_t size);

/**
 * Sends an event to all subscribers. The name is a D-Bus interface and one of its members ("a.b.C.Member"). Blocks a
 * few milliseconds, until the message bus has accepted the event, and logs a failure. With NULL the event has no data.
 */
int event_publish(const char *event_name, bundle *data);

#ifdef __cplusplus
}
#endif

#endif
