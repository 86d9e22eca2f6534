// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commands.hpp"
#include "control/guard.hpp"
#include "control/sockets.hpp"
#include "control/stream.hpp"

#include <list>

namespace kv::virtual_agent {

/// The control API: the table of commands over HTTP, the journal over WebSockets, and the files of the web console. On a
/// Unix socket, which only its owner can open, and, when wanted, on a guarded port of 127.0.0.1.
class HttpControl {
public:
    static constexpr int most_connections = 64;
    static constexpr std::size_t longest_body = 1 << 20;

    explicit HttpControl(Steered &agent) : agent_(agent) {}
    HttpControl(const HttpControl &) = delete;
    HttpControl &operator=(const HttpControl &) = delete;
    ~HttpControl();

    /// All throw std::runtime_error.
    void serve_path(const std::string &path);
    /// Gives back the port, which was chosen when 0 was asked for.
    int serve_port(int port, const std::string &token);

private:
    /// One way in.
    struct Door {
        HttpControl &control;
        std::optional<Guard> guard; // a path has none
        Ref<GSocket> other_end;     // of what the server believes to listen on
        Ref<SoupServer> server;
        std::unique_ptr<Acceptor> acceptor;
    };
    /// A request whose command waits.
    struct Pending {
        HttpControl &control;
        Ref<SoupServerMessage> message;
        unsigned gone_watch = 0;
        std::unique_ptr<Waiting> waiting{};
    };

    void open(Ref<GSocket> socket, std::optional<Guard> guard);
    void accepted(Door &door, GSocketConnection *connection);
    void check(const Door &door, SoupServerMessage *message, const char *path, GHashTable *query);
    void answer(SoupServerMessage *message, const std::string &path, GHashTable *query);
    void answer_command(SoupServerMessage *message, const std::string &name, GHashTable *query);
    void begin_stream(SoupServerMessage *message, SoupWebsocketConnection *connection);
    void hold(Pending &pending);
    void forget(Pending &pending);

    Steered &agent_;
    int connections_ = 0;
    std::list<Pending> pending_{};
    std::list<Stream> streams_{};
    std::list<Door> doors_{};
};

} // namespace kv::virtual_agent
