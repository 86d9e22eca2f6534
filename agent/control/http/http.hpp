// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"
#include "listener.hpp"
#include "stream.hpp"

#include <list>

namespace kv::virtual_agent {

/// The control API over HTTP: commands, the journal as a WebSocket, and the files of the web console. It is served on a
/// Unix socket, which only its owner can open, and on request on a guarded port of 127.0.0.1.
class HttpControl final : public ConnectionHandler {
public:
    /// Each listener has limits of its own, so that clients of the port cannot shut out those of the socket.
    static constexpr std::size_t max_connections = 64;
    /// Connections to a guarded port that have not shown the token yet. Another one closes the oldest of them, so that
    /// programs without the token cannot shut out those that have it.
    static constexpr std::size_t max_strangers = 16;

    explicit HttpControl(ControlledAgent &agent) : agent_(agent) {}
    HttpControl(const HttpControl &) = delete;
    HttpControl &operator=(const HttpControl &) = delete;

    /// Throws std::runtime_error.
    void serve_path(const std::string &path);
    /// Returns the port, which is a free one if 0 was requested. Throws std::runtime_error.
    int serve_port(int port, const std::string &token);

private:
    struct Entrance {
        std::optional<Guard> guard; // only for a port
        std::list<Connection> connections{};
        std::unique_ptr<Listener> listener{};
    };

    void open(Descriptor socket, std::optional<Guard> guard);
    void accepted(Entrance &entrance, Descriptor client);
    void handle(Connection &connection, SoupServerMessage *message, const char *path, GHashTable *query) override;
    void handle_command(Connection &connection, SoupServerMessage *message, const std::string &name, GHashTable *query);
    void begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream) override;
    void ended(Connection &connection) override;

    ControlledAgent &agent_;
    std::list<Entrance> entrances_{};
    std::list<Stream> streams_{};
    Source trim_{};
};

} // namespace kv::virtual_agent
