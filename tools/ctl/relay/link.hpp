// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "link_reader.hpp"
#include "tools/ctl/agent/glib_pointers.hpp"

#include <gio/gio.h>

#include <array>
#include <functional>
#include <memory>

namespace kv::ctl {

/// Passes bytes from an application's link to the agent's and back, and the end of either. It reads more from one end only
/// when the other has accepted what was read before, so that a sender is held up as without the relay.
class Link : public std::enable_shared_from_this<Link> {
public:
    Link(Ref<GSocketConnection> to_application, Ref<GSocketConnection> to_agent, LinkReader reader);

    /// The callback runs, from the main loop, when both directions have ended.
    void on_end(std::function<void()> callback) { on_end_ = std::move(callback); }
    /// Begins. The link keeps itself alive until it has ended.
    void start();
    /// Ends both directions soon.
    void cut();

private:
    struct Direction {
        std::array<char, 65536> bytes{};
        gsize size = 0;
        bool over = false;
    };

    struct Operation;

    void read(End from);
    static void finish_read(GObject *stream, GAsyncResult *result, gpointer operation);
    void write(End from);
    static void finish_write(GObject *stream, GAsyncResult *result, gpointer operation);
    void on_read(End from, gssize size);
    void on_written(End from, bool whole);
    /// Passes the end of one end on to the other: a closed end as a closed one, one that only sends no more as such.
    void pass_end(End from);
    void end(End from);
    GSocket *socket(End end) const { return g_socket_connection_get_socket(connections_[end].get()); }

    std::array<Ref<GSocketConnection>, end_count> connections_;
    std::array<Direction, end_count> directions_{}; // by the end from which the bytes come
    LinkReader reader_;
    std::function<void()> on_end_ = [] {};
};

} // namespace kv::ctl
