// SPDX-License-Identifier: Apache-2.0
#include "credentials.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/host/owned.hpp"

#include "platform/host/ports/runtime/runtime_directory.hpp"

namespace kv::host {

int read_credentials(int descriptor, PeerCredentials *peer)
{
    ucred credentials;
    socklen_t size = sizeof credentials;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return -errno;
    *peer = {credentials.pid, credentials.uid, credentials.gid};
    return 0;
}

bool is_own_or_root(const PeerCredentials &peer)
{
    return peer.uid == geteuid() || peer.uid == 0;
}

bool is_member(int descriptor, const PeerCredentials &peer, gid_t group)
{
    if (group == no_group)
        return false;
    if (peer.gid == group)
        return true;
    // With too little room the kernel reports the size of the list.
    socklen_t size = 0;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERGROUPS, nullptr, &size) == 0 || errno != ERANGE || size == 0)
        return false;
    const Allocated<gid_t> groups{static_cast<gid_t *>(malloc(size))};
    if (!groups)
        return false;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERGROUPS, groups.get(), &size) == 0)
        for (size_t i = 0; i < size / sizeof(gid_t); i++)
            if (groups.get()[i] == group)
                return true;
    return false;
}

} // namespace kv::host
