// SPDX-License-Identifier: Apache-2.0
#include "stream.hpp"

#include <algorithm>
#include <utility>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t max_at_once = 64 << 10; // bytes

/// libsoup disconnects a client that sends a message that is too long and gives no reason. This sends the reason.
void send_reason(SoupWebsocketConnection *connection, const GError *error)
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
      listener_(journal.listen([this](const Journal::Entry &) { send_new(); }))
{
    soup_websocket_connection_set_max_incoming_payload_size(connection, max_message);
    const auto closed = +[](SoupWebsocketConnection *, gpointer data) {
        const auto *self = static_cast<Stream *>(data);
        const Ended report = self->ended_; // the call may destroy the stream
        contain([&] { report(*self); });
    };
    g_signal_connect(connection, "closed", G_CALLBACK(closed), this);
    const auto failed = +[](SoupWebsocketConnection *broken, GError *error, gpointer) { send_reason(broken, error); };
    g_signal_connect(connection, "error", G_CALLBACK(failed), this);
    send_new();
}

Stream::~Stream()
{
    g_signal_handlers_disconnect_by_data(connection_.get(), this);
}

void Stream::send_new()
{
    if (soup_websocket_connection_get_state(connection_.get()) != SOUP_WEBSOCKET_STATE_OPEN)
        return;
    const auto first = journal_.from(next_);
    const auto &entries = journal_.entries();
    if (first == entries.end())
        return;
    const std::int64_t bytes = entries.back().end_bytes - first->end_bytes;
    if (journal_.next_seq() - next_ > max_entries_behind || bytes > max_bytes_behind) {
        soup_websocket_connection_close(connection_.get(), SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION,
                                        "too slow: more than 10000 entries or 8 MiB behind");
        return;
    }
    wait_for_room();
}

/// libsoup queues messages without a limit. It writes its queue at the default priority, so a source of a lower priority
/// that finds the socket writable finds the queue empty.
void Stream::wait_for_room()
{
    if (room_.is_active())
        return;
    GIOStream *stream = soup_websocket_connection_get_io_stream(connection_.get());
    GSource *writable = g_pollable_output_stream_create_source(
        G_POLLABLE_OUTPUT_STREAM(g_io_stream_get_output_stream(stream)), nullptr);
    const GPollableSourceFunc dispatch = [](GObject *, gpointer state) -> gboolean { return Source::dispatch(state); };
    room_.attach(
        writable, G_SOURCE_FUNC(dispatch), [this] { return send_some(); }, G_PRIORITY_DEFAULT + 10);
}

bool Stream::send_some()
{
    if (soup_websocket_connection_get_state(connection_.get()) != SOUP_WEBSOCKET_STATE_OPEN)
        return false;
    std::size_t bytes = 0;
    auto entry = journal_.from(next_);
    for (; entry != journal_.entries().end() && bytes < max_at_once; ++entry) {
        const std::string text = entry->text();
        soup_websocket_connection_send_text(connection_.get(), text.c_str());
        bytes += text.size();
        next_ = entry->seq + 1;
    }
    return entry != journal_.entries().end();
}

} // namespace kv::virtual_agent
