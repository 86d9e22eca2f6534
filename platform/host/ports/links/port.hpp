// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <cstdint>

#include "byte_queue.hpp"
#include "platform/host/owned.hpp"

namespace kv::host {

struct Parcel;

/// Which end of which link a port is. Only the main link carries requests and replies.
enum class PortRole : uint8_t { caller_main, caller_callback, server_main, server_callback };

/// Incremented in a forked child. The links belong to the parent: the child must not use them.
extern uint32_t process_generation;

/// One end of one link. An rpc_port_h points to it.
struct Port {
    Fd fd;
    uint32_t opened_in = 0; ///< the process generation that opened it; 0 when closed or broken
    PortRole role = PortRole::caller_main;
    bool may_block_in_receive = false; ///< a request was sent at once and its reply was not read yet
    bool no_waiting = false;           ///< the last send failed, so no reply will arrive
    bool held = false;                 ///< sends are collected
    bool waits_for_room = false;       ///< the owner's source watches for room to write
    bool end_of_stream = false;        ///< the peer has closed, and all that it sent is in the inbox
    int polling_us = 0;                ///< of a call, before its receive blocks; 0 means not to poll
    int timeout_ms = 0;                ///< of a call, its send and its receive together; 0 means no limit
    int64_t sent_at_ms = 0;            ///< when the send of the last request began
    size_t announced = 0;              ///< bytes at the front of the inbox for whose frames events were raised
    ByteQueue inbox;
    ByteQueue outbox;          ///< a stub's: what the peer has not accepted yet
    size_t held_until = 0;     ///< while sends are collected: the outbox size at which they are sent
    GSource *source = nullptr; ///< the owner's; made ready when the link breaks
    void *watch = nullptr;     ///< of the descriptor in that source, if any
    Port *sibling = nullptr;   ///< the other link of the same connection
    const char *owner = "";    ///< for log lines: the port's name, or the peer's

    bool open() const { return opened_in == process_generation; }
};

/// Result of looking for the next pending frame.
enum class Announce { none, one, broken };
/// Result of one receive.
enum class Received { data, nothing, end };

void port_open(Port *port, Fd fd, PortRole role, Port *sibling, const char *owner);
/// Closes the descriptor and releases all buffers.
void port_close(Port *port);
/// Shuts both links of the connection down. Frames that have arrived can still be read. The owner's source runs next.
void port_break(Port *port);

/// Receives one parcel. Waits only where the port's role and state allow it, at most until the call's deadline.
int port_receive(Port *port, Parcel *parcel);

/// Receives once without waiting.
Received port_fill(Port *port);
/// Takes note of the next pending frame, so that its event can be raised.
Announce port_announce(Port *port);
/// Whether a frame is pending for which no event was raised yet.
bool port_has_pending_frame(const Port *port);

/// Sends or queues a frame without blocking.
int port_queue_frame(Port *port, const uint8_t *bytes, size_t size);
/// Sends from the outbox what the peer accepts now.
void port_flush(Port *port);

int64_t coarse_now_ms();
/// Milliseconds until the deadline of the current call, for poll: -1 without a deadline, 0 when it has passed.
int port_remaining_ms(const Port *port);

/// Raises events for pending frames until there are none, `raise` returns false because the owner is gone, or the turn
/// is over. A turn ends after 4 ms or max_per_turn events, so that a flood starves no other source of the loop. The
/// rest keeps the source ready by its prepare function: for the next turn, or for a loop that a callback runs.
template <class Raise>
void port_deliver(Port *port, int max_per_turn, Raise raise)
{
    constexpr int64_t max_turn_ms = 4;
    // Reading the exact clock would cost more than an event. The coarse one may only end a turn early.
    const int64_t turn_ends = coarse_now_ms() + max_turn_ms;
    for (int i = 0; i < max_per_turn; i++)
        if (port_announce(port) != Announce::one || !raise() || coarse_now_ms() >= turn_ends)
            return;
}

} // namespace kv::host
