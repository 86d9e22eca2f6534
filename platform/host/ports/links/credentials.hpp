// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace kv::host {

/// User, group and process of a peer, as the kernel reports them.
struct PeerCredentials {
    pid_t pid;
    uid_t uid;
    gid_t gid;
};

int read_credentials(int descriptor, PeerCredentials *peer);
/// Whether the peer is the same user or root.
bool is_own_or_root(const PeerCredentials &peer);
/// Whether the peer had that group, as its primary or a supplementary one, when it connected or began to listen.
bool is_member(int descriptor, const PeerCredentials &peer, gid_t group);

} // namespace kv::host
