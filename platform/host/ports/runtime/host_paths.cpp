// SPDX-License-Identifier: Apache-2.0
#include <host_paths.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/host/packages/package_entry.hpp"
#include "runtime_directory.hpp"

using namespace kv::host;

namespace {

int hand_out(const char *text, char **out)
{
    *out = strdup(text);
    return *out ? 0 : -ENOMEM;
}

} // namespace

extern "C" {

int rpc_port_get_directory(char **directory)
{
    PortPlace place;
    const int code = directory ? find_port_place("any", "port", &place) : -EINVAL;
    return code != 0 ? code : hand_out(place.directory, directory);
}

int rpc_port_get_socket_path(const char *appid, const char *port_name, char **path)
{
    PortPlace place;
    const int code = path ? find_port_place(appid, port_name, &place) : -EINVAL;
    return code != 0 ? code : hand_out(place.socket.sun_path, path);
}

int package_info_get_path(const char *package, char **path)
{
    g_autofree char *found = path ? package_entry_path(package) : nullptr;
    return found ? hand_out(found, path) : -EINVAL;
}

} // extern "C"
