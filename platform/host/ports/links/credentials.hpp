// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace kv::host {

/// Who is at the other end, as the kernel says.
struct PeerCredentials {
    pid_t pid;
    uid_t uid;
    gid_t gid;
};

int read_credentials(int descriptor, PeerCredentials *peer);
/// The same user and root.
bool is_own_or_root(const PeerCredentials &peer);
/// Whether the peer ran with that group, as its own or a further one, when it connected or began to listen.
bool is_member(int descriptor, const PeerCredentials &peer, gid_t group);

} // namespace kv::host
