/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_PACKAGE_INFO_H
#define KORVANE_PLATFORM_PACKAGE_INFO_H

/* Information about an installed package. Functions return 0 or a negative code. */

#ifdef __cplusplus
extern "C" {
#endif

typedef void *package_info_h;

/** The result of package_info_create() for a package that is not installed. */
#define PACKAGE_INFO_NOT_INSTALLED (-18153359)

/** PACKAGE_INFO_NOT_INSTALLED if the package is not installed; another negative code if the lookup failed. */
int package_info_create(const char *package, package_info_h *info);
/** The caller releases the version with free(). */
int package_info_get_version(package_info_h info, char **version);
/** Tolerates NULL. */
int package_info_destroy(package_info_h info);

#ifdef __cplusplus
}
#endif

#endif
