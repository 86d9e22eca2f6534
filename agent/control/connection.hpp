// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "guard.hpp"
#include "sockets.hpp"

namespace kv::virtual_agent {

class Connection;

/// What answers the requests of all connections.
class Answerer {
public:
    virtual void answer(Connection &connection, SoupServerMessage *message, const char *path, GHashTable *query) = 0;
    virtual void begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream) = 0;
    /// Nothing happens on the connection any more; it is to be destroyed.
    virtual void ended(Connection &connection) = 0;

protected:
    ~Answerer() = default;
};

inline constexpr const char *stream_path = "/v1/stream";

/// One client's connection, with an HTTP server of its own. One server for all would be handed connections just so, but
/// what it holds of a client that goes between two requests it frees at its own end only.
class Connection {
public:
    static constexpr std::size_t longest_body = 1 << 20;

    /// With a refusal, that is all it will hear.
    Connection(GSocketConnection *stream, const std::optional<Guard> &guard, std::optional<Refusal> refusal,
               Answerer &answerer);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    /// Keeps the request unanswered for as long as its command waits; then it has its answer, and is let go.
    void hold(SoupServerMessage *message, std::unique_ptr<Waiting> waiting);
    void let_go();

private:
    static void stream_gone(gpointer connection, GObject *);
    void serve();
    void set_common_headers(SoupServerMessage *message) const;
    void check(SoupServerMessage *message, const char *path, GHashTable *query);
    void refuse(SoupServerMessage *message, const Refusal &refusal, bool body_follows);
    void watch_for_end();
    void end_soon();
    void end_when_idle();

    GSocketConnection *stream_; // the server's; NULL when it is gone
    Ref<GSocket> socket_;
    const std::optional<Guard> &guard_;
    std::optional<Refusal> refusal_;
    Answerer &answerer_;
    Ref<SoupServer> server_;
    bool busy_ = false;       // with a request
    bool peer_ended_ = false; // and will send no more
    bool over_ = false;       // whatever is yet to come
    unsigned end_watch_ = 0;
    unsigned ending_ = 0;
    unsigned limit_ = 0;
    SoupServerMessage *held_ = nullptr;
    std::unique_ptr<Waiting> waiting_{};
};

/// Gives a message its answer.
void respond(SoupServerMessage *message, unsigned status, const char *type, std::string_view body);
void respond(SoupServerMessage *message, unsigned status, const Json &answer);

/// From which entry on a stream is wanted. Throws std::invalid_argument.
std::optional<int> since_in(GHashTable *query);

} // namespace kv::virtual_agent
