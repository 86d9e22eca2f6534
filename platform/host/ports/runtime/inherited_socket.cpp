// SPDX-License-Identifier: Apache-2.0
#include "inherited_socket.hpp"

#include <fcntl.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

namespace kv::host {
namespace {

constexpr int first_inherited = 3; // behind the standard streams
constexpr long max_inherited = 1024;

long number_from_environment(const char *name)
{
    const char *text = secure_getenv(name);
    return text ? strtol(text, nullptr, 10) : 0;
}

/// The number of descriptors that the service manager passed to this process, and not to its parent.
int count_inherited()
{
    const long count = number_from_environment("LISTEN_FDS");
    const bool is_for_this_process = number_from_environment("LISTEN_PID") == getpid();
    return is_for_this_process && count > 0 && count <= max_inherited ? static_cast<int>(count) : 0;
}

bool listens_at(int descriptor, const sockaddr_un &address)
{
    int is_listening = 0;
    socklen_t size = sizeof is_listening;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &is_listening, &size) != 0 || !is_listening)
        return false;
    sockaddr_un own = {};
    size = sizeof own;
    return getsockname(descriptor, reinterpret_cast<sockaddr *>(&own), &size) == 0 && own.sun_family == AF_UNIX &&
           strncmp(own.sun_path, address.sun_path, sizeof own.sun_path) == 0;
}

} // namespace

Fd inherited_socket(const sockaddr_un &address)
{
    const int end = first_inherited + count_inherited();
    for (int descriptor = first_inherited; descriptor < end; descriptor++) {
        if (!listens_at(descriptor, address))
            continue;
        fcntl(descriptor, F_SETFD, FD_CLOEXEC); // the service manager's own stays open for the next listener
        const int flags = fcntl(descriptor, F_GETFL);
        if (flags < 0 || fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != 0)
            return {}; // an accept could block for ever
        return Fd{fcntl(descriptor, F_DUPFD_CLOEXEC, first_inherited)};
    }
    return {};
}

} // namespace kv::host
