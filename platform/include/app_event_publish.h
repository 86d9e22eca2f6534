/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_APP_EVENT_PUBLISH_H
#define KORVANE_PLATFORM_APP_EVENT_PUBLISH_H

/* The announcing side of the host platform's application events: bundles to fill, and a way to send them. */

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

/* The values are copied. -EEXIST when the key is there already, -EINVAL for what is NULL or text that is not UTF-8. */
int bundle_add_str(bundle *data, const char *key, const char *value);
int bundle_add_str_array(bundle *data, const char *key, const char *const *values, int count);
int bundle_add_byte(bundle *data, const char *key, const void *bytes, size_t size);

/**
 * Announces an event to whoever listens. The name is that of a D-Bus interface and a member of it ("a.b.C.Member").
 * Blocks until the message bus has taken the event, a few milliseconds; a failure is logged. NULL for an event
 * without data.
 */
int event_publish(const char *event_name, bundle *data);

#ifdef __cplusplus
}
#endif

#endif
