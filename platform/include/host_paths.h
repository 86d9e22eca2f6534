/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_HOST_PATHS_H
#define KORVANE_PLATFORM_HOST_PATHS_H

/*
 * Where the host platform keeps things, for tools that look after them. The
 * texts are malloc'ed copies, the caller's. Nothing is made or touched.
 *
 * Functions return 0 or a negative errno-style code; an error line says why.
 */

#ifdef __cplusplus
extern "C" {
#endif

/** The directory of all ports. */
int rpc_port_get_directory(char **directory);
/** The socket of an agent's port; its locks lie beside it. */
int rpc_port_get_socket_path(const char *appid, const char *port_name, char **path);
/** The file of a package's entry, installed or not. */
int package_info_get_path(const char *package, char **path);

#ifdef __cplusplus
}
#endif

#endif
