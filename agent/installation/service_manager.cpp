// SPDX-License-Identifier: Apache-2.0
#include "service_manager.hpp"

#include "agent/files/descriptor.hpp"

#include <cstddef>
#include <cstdlib>

#include <sys/socket.h>
#include <sys/un.h>

namespace kv::virtual_agent {

void notify_service_manager(std::string_view state)
{
    const char *place = std::getenv("NOTIFY_SOCKET");
    const std::string_view path = place ? place : "";
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return;
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    if (path.front() == '@') // a socket without a file
        address.sun_path[0] = '\0';
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
    const Descriptor socket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    (void)::sendto(socket.get(), state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr *>(&address),
                   size);
}

} // namespace kv::virtual_agent
