// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/control/commands/commands.hpp"
#include "agent/files/descriptor.hpp"
#include "gobject.hpp"
#include "guard.hpp"

#include <gio/gio.h>

#include <string_view>

namespace kv::virtual_agent {

class Connection;

/// Handles the requests of all connections.
class ConnectionHandler {
public:
    virtual void handle(Connection &connection, SoupServerMessage *message, const char *path, GHashTable *query) = 0;
    virtual void begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream) = 0;
    /// The connection has ended and is to be destroyed.
    virtual void ended(Connection &connection) = 0;

protected:
    ~ConnectionHandler() = default;
};

inline constexpr const char *stream_path = "/v1/stream";

/// One connection of a client, with an HTTP server of its own: libsoup frees what it keeps for a client that disconnects
/// between two requests only when the server ends.
class Connection {
public:
    static constexpr std::size_t max_body = 1 << 20;
    /// The first request must be complete that long after the connection was accepted.
    static constexpr unsigned request_deadline_ms = 10'000;
    /// A further request must be complete that long after the reply before it: clients keep idle connections.
    static constexpr unsigned next_request_deadline_ms = 60'000;
    /// A reply must be read by the client in that time.
    static constexpr unsigned reply_deadline_ms = 30'000;

    /// With a refusal, every request is answered with it. Throws std::runtime_error.
    Connection(Descriptor client, const std::optional<Guard> &guard, std::optional<Refusal> refusal,
               ConnectionHandler &handler);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    /// Whether no request on this connection has had the token, where one is needed.
    bool is_stranger() const { return guard_ && !is_known_; }

    /// Postpones the reply to a request while its command waits. release() sends it.
    void hold(SoupServerMessage *message, std::unique_ptr<Waiting> waiting);
    void release();

private:
    static void stream_gone(gpointer connection, GObject *);
    void serve();
    void connect_signals();
    void set_common_headers(SoupServerMessage *message) const;
    void check(SoupServerMessage *message, const char *path, GHashTable *query);
    void refuse(SoupServerMessage *message, const Refusal &refusal, bool body_follows);
    void begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream);
    void finished();
    void end_after(unsigned milliseconds);
    void end_soon();
    void end_when_idle();

    Ref<GSocket> socket_;
    GSocketConnection *stream_ = nullptr; // owned by the server; null once it is closed
    const std::optional<Guard> &guard_;
    std::optional<Refusal> refusal_;
    ConnectionHandler &handler_;
    Ref<SoupServer> server_;
    bool is_known_ = false;   // a request has had the token
    bool is_busy_ = false;    // with a request
    bool peer_ended_ = false; // the client sends nothing more
    bool is_over_ = false;    // to be ended no matter what arrives
    bool is_refused_ = false; // by a reply that libsoup did not write
    SoupServerMessage *held_ = nullptr;
    std::unique_ptr<Waiting> waiting_{};
    Source end_watch_{};
    Source ending_{};
    Source deadline_{};
};

/// Sets the reply of a message.
void respond(SoupServerMessage *message, unsigned status, const char *type, std::string_view body);
void respond(SoupServerMessage *message, unsigned status, const Json &reply);

/// The journal entry with which a stream begins. Throws std::invalid_argument.
std::optional<int> since_in(GHashTable *query);

} // namespace kv::virtual_agent
