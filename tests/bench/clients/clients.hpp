// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace kv::test {

/// The bytes of a request of get_device_id and its reply, which the bare peers exchange.
inline constexpr unsigned char bare_request[] = {4, 0, 0, 0, 28, 0, 0, 0};
// clang-format off
inline constexpr unsigned char bare_reply[] = {
    48, 0, 0, 0, // length of the rest
    0, 0, 0, 0,  // kind: a reply
    36, 0, 0, 0, // length of the text
    '0', '1', '2', '3', '4', '5', '6', '7', '-', '8', '9', 'a', 'b', '-', 'c', 'd', 'e', 'f', '-',
    '0', '1', '2', '3', '-', '4', '5', '6', '7', '8', '9', 'a', 'b', 'c', 'd', 'e', 'f',
    0, 0, 0, 0,  // result
};
/// The reply to a method without out arguments: its kind and its result.
inline constexpr unsigned char bare_result[] = {8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
/// An event status_changed_cb.
inline constexpr unsigned char bare_event[] = {
    17, 0, 0, 0, // length of the rest
    1, 0, 0, 0,  // kind: an event
    1, 0, 0, 0,  // id
    1, 0, 0, 0,  // sequence number
    0,           // once
    2, 0, 0, 0,  // status
};
// clang-format on
static_assert(sizeof bare_reply == 52 && sizeof bare_event == 21);
inline constexpr const char *device_id = "01234567-89ab-cdef-0123-456789abcdef";

/// The number of events of a burst: as many as an agent's queue sends with one write.
inline constexpr int burst_size = 3000;

/// Commands for the server of events, one byte each: send one event; prepare a burst, which it confirms with a byte; send
/// the prepared burst.
namespace event_command {
inline constexpr char one = 'e';
inline constexpr char prepare = 'p';
inline constexpr char send_burst = 'r';
} // namespace event_command

inline constexpr const char *bus_path = "/bench";
inline constexpr const char *bus_interface = "bench.Agent";
inline constexpr const char *bus_method = "GetDeviceId";
inline constexpr const char *bus_list_method = "SendApList";
inline constexpr const char *bus_signal = "StatusChanged";

/// Makes calls to one peer. Throws std::runtime_error if a reply is wrong.
class Client {
public:
    virtual ~Client() = default;
    /// Whether prepare() is needed before each call. It is not timed.
    virtual bool needs_preparation() const { return false; }
    virtual void prepare() {}
    /// Makes one call and waits for its reply.
    virtual void call() = 0;
};

/// Names of the peers.
namespace peer {
// Also the names of their servers and sockets.
inline constexpr const char *bare = "bare";
inline constexpr const char *glib = "glib";
inline constexpr const char *sdbus = "sdbus";
inline constexpr const char *sdbus_loop = "sdbus-loop"; ///< served in a loop of sd-event
inline constexpr const char *stub = "stub";

inline constexpr const char *proxy = "proxy"; ///< get_device_id through the proxy
inline constexpr const char *api = "api";     ///< korvane_start through the exported function

// A call sends a list of access points.
inline constexpr const char *bare_list = "bare-list";
inline constexpr const char *sdbus_list = "sdbus-list";
inline constexpr const char *proxy_list = "proxy-list"; ///< with an existing array
inline constexpr const char *api_list = "api-list";     ///< korvane_send_ap_list with an existing list
inline constexpr const char *whole_list = "whole-list"; ///< creates, fills, sends and destroys the list

// The same with as many entries, as many bytes of text or as many sub-devices as the number after the name.
inline constexpr const char *bare_text = "bare-text:";         ///< a request of this size
inline constexpr const char *api_text = "api-text:";           ///< korvane_set_nick_name
inline constexpr const char *long_list = "long-list:";         ///< creates, fills, sends and destroys the list
inline constexpr const char *presence_set = "presence-set:";   ///< of one of the sub-devices
inline constexpr const char *presence_list = "presence-list:"; ///< of all sub-devices, read and released

// A call requests and receives one event.
inline constexpr const char *bare_event = "bare-event";
inline constexpr const char *glib_event = "glib-event";
inline constexpr const char *sdbus_event = "sdbus-event";
inline constexpr const char *api_event = "api-event";

// A call requests a prepared burst and receives all its events.
inline constexpr const char *bare_burst = "bare-burst";
inline constexpr const char *glib_burst = "glib-burst";
inline constexpr const char *sdbus_burst = "sdbus-burst";
inline constexpr const char *api_burst = "api-burst";
} // namespace peer

/// Connects to the server of a peer. Its sockets are in `folder`; clients that use the library find the agent through the
/// environment.
std::unique_ptr<Client> connect_to(const std::string &peer, const std::string &folder);

// The same for some of the peers; null for the others.
std::unique_ptr<Client> connect_list_client(const std::string &peer, const std::string &folder);
std::unique_ptr<Client> connect_growth_client(const std::string &peer, const std::string &folder);
std::unique_ptr<Client> connect_event_client(const std::string &peer, const std::string &folder);

/// The socket of a bare or sd-bus server.
inline std::string socket_path(const std::string &peer, const std::string &folder)
{
    return folder + "/" + peer + ".sock";
}

/// The sockets of a server of events: for its commands, and for events that are not sent through the library.
inline std::string event_command_path(const std::string &kind, const std::string &folder)
{
    return socket_path(kind + "-commands", folder);
}
inline std::string event_path(const std::string &kind, const std::string &folder)
{
    return socket_path(kind + "-events", folder);
}

} // namespace kv::test
