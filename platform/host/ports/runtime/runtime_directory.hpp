// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>
#include <sys/un.h>

#include "platform/host/owned.hpp"

namespace kv::host {

/// The files of an agent's port: a socket in the runtime directory, and two lock files beside it.
struct PortPaths {
    char directory[sizeof(sockaddr_un::sun_path)];
    sockaddr_un socket;
    char serving_lock[sizeof(sockaddr_un::sun_path) + 8];
    char starting_lock[sizeof(sockaddr_un::sun_path) + 8];
};

/// Computes the paths without touching the file system. 0, or a negative code after an error line.
int find_port_paths(const char *appid, const char *port_name, PortPaths *paths);

inline constexpr gid_t no_group = static_cast<gid_t>(-1);

/// The group that the package entry names, or no_group.
gid_t package_group_id(const char *appid);

/// Creates the directory if it is missing and checks that no other user can write to it. With a group, opens it to that
/// group. 0, or a negative code after an error line.
int create_runtime_directory(const char *directory, gid_t group);

/// Opens and locks a lock file without waiting; closing the descriptor unlocks it. 0, -EWOULDBLOCK when another process
/// holds the lock, or another negative code after an error line.
int take_lock(const char *path, Fd *lock);

} // namespace kv::host
