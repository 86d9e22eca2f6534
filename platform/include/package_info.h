/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_PACKAGE_INFO_H
#define KORVANE_PLATFORM_PACKAGE_INFO_H

/* What the package manager knows of an installed package. Functions return 0 or a negative code. */

#ifdef __cplusplus
extern "C" {
#endif

typedef void *package_info_h;

/** -18153359 for a package that is not installed; any other negative code for a failure to find out. */
int package_info_create(const char *package, package_info_h *info);
/** The version is a malloc'ed copy, the caller's. */
int package_info_get_version(package_info_h info, char **version);
/** Tolerates NULL. */
int package_info_destroy(package_info_h info);

#ifdef __cplusplus
}
#endif

#endif
