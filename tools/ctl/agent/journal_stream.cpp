// SPDX-License-Identifier: Apache-2.0
// A WebSocket connection of libsoup. The connection attempt may outlive the object, so both share a Link.
#include "journal_stream.hpp"

#include "glib_pointers.hpp"
#include "tools/ctl/process/loop.hpp"

#include <libsoup/soup.h>

#include <utility>

namespace kv::ctl {

namespace {

constexpr guint64 max_entry_bytes = 16 << 20;

} // namespace

struct JournalStream::Link {
    OnEntry on_entry;
    OnEnd on_end;
    Ref<GCancellable> cancelled{g_cancellable_new()};
    Ref<SoupWebsocketConnection> connection{};

    ~Link()
    {
        if (!connection)
            return;
        g_signal_handlers_disconnect_by_data(connection.get(), this);
        if (soup_websocket_connection_get_state(connection.get()) == SOUP_WEBSOCKET_STATE_OPEN)
            soup_websocket_connection_close(connection.get(), SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
    }

    void end(const std::string &reason)
    {
        on_entry = nullptr;
        if (const OnEnd callback = std::exchange(on_end, nullptr))
            Loop::guard([&] { callback(reason); });
    }

    void receive(GBytes *bytes)
    {
        gsize size = 0;
        const auto *text = static_cast<const char *>(g_bytes_get_data(bytes, &size));
        const Json entry = parsed({text, size});
        if (!entry.is_object())
            end("the agent sent an entry of its journal that is not a JSON object");
        else if (on_entry)
            Loop::guard([&] { on_entry(entry); });
    }

    void start(SoupWebsocketConnection *connected)
    {
        connection.reset(connected);
        soup_websocket_connection_set_max_incoming_payload_size(connected, max_entry_bytes);
        const auto on_message = +[](SoupWebsocketConnection *, gint, GBytes *bytes, gpointer self) {
            static_cast<Link *>(self)->receive(bytes);
        };
        const auto on_closed = +[](SoupWebsocketConnection *closed, gpointer self) {
            const char *reason = soup_websocket_connection_get_close_data(closed);
            static_cast<Link *>(self)->end(reason && *reason ? reason : "the agent closed the connection");
        };
        g_signal_connect(connected, "message", G_CALLBACK(on_message), this);
        g_signal_connect(connected, "closed", G_CALLBACK(on_closed), this);
    }
};

JournalStream::JournalStream(const Agent &agent, long long since, OnEntry on_entry, OnEnd on_end)
    : link_(std::make_shared<Link>())
{
    link_->on_entry = std::move(on_entry);
    link_->on_end = std::move(on_end);
    const std::string url = control_url("/stream?since=" + std::to_string(since));
    const Ref<SoupMessage> message{soup_message_new("GET", url.c_str())};
    const auto on_connected = +[](GObject *session, GAsyncResult *result, gpointer data) {
        const std::unique_ptr<std::weak_ptr<Link>> weak{static_cast<std::weak_ptr<Link> *>(data)};
        GError *error = nullptr;
        SoupWebsocketConnection *connected =
            soup_session_websocket_connect_finish(SOUP_SESSION(session), result, &error); // NOLINT: GObject's cast
        const Problem problem{error, g_error_free};
        const std::shared_ptr<Link> link = weak->lock();
        if (connected && link)
            link->start(connected);
        else if (connected)
            g_object_unref(connected);
        else if (link)
            link->end(std::string{"cannot follow the agent's journal: "} + problem->message);
    };
    soup_session_websocket_connect_async(static_cast<SoupSession *>(agent.socket().session()), message.get(), nullptr,
                                         nullptr, G_PRIORITY_DEFAULT, link_->cancelled.get(), on_connected,
                                         new std::weak_ptr<Link>{link_});
}

JournalStream::~JournalStream()
{
    g_cancellable_cancel(link_->cancelled.get());
}

} // namespace kv::ctl
