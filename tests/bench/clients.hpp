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
/// The reply to send_ap_list: a result, and the agent's.
inline constexpr unsigned char bare_list_reply[] = {8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
/// An event status_changed_cb.
inline constexpr unsigned char bare_event[] = {
    17, 0, 0, 0, // length of what follows
    1, 0, 0, 0,  // a callback
    1, 0, 0, 0,  // id
    1, 0, 0, 0,  // sequence number
    0,           // once
    2, 0, 0, 0,  // status
};
// clang-format on
static_assert(sizeof bare_reply == 52 && sizeof bare_event == 21);
inline constexpr const char *device_id = "01234567-89ab-cdef-0123-456789abcdef";

/// How many events a burst has: as many as fit into one write of an agent's queue.
inline constexpr int burst_size = 3000;

/// What the server of events is told, a byte each: to send one; to make a burst ready (answered by a byte); to let it go.
namespace order {
inline constexpr char one = 'e';
inline constexpr char prepare = 'p';
inline constexpr char release = 'r';
} // namespace order

inline constexpr const char *bus_path = "/bench";
inline constexpr const char *bus_interface = "bench.Agent";
inline constexpr const char *bus_method = "GetDeviceId";
inline constexpr const char *bus_list_method = "SendApList";
inline constexpr const char *bus_signal = "StatusChanged";

/// A way to make one call and wait for its answer. Throws when the answer is not the right one.
class Client {
public:
    virtual ~Client() = default;
    /// Whether each call needs something beforehand that is not timed, and that.
    virtual bool prepares() const { return false; }
    virtual void prepare() {}
    virtual void call() = 0;
};

/// The peers.
namespace peer {
// By the name that their server and their socket have as well.
inline constexpr const char *bare = "bare";
inline constexpr const char *glib = "glib";
inline constexpr const char *sdbus = "sdbus";
inline constexpr const char *stub = "stub";

inline constexpr const char *proxy = "proxy"; ///< get_device_id through the proxy
inline constexpr const char *api = "api";     ///< korvane_start through the exported function

// A list of access points is sent.
inline constexpr const char *bare_list = "bare-list";
inline constexpr const char *sdbus_list = "sdbus-list";
inline constexpr const char *proxy_list = "proxy-list"; ///< the array given ready
inline constexpr const char *api_list = "api-list";     ///< korvane_send_ap_list of a list that is kept
inline constexpr const char *whole_list = "whole-list"; ///< the list made, filled, sent and released

// A call is: one event is asked for and received.
inline constexpr const char *bare_event = "bare-event";
inline constexpr const char *glib_event = "glib-event";
inline constexpr const char *sdbus_event = "sdbus-event";
inline constexpr const char *api_event = "api-event";

// A call is: a burst is let go and received to its last event.
inline constexpr const char *bare_burst = "bare-burst";
inline constexpr const char *glib_burst = "glib-burst";
inline constexpr const char *sdbus_burst = "sdbus-burst";
inline constexpr const char *api_burst = "api-burst";
} // namespace peer

/// Connected to the peer's server, whose socket or runtime directory is the folder. For those that go through the
/// library the environment says where the agent is.
std::unique_ptr<Client> connect_to(const std::string &peer, const std::string &folder);

// Parts of it: none when the peer is of another kind.
std::unique_ptr<Client> connect_list_client(const std::string &peer, const std::string &folder);
std::unique_ptr<Client> connect_event_client(const std::string &peer, const std::string &folder);

/// The socket of a bare or sd-bus server.
inline std::string socket_path(const std::string &peer, const std::string &folder)
{
    return folder + "/" + peer + ".sock";
}

/// The sockets of a server of events: for its orders, and for the events where they do not go through the library.
inline std::string order_path(const std::string &kind, const std::string &folder)
{
    return socket_path(kind + "-orders", folder);
}
inline std::string event_path(const std::string &kind, const std::string &folder)
{
    return socket_path(kind + "-events", folder);
}

} // namespace bench
