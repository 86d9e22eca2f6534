// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include "unread_body.hpp"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr unsigned time_to_read_refusal_ms = 1000;

Ref<GSocket> socket_of(Descriptor descriptor)
{
    GError *error = nullptr;
    GSocket *socket = g_socket_new_from_fd(descriptor.get(), &error);
    if (!socket) {
        const std::string why = error->message;
        g_error_free(error);
        throw std::runtime_error{"cannot serve a client of the control API: " + why};
    }
    descriptor.release(); // now the GSocket's
    return Ref<GSocket>{socket};
}

/// libsoup keeps a connection for further requests only if its server listens. This socket is what it listens on: one
/// end of a pair whose other end never sends anything, so nothing outside the process can reach it.
Ref<GSocket> silent_socket()
{
    static const Descriptor silent = [] {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0)
            throw std::runtime_error{std::string{"cannot serve the control API: "} + std::strerror(errno)};
        static const Descriptor other_end{ends[1]};
        return Descriptor{ends[0]};
    }();
    Descriptor copy{::fcntl(silent.get(), F_DUPFD_CLOEXEC, 0)};
    if (copy.get() < 0)
        throw std::runtime_error{std::string{"cannot serve a client of the control API: "} + std::strerror(errno)};
    return socket_of(std::move(copy));
}

/// A stream begins with its reply, so its query must be checked before.
std::optional<Refusal> bad_stream(const char *path, GHashTable *query)
{
    try {
        if (std::strcmp(path, stream_path) == 0)
            since_in(query);
        return std::nullopt;
    } catch (const std::invalid_argument &problem) {
        return Refusal{SOUP_STATUS_BAD_REQUEST, problem.what()};
    }
}

/// Answers a message whose handler has thrown.
void respond_after_failure(SoupServerMessage *message)
{
    if (soup_server_message_get_status(message) == 0)
        soup_server_message_set_status(message, SOUP_STATUS_INTERNAL_SERVER_ERROR, nullptr);
}

} // namespace

void respond(SoupServerMessage *message, unsigned status, const char *type, std::string_view body)
{
    soup_server_message_set_status(message, status, phrase_of(status));
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
}

void respond(SoupServerMessage *message, unsigned status, const Json &reply)
{
    respond(message, status, "application/json", reply.text());
}

std::optional<int> since_in(GHashTable *query)
{
    const auto *text = query ? static_cast<const char *>(g_hash_table_lookup(query, "since")) : nullptr;
    return text ? std::optional{parse_number(text, "since")} : std::nullopt;
}

Connection::Connection(Descriptor client, const std::optional<Guard> &guard, std::optional<Refusal> refusal,
                       ConnectionHandler &handler)
    : socket_(socket_of(std::move(client))), guard_(guard), refusal_(std::move(refusal)), handler_(handler),
      server_(soup_server_new(nullptr, nullptr))
{
    // First, because serving may already begin a stream, which has no deadline.
    end_after(request_deadline_ms);
    end_watch_.watch(g_socket_get_fd(socket_.get()), POLLRDHUP | POLLHUP | POLLERR, [this] {
        peer_ended_ = true;
        end_when_idle();
        return false;
    });
    serve();
}

Connection::~Connection()
{
    waiting_.reset();
    g_signal_handlers_disconnect_by_data(server_.get(), this);
    if (stream_) {
        g_object_weak_unref(G_OBJECT(stream_), stream_gone, this);
        g_io_stream_close(G_IO_STREAM(stream_), nullptr, nullptr);
    }
    soup_server_disconnect(server_.get());
}

void Connection::stream_gone(gpointer connection, GObject *)
{
    auto *self = static_cast<Connection *>(connection);
    self->stream_ = nullptr;
    self->end_soon();
}

void Connection::serve()
{
    SoupServer *server = server_.get();
    if (!soup_server_listen_socket(server, silent_socket().get(), SoupServerListenOptions{}, nullptr))
        throw std::runtime_error{"cannot serve a client of the control API"};
    // Compressing messages of a few hundred bytes would cost memory for each client and save nothing.
    soup_server_remove_websocket_extension(server, SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);
    connect_signals();

    const SoupServerCallback early = [](SoupServer *, SoupServerMessage *message, const char *path, GHashTable *query,
                                        gpointer data) {
        contain([=] { static_cast<Connection *>(data)->check(message, path, query); });
    };
    const SoupServerCallback handled = [](SoupServer *, SoupServerMessage *message, const char *path, GHashTable *query,
                                          gpointer data) {
        auto *self = static_cast<Connection *>(data);
        contain([=] { self->handler_.handle(*self, message, path, query); });
        if (std::strcmp(path, stream_path) != 0 && !self->held_)
            respond_after_failure(message);
    };
    const SoupServerWebsocketCallback streamed = [](SoupServer *, SoupServerMessage *message, const char *,
                                                    SoupWebsocketConnection *stream, gpointer data) {
        contain([=] { static_cast<Connection *>(data)->begin_stream(message, stream); });
    };
    for (const char *path : {"/", stream_path}) {
        soup_server_add_early_handler(server, path, early, this, nullptr);
        soup_server_add_handler(server, path, handled, this, nullptr);
    }
    soup_server_add_websocket_handler(server, stream_path, nullptr, nullptr, streamed, this, nullptr);

    const Ref<GSocketConnection> stream{g_socket_connection_factory_create_connection(socket_.get())};
    stream_ = stream.get();
    g_object_weak_ref(G_OBJECT(stream_), stream_gone, this);
    // libsoup expects network addresses, also for a Unix socket.
    const Ref<GSocketAddress> address{g_inet_socket_address_new_from_string("127.0.0.1", 0)};
    soup_server_accept_iostream(server, G_IO_STREAM(stream_), address.get(), address.get(), nullptr);
}

void Connection::connect_signals()
{
    const auto started = +[](SoupServer *, SoupServerMessage *message, gpointer data) {
        auto *self = static_cast<Connection *>(data);
        self->is_busy_ = true;
        self->set_common_headers(message);
    };
    const auto was_read = +[](SoupServer *, SoupServerMessage *, gpointer data) {
        static_cast<Connection *>(data)->end_after(reply_deadline_ms);
    };
    const auto finished =
        +[](SoupServer *, SoupServerMessage *, gpointer data) { static_cast<Connection *>(data)->finished(); };
    g_signal_connect(server_.get(), "request-started", G_CALLBACK(started), this);
    g_signal_connect(server_.get(), "request-read", G_CALLBACK(was_read), this);
    g_signal_connect(server_.get(), "request-finished", G_CALLBACK(finished), this);
    g_signal_connect(server_.get(), "request-aborted", G_CALLBACK(finished), this);
}

void Connection::begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream)
{
    // A stream may be idle for hours, and notices the end of the client itself.
    deadline_.cancel();
    end_watch_.cancel();
    handler_.begin_stream(message, stream);
}

/// For all replies, those to malformed requests included.
void Connection::set_common_headers(SoupServerMessage *message) const
{
    std::string policy = "default-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
    if (guard_) {
        const std::string port = ":" + std::to_string(guard_->port());
        policy += "; connect-src 'self' ws://127.0.0.1" + port + " ws://localhost" + port;
    }
    SoupMessageHeaders *headers = soup_server_message_get_response_headers(message);
    soup_message_headers_replace(headers, "Content-Security-Policy", policy.c_str());
    soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
    soup_message_headers_replace(headers, "Cache-Control", "no-store");
    soup_message_headers_replace(headers, "Referrer-Policy", "no-referrer");
    soup_message_headers_replace(headers, "Cross-Origin-Resource-Policy", "same-origin");
}

/// Called before the body is read.
void Connection::check(SoupServerMessage *message, const char *path, GHashTable *query)
{
    SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
    std::optional<Refusal> refusal = refusal_;
    if (!refusal && guard_) {
        refusal = guard_->refusal(message, path, query);
        is_known_ = is_known_ || (!refusal && guard_->knows_token(message, path, query));
    }
    if (!refusal)
        refusal = bad_body(headers, max_body);
    if (!refusal)
        refusal = bad_stream(path, query);
    if (refusal)
        refuse(message, *refusal, expects_body(headers));
}

/// Refuses a request and everything behind it. libsoup would read the body before it replies, so the reply to a request
/// with a body is written to the socket directly; the connection ends a second later.
void Connection::refuse(SoupServerMessage *message, const Refusal &refusal, bool body_follows)
{
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Connection", "close");
    respond(message, refusal.status, bad_reply(refusal.why));
    if (!body_follows)
        return;
    soup_message_body_set_accumulate(soup_server_message_get_request_body(message), false);
    const std::string reply = written(message);
    g_socket_send(socket_.get(), reply.data(), reply.size(), nullptr, nullptr);
    g_socket_shutdown(socket_.get(), false, true, nullptr);
    end_after(time_to_read_refusal_ms);
    is_refused_ = true;
}

void Connection::hold(SoupServerMessage *message, std::unique_ptr<Waiting> waiting)
{
    held_ = message;
    waiting_ = std::move(waiting);
    deadline_.cancel();
    soup_server_message_pause(message);
    end_when_idle();
}

void Connection::release()
{
    if (SoupServerMessage *message = std::exchange(held_, nullptr)) {
        waiting_.reset();
        end_after(reply_deadline_ms);
        soup_server_message_unpause(message);
    }
}

void Connection::finished()
{
    is_busy_ = false;
    end_after(next_request_deadline_ms);
    end_when_idle();
}

void Connection::end_after(unsigned milliseconds)
{
    if (is_refused_)
        return; // the deadline of the refusal stays
    deadline_.call_after(milliseconds, [this] {
        is_over_ = true;
        end_soon();
    });
}

/// A client that sends nothing more may still read the replies to what it has sent.
void Connection::end_when_idle()
{
    char byte = 0;
    if (peer_ended_ && (!is_busy_ || held_) &&
        ::recv(g_socket_get_fd(socket_.get()), &byte, 1, MSG_PEEK | MSG_DONTWAIT) <= 0)
        end_soon();
}

/// Ends the connection from the main loop, because the caller may be its own server. The priority is above that of new
/// connections: they would otherwise count ended ones as well.
void Connection::end_soon()
{
    if (ending_.is_active())
        return;
    ending_.call_soon(
        [this] {
            const bool is_busy_again = is_busy_ && !held_; // with a request that had arrived before the end
            if (!stream_ || is_over_ || !is_busy_again)
                handler_.ended(*this);
        },
        G_PRIORITY_HIGH);
}

} // namespace kv::virtual_agent
