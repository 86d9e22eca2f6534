// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <cstdint>

#include "byte_queue.hpp"

namespace kv::host {

struct Parcel;

/// Which end of which link a port is. Only the main link has both requests and replies.
enum class PortRole : uint8_t { caller_main, caller_callback, server_main, server_callback };

/// Goes up in a forked child, where the links are still the parent's: using them there would mix up its bytes.
extern uint32_t process_generation;

/// One end of one link. All zero but for the descriptor is a closed port.
struct Port {
    int fd;
    uint32_t opened_in; ///< the process generation it is open in, 0 when it is closed or broken
    PortRole role;
    bool reply_due;      ///< a request was sent and nothing was read since
    bool no_waiting;     ///< the last send failed: no reply can be expected
    bool held;           ///< sends are collected
    bool waits_for_room; ///< the owner's source looks for room to write
    bool end_of_stream;  ///< the peer has closed and everything that it sent was taken from the system
    int timeout_ms;      ///< from a request to its reply; 0 waits for ever
    int64_t sent_at_ms;  ///< when the last request went out
    size_t announced;    ///< bytes at the front of the inbox whose parcels the owner was told of
    ByteQueue inbox;
    ByteQueue outbox;  ///< of a serving port: what the peer does not take yet
    size_t held_until; ///< while sends are collected: the size at which the outbox leaves
    GSource *source;   ///< the owner's, made ready when the link breaks
    void *watch;       ///< of the descriptor in that source, if there is one
    Port *sibling;     ///< the other link of the same connection
    const char *owner; ///< for log lines: the port's name, or the peer's

    bool open() const { return opened_in == process_generation; }
};

enum class Announce { none, one, broken };
enum class Received { data, nothing, end };

void port_open(Port *port, int fd, PortRole role, Port *sibling, const char *owner);
/// Closes the descriptor and frees what is buffered.
void port_close(Port *port);
/// Nothing more can be sent on either link; what has arrived can still be read. The owner's source runs next.
void port_break(Port *port);

/// Waits for a parcel at most as long as the port's rules say.
int port_receive(Port *port, Parcel *parcel);
/// Takes over what waits in the system, in one receive and without blocking.
Received port_fill(Port *port);
/// Counts one more whole parcel in the inbox as announced, if there is one.
Announce port_announce(Port *port);
/// Whether the inbox holds a whole parcel that was not announced yet.
bool port_has_news(const Port *port);

/// Sends or queues a frame, never blocking.
int port_queue_frame(Port *port, const uint8_t *bytes, size_t size);
/// Sends what is queued as far as the peer takes it.
void port_flush(Port *port);

int64_t coarse_now_ms();

/// Raises events for waiting parcels until there are none, the turn is over, or `raise` says that the owner is gone.
/// A turn ends when it gets long or has raised so many: a flood must starve none of the loop's other sources. What is
/// left keeps the source ready, by its prepare function: for the next turn, and for the loop that a callback may run.
template <class Raise>
void port_deliver(Port *port, int most_per_turn, Raise raise)
{
    constexpr int64_t longest_turn_ms = 4;
    // The exact clock would take longer than an event. This one may tick early: then there is one turn more.
    const int64_t turn_ends = coarse_now_ms() + longest_turn_ms;
    for (int i = 0; i < most_per_turn; i++)
        if (port_announce(port) != Announce::one || !raise() || coarse_now_ms() >= turn_ends)
            return;
}

} // namespace kv::host
