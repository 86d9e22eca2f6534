// SPDX-License-Identifier: Apache-2.0
#include "stream.hpp"

#include <algorithm>
#include <utility>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t most_at_once = 64 << 10; // bytes

/// libsoup ends a stream over a message that is too long without a word; the reader is told why.
void say_why(SoupWebsocketConnection *connection, const GError *error)
{
    if (!g_error_matches(error, SOUP_WEBSOCKET_ERROR, SOUP_WEBSOCKET_CLOSE_TOO_BIG))
        return;
    constexpr unsigned code = SOUP_WEBSOCKET_CLOSE_TOO_BIG;
    constexpr unsigned char close_frame[] = {0x88, 2, code >> 8, code & 0xff};
    GOutputStream *stream = g_io_stream_get_output_stream(soup_websocket_connection_get_io_stream(connection));
    g_pollable_output_stream_write_nonblocking(G_POLLABLE_OUTPUT_STREAM(stream), close_frame, sizeof close_frame,
                                               nullptr, nullptr);
}

} // namespace

Stream::Stream(Journal &journal, SoupWebsocketConnection *connection, std::int64_t since, Ended ended)
    : journal_(journal), connection_(SOUP_WEBSOCKET_CONNECTION(g_object_ref(connection))),
      next_(std::clamp<std::int64_t>(since, 1, journal.next_seq())), ended_(std::move(ended)),
      listener_(journal.listen([this](const Journal::Entry &) { noted(); }))
{
    soup_websocket_connection_set_max_incoming_payload_size(connection, longest_message);
    const auto closed = +[](SoupWebsocketConnection *, gpointer data) {
        const auto *self = static_cast<Stream *>(data);
        const Ended ended_now = self->ended_; // it goes with the stream
        ended_now(*self);
    };
    g_signal_connect(connection, "closed", G_CALLBACK(closed), this);
    const auto failed = +[](SoupWebsocketConnection *broken, GError *error, gpointer) { say_why(broken, error); };
    g_signal_connect(connection, "error", G_CALLBACK(failed), this);
    noted();
}

Stream::~Stream()
{
    g_signal_handlers_disconnect_by_data(connection_.get(), this);
    if (room_) {
        g_source_destroy(room_);
        g_source_unref(room_);
    }
}

void Stream::noted()
{
    if (soup_websocket_connection_get_state(connection_.get()) != SOUP_WEBSOCKET_STATE_OPEN)
        return;
    const auto first = journal_.from(next_);
    const auto &entries = journal_.entries();
    if (first == entries.end())
        return;
    const std::int64_t bytes = entries.back().end_bytes - first->end_bytes;
    if (journal_.next_seq() - next_ > most_entries_behind || bytes > most_bytes_behind) {
        soup_websocket_connection_close(connection_.get(), SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION,
                                        "too slow: more than 10000 entries or 8 MiB behind");
        return;
    }
    wait_for_room();
}

/// A WebSocket takes whatever it is given and queues it without bound, so it is given more only when it has written
/// all: it writes at the default priority whenever there is room, so whoever is called later finds nothing queued.
void Stream::wait_for_room()
{
    if (room_)
        return;
    GIOStream *stream = soup_websocket_connection_get_io_stream(connection_.get());
    room_ = g_pollable_output_stream_create_source(G_POLLABLE_OUTPUT_STREAM(g_io_stream_get_output_stream(stream)),
                                                   nullptr);
    g_source_set_priority(room_, G_PRIORITY_DEFAULT + 10);
    const GPollableSourceFunc ready = [](GObject *, gpointer data) -> gboolean {
        auto *self = static_cast<Stream *>(data);
        if (self->send_some())
            return G_SOURCE_CONTINUE;
        g_source_unref(std::exchange(self->room_, nullptr));
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(room_, G_SOURCE_FUNC(ready), this, nullptr);
    g_source_attach(room_, nullptr);
}

bool Stream::send_some()
{
    if (soup_websocket_connection_get_state(connection_.get()) != SOUP_WEBSOCKET_STATE_OPEN)
        return false;
    std::size_t bytes = 0;
    auto entry = journal_.from(next_);
    for (; entry != journal_.entries().end() && bytes < most_at_once; ++entry) {
        const std::string text = entry->text();
        soup_websocket_connection_send_text(connection_.get(), text.c_str());
        bytes += text.size();
        next_ = entry->seq + 1;
    }
    return entry != journal_.entries().end();
}

} // namespace kv::virtual_agent
