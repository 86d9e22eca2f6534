// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace bench {

/// What the bare peers exchange: the bytes of get_device_id and its reply.
inline constexpr unsigned char bare_request[] = {4, 0, 0, 0, 28, 0, 0, 0};
// clang-format off
inline constexpr unsigned char bare_reply[] = {
    48, 0, 0, 0, // length of what follows
    0, 0, 0, 0,  // a result
    36, 0, 0, 0, // length of the text
    '0', '1', '2', '3', '4', '5', '6', '7', '-', '8', '9', 'a', 'b', '-', 'c', 'd', 'e', 'f', '-',
    '0', '1', '2', '3', '-', '4', '5', '6', '7', '8', '9', 'a', 'b', 'c', 'd', 'e', 'f',
    0, 0, 0, 0,  // the agent's result
};
// clang-format on
static_assert(sizeof bare_reply == 52);
inline constexpr const char *device_id = "01234567-89ab-cdef-0123-456789abcdef";

inline constexpr const char *bus_path = "/bench";
inline constexpr const char *bus_interface = "bench.Agent";
inline constexpr const char *bus_method = "GetDeviceId";

/// A way to make one call and wait for its answer. Throws when the answer is not the right one.
class Client {
public:
    virtual ~Client() = default;
    virtual void call() = 0;
};

/// The peers, by the name that their server and their socket have as well.
namespace peer {
inline constexpr const char *bare = "bare";
inline constexpr const char *glib = "glib";
inline constexpr const char *sdbus = "sdbus";
inline constexpr const char *proxy = "proxy"; ///< get_device_id through the proxy
inline constexpr const char *api = "api";     ///< korvane_start through the exported function
} // namespace peer

/// Connected to the peer's server, whose socket or runtime directory is the folder. For proxy and api the environment
/// says where the agent is.
std::unique_ptr<Client> connect_to(const std::string &peer, const std::string &folder);

/// The socket of a bare or sd-bus server.
inline std::string socket_path(const std::string &peer, const std::string &folder)
{
    return folder + "/" + peer + ".sock";
}

} // namespace bench
