// SPDX-License-Identifier: Apache-2.0
#include <host_paths.h>

#include <cerrno>
#include <cstring>

#include "platform/host/packages/package_entry.hpp"
#include "runtime_directory.hpp"

using namespace kv::host;

namespace {

/// The caller owns the copy.
int copy_to(const char *text, char **out)
{
    *out = strdup(text);
    return *out ? 0 : -ENOMEM;
}

} // namespace

extern "C" {

int rpc_port_get_directory(char **directory)
{
    PortPaths paths;
    const int code = directory ? find_port_paths("any", "port", &paths) : -EINVAL;
    return code != 0 ? code : copy_to(paths.directory, directory);
}

int rpc_port_get_socket_path(const char *appid, const char *port_name, char **path)
{
    PortPaths paths;
    const int code = path ? find_port_paths(appid, port_name, &paths) : -EINVAL;
    return code != 0 ? code : copy_to(paths.socket.sun_path, path);
}

int package_info_get_path(const char *package, char **path)
{
    g_autofree char *found = path ? package_entry_path(package) : nullptr;
    return found ? copy_to(found, path) : -EINVAL;
}

} // extern "C"
