/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_PACKAGE_INFO_WRITE_H
#define KORVANE_PLATFORM_PACKAGE_INFO_WRITE_H

/* Installing packages on the host platform: writes the entries that package_info.h reads. */

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Installs a package or replaces its entry atomically: a reader sees the old entry or the new one, even after a power
 * cut. Creates the package directory if it is missing.
 *
 * Without an executable (an absolute path) the agent is not started on demand; without arguments (quoted as for a
 * shell) it is started with none; without a group only its own user and root may connect. Each may be NULL.
 *
 * Returns 0, or a negative errno-style code after an error line.
 */
int package_info_install(const char *package, const char *version, const char *executable, const char *arguments,
                         const char *group);
/** Returns 0 if the package is not installed, too. */
int package_info_uninstall(const char *package);

#ifdef __cplusplus
}
#endif

#endif
