// SPDX-License-Identifier: Apache-2.0
#include "agent.hpp"

#include "paths.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/output.hpp"

#include <gio/gunixsocketaddress.h>
#include <libsoup/soup.h>

#include <algorithm>
#include <fstream>

namespace kv::ctl {

namespace {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Object>
using Ref = std::unique_ptr<Object, Unref>;
using Problem = std::unique_ptr<GError, decltype(&g_error_free)>;

constexpr const char *address = "http://localhost/v1"; // only the path matters on a Unix socket
constexpr unsigned a_moment_s = 2;

[[noreturn]] void no_agent_runs(const std::string &why)
{
    throw Failure{no_agent, "no virtual agent runs here (" + why + "); 'korvanectl agent start' starts one"};
}

SoupSession *session_in(const std::shared_ptr<void> &session)
{
    return static_cast<SoupSession *>(session.get());
}

std::string text_in(const Json &entry, const char *member)
{
    const auto found = entry.find(member);
    return found == entry.end() ? "" : found->is_string() ? found->get<std::string>() : text_of(*found);
}

} // namespace

Agent::Agent() : Agent(0) {}

Agent::Agent(unsigned timeout_s)
{
    const std::string directory = runtime_directory();
    const std::string socket = directory + "/control";
    const Ref<GSocketAddress> place{g_unix_socket_address_new(socket.c_str())};
    session_ = {soup_session_new_with_options("remote-connectable", place.get(), "timeout", timeout_s, nullptr),
                g_object_unref};
    try {
        overview_ = ask("GET", "", "");
    } catch (const Failure &problem) {
        no_agent_runs(socket + ": " + problem.what());
    }
    std::ifstream file{directory + "/control.json"};
    const Json facts = Json::parse(file, nullptr, false);
    if (facts.is_object())
        pid_ = facts.value("pid", 0);
}

std::optional<Agent> Agent::if_running()
{
    try {
        return Agent{a_moment_s};
    } catch (const Failure &) {
        return std::nullopt;
    }
}

const Json *Agent::find_command(const std::string &name) const
{
    for (const Json &command : overview_["commands"])
        if (command["name"] == name)
            return &command;
    return nullptr;
}

Json Agent::run(const std::string &command, const Json &arguments) const
{
    return ask("POST", "/" + command, text_of(arguments));
}

Json Agent::ask(const char *method, const std::string &path, const std::string &body) const
{
    const Ref<SoupMessage> message{soup_message_new(method, (address + path).c_str())};
    if (!message)
        throw UsageError{"'" + path.substr(1) + "' is no command's name"};
    if (!body.empty()) {
        GBytes *bytes = g_bytes_new(body.data(), body.size());
        soup_message_set_request_body_from_bytes(message.get(), "application/json", bytes);
        g_bytes_unref(bytes);
    }
    GError *error = nullptr;
    GBytes *bytes = soup_session_send_and_read(session_in(session_), message.get(), nullptr, &error);
    if (!bytes) {
        const Problem problem{error, g_error_free};
        throw Failure{no_agent, std::string{"the agent does not answer: "} + problem->message};
    }
    gsize size = 0;
    const auto *text = static_cast<const char *>(g_bytes_get_data(bytes, &size));
    Json answer = parsed({text, size});
    g_bytes_unref(bytes);
    if (!answer.is_object())
        throw Failure{failed, "the agent's answer is no JSON object"};
    if (soup_message_get_status(message.get()) != SOUP_STATUS_OK)
        throw Failure{failed, text_in(answer, "error")};
    return answer;
}

struct Agent::Stream::Link {
    std::shared_ptr<void> session;
    Heard heard;
    Ended ended;
    Ref<GCancellable> cancelled{g_cancellable_new()};
    Ref<SoupWebsocketConnection> connection{};

    ~Link()
    {
        if (!connection)
            return;
        g_signal_handlers_disconnect_by_data(connection.get(), this);
        if (soup_websocket_connection_get_state(connection.get()) == SOUP_WEBSOCKET_STATE_OPEN)
            soup_websocket_connection_close(connection.get(), SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
    }

    void connected(SoupWebsocketConnection *made)
    {
        connection.reset(made);
        soup_websocket_connection_set_max_incoming_payload_size(made, 0);
        const auto take = +[](SoupWebsocketConnection *, gint, GBytes *bytes, gpointer self) {
            gsize size = 0;
            const auto *text = static_cast<const char *>(g_bytes_get_data(bytes, &size));
            static_cast<Link *>(self)->heard(parsed({text, size}));
        };
        const auto close = +[](SoupWebsocketConnection *gone, gpointer self) {
            const char *why = soup_websocket_connection_get_close_data(gone);
            static_cast<Link *>(self)->ended(why && *why ? why : "the agent went away");
        };
        g_signal_connect(made, "message", G_CALLBACK(take), this);
        g_signal_connect(made, "closed", G_CALLBACK(close), this);
    }
};

Agent::Stream::Stream(const Agent &agent, std::optional<long long> since, Heard heard, Ended ended)
    : link_(std::make_shared<Link>())
{
    link_->session = agent.session_;
    link_->heard = std::move(heard);
    link_->ended = std::move(ended);
    const std::string path = std::string{address} + "/stream" + (since ? "?since=" + std::to_string(*since) : "");
    const Ref<SoupMessage> message{soup_message_new("GET", path.c_str())};
    const auto finished = +[](GObject *session, GAsyncResult *result, gpointer data) {
        const std::unique_ptr<std::weak_ptr<Link>> held{static_cast<std::weak_ptr<Link> *>(data)};
        GError *error = nullptr;
        SoupWebsocketConnection *made =
            soup_session_websocket_connect_finish(SOUP_SESSION(session), result, &error); // NOLINT: GObject's cast
        const Problem problem{error, g_error_free};
        const std::shared_ptr<Link> link = held->lock();
        if (made && link)
            link->connected(made);
        else if (made)
            g_object_unref(made);
        else if (link)
            link->ended(problem->message);
    };
    soup_session_websocket_connect_async(session_in(agent.session_), message.get(), nullptr, nullptr,
                                         G_PRIORITY_DEFAULT, link_->cancelled.get(), finished,
                                         new std::weak_ptr<Link>{link_});
}

Agent::Stream::~Stream()
{
    g_cancellable_cancel(link_->cancelled.get());
}

std::string entry_in_words(const Json &entry)
{
    const auto members = [&entry](const char *name) {
        const auto found = entry.find(name);
        return found == entry.end() ? "" : found->is_object() ? in_words(*found) : text_of(*found);
    };
    const std::string peer = text_in(entry, "peer");
    std::string words = entry.contains("time_us") ? time_of_day(entry["time_us"].get<long long>()) + "  " : "";
    words += peer.empty() ? "" : peer + "  ";
    if (entry.contains("method"))
        words += text_in(entry, "method") + "(" + members("arguments") + ")  ->  " + members("answer");
    else if (entry.contains("event"))
        words += "<=  " + text_in(entry, "event") + "(" + members("values") + ")";
    else if (entry.contains("connection"))
        words += text_in(entry, "connection");
    else if (entry.contains("step"))
        words += "scenario, line " + text_in(entry, "line") + ": " + text_in(entry, "step");
    else if (entry.contains("command"))
        words += "steered by " + text_in(entry, "command") + "(" + members("with") + ")";
    else if (entry.contains("update"))
        words += "update: " + text_in(entry, "update");
    else if (entry.contains("agent"))
        words += "agent " + text_in(entry, "version") + " " + text_in(entry, "agent");
    else
        words += text_of(entry);
    if (entry.contains("fault"))
        words += "  [fault " + text_in(entry, "fault") + "]";
    if (!entry.value("ok", true))
        words += "  FAILED";
    if (entry.contains("problem"))
        words += "  [" + text_in(entry, "problem") + "]";
    return words;
}

} // namespace kv::ctl
