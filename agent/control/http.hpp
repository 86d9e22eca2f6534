// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"
#include "stream.hpp"

#include <list>

namespace kv::virtual_agent {

/// The control API: the table of commands over HTTP, the journal over WebSockets, and the files of the web console. On a
/// Unix socket, which only its owner can open, and, when wanted, on a guarded port of 127.0.0.1.
class HttpControl final : public Answerer {
public:
    static constexpr std::size_t most_connections = 64;

    explicit HttpControl(Steered &agent) : agent_(agent) {}
    HttpControl(const HttpControl &) = delete;
    HttpControl &operator=(const HttpControl &) = delete;

    /// Both throw std::runtime_error.
    void serve_path(const std::string &path);
    /// Gives back the port, which was chosen when 0 was asked for.
    int serve_port(int port, const std::string &token);

private:
    /// One way in.
    struct Door {
        std::optional<Guard> guard; // a path has none
        std::unique_ptr<Acceptor> acceptor{};
    };

    void open(Ref<GSocket> socket, std::optional<Guard> guard);
    void accepted(const Door &door, GSocketConnection *stream);
    void answer(Connection &connection, SoupServerMessage *message, const char *path, GHashTable *query) override;
    void answer_command(Connection &connection, SoupServerMessage *message, const std::string &name, GHashTable *query);
    void begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream) override;
    void ended(Connection &connection) override;

    Steered &agent_;
    std::list<Door> doors_{};
    std::list<Connection> connections_{};
    std::list<Stream> streams_{};
};

} // namespace kv::virtual_agent
