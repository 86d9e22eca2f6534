// SPDX-License-Identifier: Apache-2.0
#include "port.hpp"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <cerrno>
#include <initializer_list>

#include "platform/host/log/log.hpp"
#include "platform/host/ports/parcels/parcel.hpp"
#include "polling.hpp"

namespace kv::host {

uint32_t process_generation = 1;

namespace {

constexpr size_t min_receive = 4096;
// An owner that ignores its events must not exhaust the memory.
constexpr size_t max_unread = 2 * max_payload;

[[gnu::constructor]] void count_forks()
{
    pthread_atfork(nullptr, nullptr, [] { process_generation++; });
}

enum class Front { incomplete, whole, malformed };

// Examines the frame at an offset into the inbox.
Front frame_at(const Port *port, size_t offset, size_t *size)
{
    const size_t available = port->inbox.size() - offset;
    if (available < frame_header)
        return Front::incomplete;
    const size_t payload = load_u32(port->inbox.front() + offset);
    if (payload > max_payload)
        return Front::malformed;
    *size = frame_header + payload;
    return available < *size ? Front::incomplete : Front::whole;
}

void break_malformed(Port *port, size_t offset)
{
    dlog_print(log_error, log_tag,
               "port %s: the peer announced a parcel of %u bytes, more than the limit of %zu; closing the link",
               port->owner, load_u32(port->inbox.front() + offset), max_payload);
    // The frames before it are complete and can still be read.
    port->inbox.truncate(offset);
    port->end_of_stream = true;
    port_break(port);
}

int take_front(Port *port, Parcel *parcel, size_t size)
{
    // A long frame is handed over with its buffer, so that it is in memory once.
    if (size <= max_kept_capacity || !port->inbox.take_buffer(size, &parcel->buffer)) {
        if (parcel->buffer.capacity() < size && !grow_parcel(parcel, size - frame_header))
            return parcel->failure;
        memcpy(parcel->buffer.bytes(), port->inbox.front(), size);
        port->inbox.consume(size);
    }
    // Writes to a parcel check only its capacity, so it must not exceed the limit.
    if (parcel->buffer.capacity() > frame_header + max_payload)
        parcel->buffer.resize(frame_header + max_payload);
    parcel->end = size;
    port->announced -= port->announced < size ? port->announced : size;
    port->may_block_in_receive = false;
    return 0;
}

int report_timeout(Port *port)
{
    dlog_print(
        log_error, log_tag,
        "port %s: no reply within %d ms (KORVANE_REPLY_TIMEOUT_MS); closing the link, because a late reply could be "
        "taken for the next one",
        port->owner, port->timeout_ms);
    port_break(port);
    return -ETIMEDOUT;
}

// A forked child must leave its parent's links alone.
bool belongs_to_parent(const Port *port)
{
    return port->opened_in != 0 && !port->open();
}

int report_closed(Port *port)
{
    port_break(port);
    return -ECONNRESET;
}

bool may_wait(const Port *port)
{
    return port->open() && !port->no_waiting && !port->end_of_stream &&
           (port->role == PortRole::caller_main || port->role == PortRole::caller_callback);
}

// Receives through the inbox: for frames that arrive in pieces or several at once, and whenever the rules for waiting
// matter.
[[gnu::noinline]] int receive_slowly(Port *port, Parcel *parcel)
{
    if (belongs_to_parent(port))
        return -EPERM;
    for (;;) {
        // Checked before the inbox, so that parcels other than the reply do not extend the deadline.
        if (may_wait(port) && port_remaining_ms(port) == 0)
            return report_timeout(port);
        size_t size = 0;
        switch (frame_at(port, 0, &size)) {
        case Front::whole: return take_front(port, parcel, size);
        case Front::malformed: break_malformed(port, 0); return -EPROTO;
        case Front::incomplete: break;
        }
        if (may_wait(port)) {
            pollfd waiting{port->fd.get(), POLLIN, 0};
            if (poll(&waiting, 1, port_remaining_ms(port)) < 0 && errno != EINTR)
                return report_closed(port);
            if (waiting.revents == 0)
                continue;
        }
        switch (port_fill(port)) {
        case Received::data: break;
        case Received::nothing:
            if (!may_wait(port))
                return port->role == PortRole::server_main && port->open() ? -EAGAIN : -EIO;
            break;
        case Received::end: return report_closed(port);
        }
    }
}

// Handles a usual receive that did not return exactly one frame.
[[gnu::noinline]] int receive_rest(Port *port, Parcel *parcel, ssize_t received)
{
    if (received > 0 && !port->inbox.append(parcel->buffer.bytes(), static_cast<size_t>(received))) {
        port_break(port);
        return -ENOMEM;
    }
    if (received == 0)
        port->end_of_stream = true;
    if (received < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            return report_timeout(port);
        if (errno != EINTR)
            port->end_of_stream = true;
    }
    if (port->end_of_stream)
        return report_closed(port);
    return receive_slowly(port, parcel);
}

} // namespace

int port_remaining_ms(const Port *port)
{
    if (port->role != PortRole::caller_main || port->timeout_ms == 0)
        return -1;
    const int64_t left = port->sent_at_ms + port->timeout_ms - coarse_now_ms();
    return left > 0 ? static_cast<int>(left) : 0;
}

int port_receive(Port *port, Parcel *parcel)
{
    // The usual case is the reply to the request just sent: it is received directly into the parcel, and the socket
    // option SO_RCVTIMEO bounds the wait.
    if (port->may_block_in_receive && port->open() && port->inbox.size() == 0) [[likely]] {
        const ssize_t received = port->polling_us == 0
                                     ? recv(port->fd.get(), parcel->buffer.bytes(), parcel->buffer.capacity(), 0)
                                     : receive_polling(port, parcel);
        if (received >= static_cast<ssize_t>(frame_header) &&
            load_u32(parcel->buffer.bytes()) == static_cast<size_t>(received) - frame_header) [[likely]] {
            parcel->end = static_cast<size_t>(received);
            port->may_block_in_receive = false;
            return 0;
        }
        return receive_rest(port, parcel, received);
    }
    // Frames with a raised event are complete.
    if (port->announced > 0 && !belongs_to_parent(port)) [[likely]]
        return take_front(port, parcel, frame_header + load_u32(port->inbox.front()));
    return receive_slowly(port, parcel);
}

void port_open(Port *port, Fd fd, PortRole role, Port *sibling, const char *owner)
{
    *port = {};
    port->fd = std::move(fd);
    port->opened_in = process_generation;
    port->role = role;
    port->sibling = sibling;
    port->owner = owner;
}

void port_close(Port *port)
{
    port->fd.reset();
    port->opened_in = 0;
    port->source = nullptr;
    port->watch = nullptr;
    port->announced = 0;
    port->inbox.clear();
    port->outbox.clear();
}

void port_break(Port *port)
{
    for (Port *link : {port, port->sibling}) {
        if (!link || !link->open())
            continue;
        // Wakes the peer and ends the stream. The descriptor stays open until the owner has raised the event.
        shutdown(link->fd.get(), SHUT_RDWR);
        link->opened_in = 0;
        link->outbox.clear();
        if (link->source)
            g_source_set_ready_time(link->source, 0);
    }
}

Received port_fill(Port *port)
{
    if (!port->fd || port->end_of_stream || belongs_to_parent(port))
        return Received::end;
    if (port->inbox.size() > max_unread) {
        dlog_print(log_error, log_tag, "port %s: the program has not read %zu received bytes; closing the link",
                   port->owner, port->inbox.size());
        port->end_of_stream = true;
        return Received::end;
    }
    port->inbox.compact(); // makes the receive as large as possible
    if (!port->inbox.reserve(min_receive)) {
        dlog_print(log_error, log_tag, "port %s: out of memory; closing the link", port->owner);
        port->end_of_stream = true;
        return Received::end;
    }
    ssize_t received;
    do {
        received = recv(port->fd.get(), port->inbox.back(), port->inbox.room(), MSG_DONTWAIT);
    } while (received < 0 && errno == EINTR);
    if (received > 0) {
        port->inbox.added(static_cast<size_t>(received));
        return Received::data;
    }
    if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        return Received::nothing;
    port->end_of_stream = true;
    return Received::end;
}

bool port_has_pending_frame(const Port *port)
{
    size_t size = 0;
    return frame_at(port, port->announced, &size) != Front::incomplete;
}

Announce port_announce(Port *port)
{
    size_t size = 0;
    switch (frame_at(port, port->announced, &size)) {
    case Front::whole: port->announced += size; return Announce::one;
    case Front::malformed: break_malformed(port, port->announced); return Announce::broken;
    case Front::incomplete: break;
    }
    return Announce::none;
}

} // namespace kv::host
