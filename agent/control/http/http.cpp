// SPDX-License-Identifier: Apache-2.0
#include "http.hpp"

#include "agent/embedded.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <malloc.h>

namespace kv::virtual_agent {

namespace {

constexpr const char *api = "/v1";
constexpr unsigned upgrade_required = 426;
/// Connections above the limit that are refused with a reply. Further ones are closed at once.
constexpr std::size_t max_refused = 32;
constexpr std::size_t large = 256 << 10; // bytes of a request or reply

void refuse(SoupServerMessage *message, unsigned status, const std::string &why)
{
    respond(message, status, bad_reply(why));
}

void refuse_method(SoupServerMessage *message, const char *allowed)
{
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Allow", allowed);
    refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, std::string{"use "} + allowed);
}

bool is(SoupServerMessage *message, const char *method)
{
    return std::strcmp(soup_server_message_get_method(message), method) == 0;
}

/// The media type of a console file, by its ending.
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

/// The reply to GET /v1: all commands.
Json overview(const ControlledAgent &agent)
{
    Json commands = Json::array();
    for (const Command &command : all_commands()) {
        Json parameters = Json::array();
        for (const Parameter &parameter : command.parameters) {
            Json one = Json::object();
            one.set("name", parameter.name).set("kind", kind_name(parameter.kind));
            one.set("required", parameter.required);
            if (!parameter.choices.empty())
                one.set("choices", array_of(parameter.choices));
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
                                                     ? Json{static_cast<char *>(text)}
                                                     // unknown; refused later by its name
                                                     : argument_from(*known, static_cast<char *>(text)));
    }
    return arguments;
}

} // namespace

void HttpControl::serve_path(const std::string &path)
{
    open(listen_on_path(path), std::nullopt);
}

int HttpControl::serve_port(int port, const std::string &token)
{
    Descriptor socket = listen_on_port(port);
    const int chosen = port_of(socket);
    open(std::move(socket), Guard{chosen, token});
    return chosen;
}

void HttpControl::open(Descriptor socket, std::optional<Guard> guard)
{
    Entrance &entrance = entrances_.emplace_back();
    entrance.guard = std::move(guard);
    entrance.listener = std::make_unique<Listener>(
        std::move(socket), [this, &entrance](Descriptor client) { accepted(entrance, std::move(client)); });
}

void HttpControl::accepted(Entrance &entrance, Descriptor client)
{
    std::list<Connection> &all = entrance.connections;
    const auto is_stranger = [](const Connection &one) { return one.is_stranger(); };
    const auto strangers = static_cast<std::size_t>(std::count_if(all.begin(), all.end(), is_stranger));
    if (strangers >= max_strangers)
        all.erase(std::find_if(all.begin(), all.end(), is_stranger)); // the oldest
    const std::size_t known = all.size() - std::min(strangers, max_strangers - 1);
    if (known >= max_connections + max_refused)
        return; // not even refused with a reply
    std::optional<Refusal> refusal;
    if (known >= max_connections)
        refusal = Refusal{SOUP_STATUS_SERVICE_UNAVAILABLE, "there are 64 connections already; close one"};
    all.emplace_back(std::move(client), entrance.guard, std::move(refusal), *this);
}

void HttpControl::ended(Connection &connection)
{
    for (Entrance &entrance : entrances_)
        if (entrance.connections.remove_if([&](const Connection &one) { return &one == &connection; }) > 0)
            return;
}

void HttpControl::handle(Connection &connection, SoupServerMessage *message, const char *path, GHashTable *query)
{
    const std::string target = path;
    SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
    if (target == stream_path && soup_message_headers_header_contains(headers, "Upgrade", "websocket"))
        return; // libsoup continues with the handshake
    if (target == stream_path)
        return refuse(message, upgrade_required, "connect with a WebSocket");
    if (target.rfind(std::string{api} + "/", 0) == 0)
        return handle_command(connection, message, target.substr(std::strlen(api) + 1), query);

    const std::string name = target == "/" ? "index.html" : target.substr(1);
    const auto &files = console_files();
    const auto file =
        std::find_if(files.begin(), files.end(), [&](const EmbeddedFile &one) { return one.name == name; });
    if (target != api && file == files.end())
        return refuse(message, SOUP_STATUS_NOT_FOUND, "not found; GET /v1 lists the commands");
    if (!is(message, "GET"))
        return refuse_method(message, "GET");
    if (target == api)
        return respond(message, SOUP_STATUS_OK, overview(agent_));
    respond(message, SOUP_STATUS_OK, type_of(name), file->bytes);
}

void HttpControl::handle_command(Connection &connection, SoupServerMessage *message, const std::string &name,
                                 GHashTable *query)
{
    const Command *command = find_command(name);
    if (!command)
        return refuse(message, SOUP_STATUS_NOT_FOUND, "there is no command '" + name + "'; GET /v1 lists them");
    const bool reads = command->effect == Command::Effect::reads;
    const bool by_address = reads && is(message, "GET");
    if (!by_address && !is(message, "POST"))
        return refuse_method(message, reads ? "GET, POST" : "POST");

    try {
        const Json arguments = by_address ? arguments_of_query(*command, query) : arguments_of_body(message);
        auto waiting = carry_out(agent_, *command, arguments.get(), [this, &connection, message](const Json &reply) {
            const bool succeeded = cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(reply.get(), "ok"));
            const std::string text = reply.text();
            respond(message, succeeded ? SOUP_STATUS_OK : SOUP_STATUS_BAD_REQUEST, "application/json", text);
            if (text.size() + static_cast<std::size_t>(soup_server_message_get_request_body(message)->length) >= large)
                trim_.call_soon([] { ::malloc_trim(0); }, G_PRIORITY_LOW);
            connection.release();
        });
        if (waiting)
            connection.hold(message, std::move(waiting));
    } catch (const std::exception &problem) {
        refuse(message, SOUP_STATUS_BAD_REQUEST, problem.what());
    }
}

void HttpControl::begin_stream(SoupServerMessage *message, SoupWebsocketConnection *stream)
{
    const char *query = g_uri_get_query(soup_server_message_get_uri(message));
    const std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)> members{soup_form_decode(query ? query : ""),
                                                                             g_hash_table_unref};
    const std::int64_t since = since_in(members.get()).value_or(static_cast<int>(agent_.journal.next_seq()));
    streams_.emplace_back(agent_.journal, stream, since, [this](const Stream &gone) {
        streams_.remove_if([&gone](const Stream &one) { return &one == &gone; });
    });
}

} // namespace kv::virtual_agent
