// SPDX-License-Identifier: Apache-2.0
#include "control_socket.hpp"

#include "glib_pointers.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/output.hpp"

#include <gio/gunixsocketaddress.h>
#include <libsoup/soup.h>

namespace kv::ctl {

namespace {

std::string request_name(const std::string &path)
{
    return path.empty() ? "the request for its commands" : "'" + path.substr(1) + "'";
}

[[noreturn]] void connection_failed(const std::string &path, GError *error)
{
    const Problem problem{error, g_error_free};
    throw Failure{no_agent, "the agent did not reply to " + request_name(path) + ": " + problem->message};
}

std::string read_body(GInputStream *stream, const std::string &path)
{
    std::string body;
    char bytes[64 * 1024];
    for (;;) {
        GError *error = nullptr;
        const gssize size = g_input_stream_read(stream, bytes, sizeof bytes, nullptr, &error);
        if (size < 0)
            connection_failed(path, error);
        if (size == 0)
            return body;
        body.append(bytes, static_cast<std::size_t>(size));
        if (body.size() > ControlSocket::max_reply_bytes)
            throw Failure{failed, "the agent's reply to " + request_name(path) + " is longer than " +
                                      std::to_string(ControlSocket::max_reply_bytes >> 20) + " MiB"};
    }
}

void set_json_body(SoupMessage *message, const std::string &body)
{
    GBytes *bytes = g_bytes_new(body.data(), body.size());
    soup_message_set_request_body_from_bytes(message, "application/json", bytes);
    g_bytes_unref(bytes);
}

/// Why the agent refused a request.
std::string refusal(const Json &reply, const std::string &path, unsigned status)
{
    const std::string reason = printable(text_in(reply, "error"));
    return reason.empty() ? "the agent refused " + request_name(path) + " with HTTP status " + std::to_string(status)
                          : reason;
}

} // namespace

std::string control_url(const std::string &path)
{
    return "http://localhost/v1" + path;
}

ControlSocket::ControlSocket(const std::string &path, unsigned timeout_s)
{
    const Ref<GSocketAddress> address{g_unix_socket_address_new(path.c_str())};
    session_ = {soup_session_new_with_options("remote-connectable", address.get(), "timeout", timeout_s, nullptr),
                g_object_unref};
}

Json ControlSocket::request(const char *method, const std::string &path, const std::string &body) const
{
    const Ref<SoupMessage> message{soup_message_new(method, control_url(path).c_str())};
    if (!message)
        throw UsageError{"'" + path.substr(1) + "' is not the name of a command"};
    if (!body.empty())
        set_json_body(message.get(), body);
    GError *error = nullptr;
    const Ref<GInputStream> stream{
        soup_session_send(static_cast<SoupSession *>(session_.get()), message.get(), nullptr, &error)};
    if (!stream)
        connection_failed(path, error);
    Json reply = parsed(read_body(stream.get(), path));
    const unsigned status = soup_message_get_status(message.get());
    if (status != SOUP_STATUS_OK)
        throw Failure{failed, refusal(reply, path, status)};
    return reply;
}

} // namespace kv::ctl
