/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_HOST_PATHS_H
#define KORVANE_PLATFORM_HOST_PATHS_H

/*
 * Paths of the host platform, for tools. The caller releases a path with
 * free(). The functions do not touch the file system.
 *
 * Functions return 0, or a negative errno-style code after an error line.
 */

#ifdef __cplusplus
extern "C" {
#endif

/** The runtime directory. */
int rpc_port_get_directory(char **directory);
/** The socket of an agent's port. Its lock files are in the same directory. */
int rpc_port_get_socket_path(const char *appid, const char *port_name, char **path);
/** The file of a package's entry, whether the package is installed or not. */
int package_info_get_path(const char *package, char **path);

#ifdef __cplusplus
}
#endif

#endif
