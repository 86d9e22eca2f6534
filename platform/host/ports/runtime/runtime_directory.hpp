// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>
#include <sys/un.h>

namespace kv::host {

/// Where the port of an agent is found: a socket in the runtime directory, and beside it its two lock files.
struct PortPlace {
    char directory[sizeof(sockaddr_un::sun_path)];
    sockaddr_un socket;
    char serving_lock[sizeof(sockaddr_un::sun_path) + 8];
    char starting_lock[sizeof(sockaddr_un::sun_path) + 8];
};

/// Works out the names, touches nothing. 0, or a negative code after an error line.
int find_port_place(const char *appid, const char *port_name, PortPlace *place);

inline constexpr gid_t no_group = static_cast<gid_t>(-1);

/// The group that the agent's package entry names, or no_group.
gid_t package_group_id(const char *appid);

/// Makes the directory if it is missing and checks that nobody else can write there; with a group, opens it to that.
/// 0, or a negative code after an error line.
int make_runtime_directory(const char *directory, gid_t group);

/// Opens and locks a lock file without waiting: its descriptor, -EWOULDBLOCK when another process holds it, or another
/// negative code after an error line.
int take_lock(const char *path);

} // namespace kv::host
