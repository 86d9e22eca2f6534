// SPDX-License-Identifier: Apache-2.0
#include "control/http.hpp"

#include "embedded.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/socket.h>

namespace kv::virtual_agent {

namespace {

constexpr const char *api = "/v1";
constexpr const char *stream_path = "/v1/stream";
constexpr const char *json_type = "application/json";
constexpr unsigned upgrade_required = 426;
constexpr const char *remembered_as = "korvane-connection";
struct Phrase {
    unsigned status;
    const char *text;
};
/// Those that libsoup does not know.
constexpr Phrase unknown_phrases[] = {{SOUP_STATUS_MISDIRECTED_REQUEST, "Misdirected Request"},
                                      {upgrade_required, "Upgrade Required"}};
/// Above what is turned away politely, connections are closed as they come.
constexpr int most_turned_away = 32;

/// What is known of a client's connection. It goes with the address that the server keeps for each of its messages.
struct Client {
    GSocket *socket; // the connection's, which outlives its messages
    bool turned_away;
};

Client *client_of(SoupServerMessage *message)
{
    GSocketAddress *address = soup_server_message_get_remote_address(message);
    return address ? static_cast<Client *>(g_object_get_data(G_OBJECT(address), remembered_as)) : nullptr;
}

void respond(SoupServerMessage *message, unsigned status, const char *type, std::string_view body)
{
    const auto unknown = std::find_if(std::begin(unknown_phrases), std::end(unknown_phrases),
                                      [status](const Phrase &one) { return one.status == status; });
    soup_server_message_set_status(message, status, unknown == std::end(unknown_phrases) ? nullptr : unknown->text);
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
}

void respond(SoupServerMessage *message, unsigned status, const Json &answer)
{
    respond(message, status, json_type, answer.text());
}

void refuse(SoupServerMessage *message, unsigned status, const std::string &why)
{
    respond(message, status, bad_answer(why));
}

void refuse_method(SoupServerMessage *message, const char *allowed)
{
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Allow", allowed);
    refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, std::string{"this takes "} + allowed);
}

bool is(SoupServerMessage *message, const char *method)
{
    return std::strcmp(soup_server_message_get_method(message), method) == 0;
}

/// Of all answers, those that are about broken requests included.
void set_common_headers(SoupServerMessage *message, const std::optional<Guard> &guard)
{
    std::string policy = "default-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
    if (guard) {
        const std::string port = ":" + std::to_string(guard->port());
        policy += "; connect-src 'self' ws://127.0.0.1" + port + " ws://localhost" + port;
    }
    SoupMessageHeaders *headers = soup_server_message_get_response_headers(message);
    soup_message_headers_replace(headers, "Content-Security-Policy", policy.c_str());
    soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
    soup_message_headers_replace(headers, "Cache-Control", "no-store");
    soup_message_headers_replace(headers, "Referrer-Policy", "no-referrer");
    soup_message_headers_replace(headers, "Cross-Origin-Resource-Policy", "same-origin");
}

/// Of a file of the console, by its ending.
const char *type_of(const std::string &name)
{
    constexpr std::pair<const char *, const char *> types[] = {{".html", "text/html; charset=utf-8"},
                                                               {".css", "text/css; charset=utf-8"},
                                                               {".js", "text/javascript; charset=utf-8"},
                                                               {".svg", "image/svg+xml"}};
    for (const auto &[ending, type] : types)
        if (g_str_has_suffix(name.c_str(), ending))
            return type;
    return "application/octet-stream";
}

const char *kind_name(Parameter::Kind kind)
{
    switch (kind) {
    case Parameter::Kind::word: return "word";
    case Parameter::Kind::number: return "number";
    case Parameter::Kind::json: return "json";
    }
    return "";
}

Json list_of(const std::vector<const char *> &words)
{
    Json list = Json::array();
    for (const char *word : words)
        list.append(word);
    return list;
}

/// What there is, for whoever builds on it.
Json overview(const Steered &agent)
{
    Json commands = Json::array();
    for (const Command &command : all_commands()) {
        Json parameters = Json::array();
        for (const Parameter &parameter : command.parameters) {
            Json one = Json::object();
            one.set("name", parameter.name).set("kind", kind_name(parameter.kind));
            one.set("required", parameter.required);
            if (!parameter.choices.empty())
                one.set("choices", list_of(parameter.choices));
            parameters.append(std::move(one));
        }
        Json one = Json::object();
        one.set("name", command.name).set("form", command.form()).set("help", command.help);
        one.set("changes", command.effect == Command::Effect::changes).set("parameters", std::move(parameters));
        commands.append(std::move(one));
    }
    Json all = Json::object();
    all.set("agent", "korvane-agent").set("version", agent.state.version.text()).set("commands", std::move(commands));
    return all;
}

/// Throws std::invalid_argument.
Json arguments_of_body(SoupServerMessage *message)
{
    const std::unique_ptr<GBytes, decltype(&g_bytes_unref)> bytes{
        soup_message_body_flatten(soup_server_message_get_request_body(message)), g_bytes_unref};
    gsize size = 0;
    const auto *text = static_cast<const char *>(g_bytes_get_data(bytes.get(), &size));
    return size == 0 ? Json::object() : Json::parse({text, size});
}

/// Throws std::invalid_argument.
Json arguments_of_query(const Command &command, GHashTable *query)
{
    Json arguments = Json::object();
    GHashTableIter next;
    gpointer name = nullptr;
    gpointer text = nullptr;
    if (query)
        g_hash_table_iter_init(&next, query);
    while (query && g_hash_table_iter_next(&next, &name, &text)) {
        const auto known =
            std::find_if(command.parameters.begin(), command.parameters.end(),
                         [&](const Parameter &one) { return std::strcmp(one.name, static_cast<char *>(name)) == 0; });
        arguments.set(static_cast<char *>(name), known == command.parameters.end()
                                                     ? Json{static_cast<char *>(text)} // it will be refused by name
                                                     : argument_from(*known, static_cast<char *>(text)));
    }
    return arguments;
}

/// From which entry on a stream is wanted. Throws std::invalid_argument.
std::optional<int> since_in(GHashTable *query)
{
    const auto *text = query ? static_cast<const char *>(g_hash_table_lookup(query, "since")) : nullptr;
    return text ? std::optional{parse_number(text, "since")} : std::nullopt;
}

/// One end of a connected pair.
Ref<GSocket> silent_socket(Ref<GSocket> &other_end)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error{std::string{"no socket for the control API: "} + std::strerror(errno)};
    other_end.reset(g_socket_new_from_fd(ends[1], nullptr));
    return Ref<GSocket>{g_socket_new_from_fd(ends[0], nullptr)};
}

/// Whether that much of a body can be read, and a stream be begun: what has to be known before either is.
std::optional<Refusal> malformed(SoupServerMessage *message, const char *path, GHashTable *query)
{
    SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
    if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED)
        return Refusal{SOUP_STATUS_LENGTH_REQUIRED, "the length of the body must be told before it"};
    if (soup_message_headers_get_content_length(headers) > static_cast<goffset>(HttpControl::longest_body))
        return Refusal{SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, "the body must not be longer than 1 MiB"};
    if (std::strcmp(path, stream_path) == 0)
        try {
            since_in(query);
        } catch (const std::invalid_argument &problem) {
            return Refusal{SOUP_STATUS_BAD_REQUEST, problem.what()};
        }
    return std::nullopt;
}

} // namespace

HttpControl::~HttpControl()
{
    while (!pending_.empty())
        forget(pending_.front());
    streams_.clear();
    for (Door &door : doors_) {
        door.acceptor.reset();
        g_signal_handlers_disconnect_by_data(door.server.get(), &door);
        soup_server_disconnect(door.server.get());
    }
}

void HttpControl::serve_path(const std::string &path)
{
    open(listen_on_path(path), std::nullopt);
}

int HttpControl::serve_port(int port, const std::string &token)
{
    Ref<GSocket> socket = listen_on_port(port);
    const int chosen = port_of(socket.get());
    open(std::move(socket), Guard{chosen, token});
    return chosen;
}

void HttpControl::open(Ref<GSocket> socket, std::optional<Guard> guard)
{
    doors_.push_back({*this, std::move(guard), {}, Ref<SoupServer>{soup_server_new(nullptr, nullptr)}, nullptr});
    Door &door = doors_.back();
    SoupServer *server = door.server.get();
    // A text of a few hundred bytes is not worth a compressor for each reader.
    soup_server_remove_websocket_extension(server, SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);

    const auto started = +[](SoupServer *, SoupServerMessage *message, gpointer data) {
        set_common_headers(message, static_cast<Door *>(data)->guard);
    };
    g_signal_connect(server, "request-started", G_CALLBACK(started), &door);
    const SoupServerCallback early = [](SoupServer *, SoupServerMessage *message, const char *path, GHashTable *query,
                                        gpointer data) {
        const auto &used = *static_cast<Door *>(data);
        used.control.check(used, message, path, query);
    };
    const SoupServerCallback answered = [](SoupServer *, SoupServerMessage *message, const char *path,
                                           GHashTable *query, gpointer data) {
        static_cast<Door *>(data)->control.answer(message, path, query);
    };
    const SoupServerWebsocketCallback streamed = [](SoupServer *, SoupServerMessage *message, const char *,
                                                    SoupWebsocketConnection *connection, gpointer data) {
        static_cast<Door *>(data)->control.begin_stream(message, connection);
    };
    for (const char *path : {"/", stream_path}) {
        soup_server_add_early_handler(server, path, early, &door, nullptr);
        soup_server_add_handler(server, path, answered, &door, nullptr);
    }
    soup_server_add_websocket_handler(server, stream_path, nullptr, nullptr, streamed, &door, nullptr);
    // A server keeps a connection for another request only while it listens itself. This one is handed its connections,
    // counted, so what it listens on is the end of a pair whose other end is silent.
    const Ref<GSocket> silent = silent_socket(door.other_end);
    if (!soup_server_listen_socket(server, silent.get(), SoupServerListenOptions{}, nullptr))
        throw std::runtime_error{"the control API cannot be served"};
    door.acceptor = std::make_unique<Acceptor>(
        std::move(socket), [this, &door](GSocketConnection *connection) { accepted(door, connection); });
}

void HttpControl::accepted(Door &door, GSocketConnection *connection)
{
    if (connections_ >= most_connections + most_turned_away)
        return;
    ++connections_;
    const auto gone = +[](gpointer data, GObject *) { --*static_cast<int *>(data); };
    g_object_weak_ref(G_OBJECT(connection), gone, &connections_);

    GSocket *socket = g_socket_connection_get_socket(connection);
    // The server takes for granted that it is reached over a network: of a path nothing is known that it could use.
    const auto address = [] { return Ref<GSocketAddress>{g_inet_socket_address_new_from_string("127.0.0.1", 0)}; };
    const Ref<GSocketAddress> here = address();
    const Ref<GSocketAddress> there = address();
    g_object_set_data_full(G_OBJECT(there.get()), remembered_as, new Client{socket, connections_ > most_connections},
                           [](gpointer data) { delete static_cast<Client *>(data); });
    soup_server_accept_iostream(door.server.get(), G_IO_STREAM(connection), here.get(), there.get(), nullptr);
}

/// Before the body is read.
void HttpControl::check(const Door &door, SoupServerMessage *message, const char *path, GHashTable *query)
{
    std::optional<Refusal> refusal;
    if (const Client *client = client_of(message); client && client->turned_away)
        refusal = Refusal{SOUP_STATUS_SERVICE_UNAVAILABLE, "there are 64 connections already; close one"};
    else if (door.guard)
        refusal = door.guard->refusal(message, path, query);
    if (!refusal)
        refusal = malformed(message, path, query);
    if (!refusal)
        return;
    // Nothing that stands behind it is read any more.
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Connection", "close");
    refuse(message, refusal->status, refusal->why);
}

void HttpControl::answer(SoupServerMessage *message, const std::string &path, GHashTable *query)
{
    SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
    if (path == stream_path && soup_message_headers_header_contains(headers, "Upgrade", "websocket"))
        return; // the server goes on with it
    if (path == stream_path)
        return refuse(message, upgrade_required, "this is a WebSocket");
    if (path.rfind(std::string{api} + "/", 0) == 0)
        return answer_command(message, path.substr(std::strlen(api) + 1), query);

    const std::string name = path == "/" ? "index.html" : path.substr(1);
    const auto &files = console_files();
    const auto file =
        std::find_if(files.begin(), files.end(), [&](const EmbeddedFile &one) { return one.name == name; });
    if (path != api && file == files.end())
        return refuse(message, SOUP_STATUS_NOT_FOUND, "there is nothing here; GET /v1 says what there is");
    if (!is(message, "GET"))
        return refuse_method(message, "GET");
    if (path == api)
        return respond(message, SOUP_STATUS_OK, overview(agent_));
    respond(message, SOUP_STATUS_OK, type_of(name), file->bytes);
}

void HttpControl::answer_command(SoupServerMessage *message, const std::string &name, GHashTable *query)
{
    const Command *command = find_command(name);
    if (!command)
        return refuse(message, SOUP_STATUS_NOT_FOUND, "there is no command '" + name + "'; GET /v1 lists them");
    const bool asks = command->effect == Command::Effect::asks;
    const bool by_address = asks && is(message, "GET");
    if (!by_address && !is(message, "POST"))
        return refuse_method(message, asks ? "GET, POST" : "POST");

    const auto arrived = pending_.insert(pending_.end(), {*this, Ref<SoupServerMessage>{}});
    arrived->message.reset(SOUP_SERVER_MESSAGE(g_object_ref(message)));
    Pending *pending = &*arrived;
    try {
        const Json arguments = by_address ? arguments_of_query(*command, query) : arguments_of_body(message);
        pending->waiting = carry_out(agent_, *command, arguments.get(), [this, pending](const Json &answer) {
            const bool well = cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(answer.get(), "ok"));
            respond(pending->message.get(), well ? SOUP_STATUS_OK : SOUP_STATUS_BAD_REQUEST, answer);
            if (pending->waiting) {
                soup_server_message_unpause(pending->message.get());
                forget(*pending);
            }
        });
    } catch (const std::exception &problem) {
        refuse(message, SOUP_STATUS_BAD_REQUEST, problem.what());
    }
    if (!pending->waiting)
        return forget(*pending);
    hold(*pending);
}

/// Keeps the request until its answer is there, or whoever asks is gone: nothing is read while it is held.
void HttpControl::hold(Pending &pending)
{
    soup_server_message_pause(pending.message.get());
    const Client *client = client_of(pending.message.get());
    if (!client)
        return;
    GSource *source = g_socket_create_source(client->socket, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), nullptr);
    const GSocketSourceFunc ready = [](GSocket *socket, GIOCondition, gpointer data) -> gboolean {
        auto *held = static_cast<Pending *>(data);
        char byte = 0;
        held->gone_watch = 0;
        if (::recv(g_socket_get_fd(socket), &byte, 1, MSG_PEEK | MSG_DONTWAIT) <= 0) {
            g_socket_shutdown(socket, true, true, nullptr);
            soup_server_message_unpause(held->message.get());
            held->control.forget(*held);
        }
        return G_SOURCE_REMOVE; // what has come instead is its next request
    };
    g_source_set_callback(source, G_SOURCE_FUNC(ready), &pending, nullptr);
    pending.gone_watch = g_source_attach(source, nullptr);
    g_source_unref(source);
}

void HttpControl::forget(Pending &pending)
{
    if (pending.gone_watch != 0)
        g_source_remove(pending.gone_watch);
    pending_.remove_if([&pending](const Pending &one) { return &one == &pending; });
}

void HttpControl::begin_stream(SoupServerMessage *message, SoupWebsocketConnection *connection)
{
    if (const Client *client = client_of(message))
        g_socket_set_timeout(client->socket, 0); // nothing may happen for long
    const char *query = g_uri_get_query(soup_server_message_get_uri(message));
    const std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)> members{soup_form_decode(query ? query : ""),
                                                                             g_hash_table_unref};
    const std::int64_t since = since_in(members.get()).value_or(agent_.journal.next_seq());
    streams_.emplace_back(agent_.journal, connection, since, [this](const Stream &gone) {
        streams_.remove_if([&gone](const Stream &one) { return &one == &gone; });
    });
}

} // namespace kv::virtual_agent
