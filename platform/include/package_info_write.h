/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_PACKAGE_INFO_WRITE_H
#define KORVANE_PLATFORM_PACKAGE_INFO_WRITE_H

/* The installing side of the host platform's packages: who writes the entries that package_info.h reads. */

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Enters a package, or replaces its entry, in one step: a reader sees the old entry or the new one, also after a power
 * cut. Makes the package directory when it is missing.
 *
 * executable (an absolute path), arguments (quoted as for a shell) and group may be NULL: the package is then not
 * started on demand, started without arguments, or reached by its own user and root only.
 *
 * Returns 0 or a negative errno-style code; an error line says why.
 */
int package_info_install(const char *package, const char *version, const char *executable, const char *arguments,
                         const char *group);
/** 0 also when the package was not installed. */
int package_info_uninstall(const char *package);

#ifdef __cplusplus
}
#endif

#endif
