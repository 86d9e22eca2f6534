// SPDX-License-Identifier: Apache-2.0
#include "control/connection.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr unsigned time_to_read_refusal_ms = 1000;

struct Phrase {
    unsigned status;
    const char *text;
};
/// Those that libsoup does not know.
constexpr Phrase phrases[] = {{SOUP_STATUS_MISDIRECTED_REQUEST, "Misdirected Request"}, {426, "Upgrade Required"}};

const char *phrase_of(unsigned status)
{
    const auto found = std::find_if(std::begin(phrases), std::end(phrases),
                                    [status](const Phrase &one) { return one.status == status; });
    return found == std::end(phrases) ? soup_status_get_phrase(status) : found->text;
}

/// Something that a server can listen on and never hears of: a path that nobody can reach any more.
Ref<GSocket> silent_socket()
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un place{AF_UNIX, "/tmp/korvane-agent-XXXXXX"};
    bool good = fd >= 0 && ::mkdtemp(place.sun_path);
    if (good) {
        const std::string folder = place.sun_path;
        std::strcat(place.sun_path, "/s");
        good = ::bind(fd, reinterpret_cast<const sockaddr *>(&place), sizeof place) == 0 && ::listen(fd, 1) == 0;
        ::unlink(place.sun_path);
        ::rmdir(folder.c_str());
    }
    if (GSocket *socket = good ? g_socket_new_from_fd(fd, nullptr) : nullptr)
        return Ref<GSocket>{socket};
    throw std::runtime_error{std::string{"no socket for the control API: "} + std::strerror(errno)};
}

/// Whether the request is such that its body cannot be read.
std::optional<Refusal> bad_body(SoupMessageHeaders *headers)
{
    if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED)
        return Refusal{SOUP_STATUS_LENGTH_REQUIRED, "the length of the body must be told before it"};
    if (soup_message_headers_get_content_length(headers) > static_cast<goffset>(Connection::longest_body))
        return Refusal{SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, "the body must not be longer than 1 MiB"};
    return std::nullopt;
}

/// A stream begins when its request is answered, so what is wrong with it must be found before.
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

bool expects_body(SoupMessageHeaders *headers)
{
    return soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED ||
           soup_message_headers_get_content_length(headers) > 0;
}

/// That the peer of a connection will send no more has no name in GLib, so it takes a source of its own kind.
struct EndSource {
    GSource base;
    GPollFD end;
};

unsigned watch_for_peers_end(int fd, GSourceFunc ended, gpointer data)
{
    static GSourceFuncs functions = {
        nullptr,
        [](GSource *source) -> gboolean { return reinterpret_cast<EndSource *>(source)->end.revents != 0; },
        [](GSource *, GSourceFunc callback, gpointer given) -> gboolean { return callback(given); },
        nullptr,
        nullptr,
        nullptr};
    GSource *source = g_source_new(&functions, sizeof(EndSource));
    GPollFD &end = reinterpret_cast<EndSource *>(source)->end;
    end = {fd, POLLRDHUP | POLLHUP | POLLERR, 0};
    g_source_add_poll(source, &end);
    g_source_set_callback(source, ended, data, nullptr);
    const unsigned id = g_source_attach(source, nullptr);
    g_source_unref(source);
    return id;
}

/// The whole answer as it stands on the wire.
std::string written(SoupServerMessage *message)
{
    const unsigned status = soup_server_message_get_status(message);
    std::string text = "HTTP/1.1 " + std::to_string(status) + " " + phrase_of(status) + "\r\n";
    SoupMessageHeadersIter next;
    const char *name = nullptr;
    const char *value = nullptr;
    soup_message_headers_iter_init(&next, soup_server_message_get_response_headers(message));
    while (soup_message_headers_iter_next(&next, &name, &value))
        text.append(name).append(": ").append(value).append("\r\n");
    const std::unique_ptr<GBytes, decltype(&g_bytes_unref)> body{
        soup_message_body_flatten(soup_server_message_get_response_body(message)), g_bytes_unref};
    gsize size = 0;
    const auto *bytes = static_cast<const char *>(g_bytes_get_data(body.get(), &size));
    text += "Content-Length: " + std::to_string(size) + "\r\n\r\n";
    return text.append(bytes, size);
}

} // namespace

void respond(SoupServerMessage *message, unsigned status, const char *type, std::string_view body)
{
    soup_server_message_set_status(message, status, phrase_of(status));
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
}

void respond(SoupServerMessage *message, unsigned status, const Json &answer)
{
    respond(message, status, "application/json", answer.text());
}

std::optional<int> since_in(GHashTable *query)
{
    const auto *text = query ? static_cast<const char *>(g_hash_table_lookup(query, "since")) : nullptr;
    return text ? std::optional{parse_number(text, "since")} : std::nullopt;
}

Connection::Connection(GSocketConnection *stream, const std::optional<Guard> &guard, std::optional<Refusal> refusal,
                       Answerer &answerer)
    : stream_(stream), socket_(G_SOCKET(g_object_ref(g_socket_connection_get_socket(stream)))), guard_(guard),
      refusal_(std::move(refusal)), answerer_(answerer), server_(soup_server_new(nullptr, nullptr))
{
    g_object_weak_ref(G_OBJECT(stream), stream_gone, this);
    serve();
    watch_for_end();
}

Connection::~Connection()
{
    for (const unsigned source : {end_watch_, ending_, limit_})
        if (source != 0)
            g_source_remove(source);
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
    // A text of a few hundred bytes is not worth a compressor for each reader.
    soup_server_remove_websocket_extension(server, SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);
    const auto started = +[](SoupServer *, SoupServerMessage *message, gpointer data) {
        auto *self = static_cast<Connection *>(data);
        self->busy_ = true;
        self->set_common_headers(message);
    };
    const auto finished = +[](SoupServer *, SoupServerMessage *, gpointer data) {
        auto *self = static_cast<Connection *>(data);
        self->busy_ = false;
        // libsoup stops reading at a timeout but leaves the connection open, so a later request would get no reply.
        g_socket_set_timeout(self->socket_.get(), 0);
        self->end_when_idle();
    };
    g_signal_connect(server, "request-started", G_CALLBACK(started), this);
    g_signal_connect(server, "request-finished", G_CALLBACK(finished), this);
    g_signal_connect(server, "request-aborted", G_CALLBACK(finished), this);

    const SoupServerCallback early = [](SoupServer *, SoupServerMessage *message, const char *path, GHashTable *query,
                                        gpointer data) {
        static_cast<Connection *>(data)->check(message, path, query);
    };
    const SoupServerCallback answered = [](SoupServer *, SoupServerMessage *message, const char *path,
                                           GHashTable *query, gpointer data) {
        auto *self = static_cast<Connection *>(data);
        self->answerer_.answer(*self, message, path, query);
    };
    const SoupServerWebsocketCallback streamed = [](SoupServer *, SoupServerMessage *message, const char *,
                                                    SoupWebsocketConnection *stream, gpointer data) {
        auto *self = static_cast<Connection *>(data);
        g_socket_set_timeout(self->socket_.get(), 0); // nothing may happen for long
        if (const unsigned watch = std::exchange(self->end_watch_, 0); watch != 0)
            g_source_remove(watch); // which it has of its own
        self->answerer_.begin_stream(message, stream);
    };
    for (const char *path : {"/", stream_path}) {
        soup_server_add_early_handler(server, path, early, this, nullptr);
        soup_server_add_handler(server, path, answered, this, nullptr);
    }
    soup_server_add_websocket_handler(server, stream_path, nullptr, nullptr, streamed, this, nullptr);

    // Only a server that listens keeps a connection for another request.
    if (!soup_server_listen_socket(server, silent_socket().get(), SoupServerListenOptions{}, nullptr))
        throw std::runtime_error{"the control API cannot be served"};
    // It takes for granted that it is reached over a network, so a path is told as one.
    const Ref<GSocketAddress> address{g_inet_socket_address_new_from_string("127.0.0.1", 0)};
    soup_server_accept_iostream(server, G_IO_STREAM(stream_), address.get(), address.get(), nullptr);
}

/// Of all answers, those that are about broken requests included.
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

/// Before the body is read.
void Connection::check(SoupServerMessage *message, const char *path, GHashTable *query)
{
    SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
    g_socket_set_timeout(socket_.get(), Acceptor::patience_s);
    std::optional<Refusal> refusal = refusal_;
    if (!refusal && guard_)
        refusal = guard_->refusal(message, path, query);
    if (!refusal)
        refusal = bad_body(headers);
    if (!refusal)
        refusal = bad_stream(path, query);
    if (refusal)
        refuse(message, *refusal, expects_body(headers));
}

/// Nothing that stands behind the request is read any more. The server would read its body first, so with one it has to
/// be passed by: the answer is written here, and soon afterwards the connection ends.
void Connection::refuse(SoupServerMessage *message, const Refusal &refusal, bool body_follows)
{
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Connection", "close");
    respond(message, refusal.status, bad_answer(refusal.why));
    if (!body_follows)
        return;
    soup_message_body_set_accumulate(soup_server_message_get_request_body(message), false);
    const std::string answer = written(message);
    g_socket_send(socket_.get(), answer.data(), answer.size(), nullptr, nullptr);
    g_socket_shutdown(socket_.get(), false, true, nullptr);
    limit_ = g_timeout_add(
        time_to_read_refusal_ms,
        [](gpointer data) -> gboolean {
            auto *self = static_cast<Connection *>(data);
            self->limit_ = 0;
            self->over_ = true;
            self->end_soon();
            return G_SOURCE_REMOVE;
        },
        this);
}

void Connection::hold(SoupServerMessage *message, std::unique_ptr<Waiting> waiting)
{
    held_ = message;
    waiting_ = std::move(waiting);
    soup_server_message_pause(message);
    end_when_idle();
}

void Connection::let_go()
{
    if (SoupServerMessage *message = std::exchange(held_, nullptr)) {
        waiting_.reset();
        soup_server_message_unpause(message);
    }
}

void Connection::watch_for_end()
{
    end_watch_ = watch_for_peers_end(
        g_socket_get_fd(socket_.get()),
        [](gpointer data) -> gboolean {
            auto *self = static_cast<Connection *>(data);
            self->end_watch_ = 0;
            self->peer_ended_ = true;
            self->end_when_idle();
            return G_SOURCE_REMOVE;
        },
        this);
}

/// A client that will send no more may still read the answers to what it has sent.
void Connection::end_when_idle()
{
    char byte = 0;
    if (peer_ended_ && (!busy_ || held_) &&
        ::recv(g_socket_get_fd(socket_.get()), &byte, 1, MSG_PEEK | MSG_DONTWAIT) <= 0)
        end_soon();
}

/// Not at once: it may be its own server that tells.
void Connection::end_soon()
{
    if (ending_ != 0)
        return;
    ending_ = g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer data) -> gboolean {
            auto *self = static_cast<Connection *>(data);
            self->ending_ = 0;
            const bool is_busy_again = self->busy_ && !self->held_; // with what had come already
            if (!self->stream_ || self->over_ || !is_busy_again)
                self->answerer_.ended(*self);
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

} // namespace kv::virtual_agent
