/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_BUNDLE_H
#define KORVANE_PLATFORM_BUNDLE_H

/* The data of an application event: values by key. Whatever is handed out stays the bundle's. */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct bundle_s bundle;

int bundle_get_str(bundle *data, const char *key, char **value);
/** NULL when there is no string array under the key. */
const char **bundle_get_str_array(bundle *data, const char *key, int *length);
int bundle_get_byte(bundle *data, const char *key, void **bytes, size_t *size);

#ifdef __cplusplus
}
#endif

#endif
