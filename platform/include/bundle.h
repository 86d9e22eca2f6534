/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_BUNDLE_H
#define KORVANE_PLATFORM_BUNDLE_H

/* The data of an application event: values by key. The bundle owns the values that these functions return. */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct bundle_s bundle;

int bundle_get_str(bundle *data, const char *key, char **value);
/** NULL if the key has no string array. */
const char **bundle_get_str_array(bundle *data, const char *key, int *length);
int bundle_get_byte(bundle *data, const char *key, void **bytes, size_t *size);

#ifdef __cplusplus
}
#endif

#endif
