// SPDX-License-Identifier: Apache-2.0
#include "sockets.hpp"

#include <gio/gunixsocketaddress.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr int most_unaccepted = 64;
constexpr unsigned rest_ms = 200; // when there are no descriptors left

struct FreeError {
    void operator()(GError *error) const { g_error_free(error); }
};
using Error = std::unique_ptr<GError, FreeError>;

/// A step of GIO, which says by itself why it failed.
template <class Step>
auto checked(const std::string &what, Step step)
{
    GError *error = nullptr;
    auto result = step(&error);
    if (!result) {
        const Error why{error};
        throw std::runtime_error{what + ": " + (why ? why->message : "unknown error")};
    }
    return result;
}

Ref<GSocket> listen_on(GSocketAddress *address, GSocketFamily family, const std::string &otherwise)
{
    Ref<GSocket> socket{checked(otherwise, [family](GError **error) {
        return g_socket_new(family, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_DEFAULT, error);
    })};
    g_socket_set_blocking(socket.get(), false);
    g_socket_set_listen_backlog(socket.get(), most_unaccepted);
    checked(otherwise, [&](GError **error) { return g_socket_bind(socket.get(), address, true, error); });
    checked(otherwise, [&](GError **error) { return g_socket_listen(socket.get(), error); });
    return socket;
}

} // namespace

Ref<GSocket> listen_on_path(const std::string &path)
{
    const std::string otherwise = "cannot make the control socket " + path;
    struct stat there = {};
    if (::lstat(path.c_str(), &there) == 0) {
        if (!S_ISSOCK(there.st_mode))
            throw std::runtime_error{otherwise +
                                     ": there is something else; remove it, or choose another --runtime-dir"};
        ::unlink(path.c_str()); // of an agent that is no more: it is this one that serves the port
    }
    const Ref<GSocketAddress> address{g_unix_socket_address_new(path.c_str())};
    const mode_t mask = ::umask(0177);
    try {
        Ref<GSocket> socket = listen_on(address.get(), G_SOCKET_FAMILY_UNIX, otherwise);
        ::umask(mask);
        return socket;
    } catch (...) {
        ::umask(mask);
        throw;
    }
}

Ref<GSocket> listen_on_port(int port)
{
    const Ref<GSocketAddress> address{g_inet_socket_address_new_from_string("127.0.0.1", static_cast<guint>(port))};
    return listen_on(address.get(), G_SOCKET_FAMILY_IPV4,
                     "cannot listen on port " + std::to_string(port) +
                         " of 127.0.0.1; choose another one with --http, or 0 for any that is free");
}

int port_of(GSocket *socket)
{
    const Ref<GSocketAddress> address{g_socket_get_local_address(socket, nullptr)};
    return address ? g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(address.get())) : 0;
}

Acceptor::Acceptor(Ref<GSocket> socket, Accepted accepted) : socket_(std::move(socket)), accepted_(std::move(accepted))
{
    watch();
}

Acceptor::~Acceptor()
{
    rest();
    g_socket_close(socket_.get(), nullptr);
}

void Acceptor::rest()
{
    if (GSource *source = std::exchange(source_, nullptr)) {
        g_source_destroy(source);
        g_source_unref(source);
    }
}

void Acceptor::watch()
{
    rest();
    source_ = g_socket_create_source(socket_.get(), G_IO_IN, nullptr);
    const GSocketSourceFunc ready = [](GSocket *, GIOCondition, gpointer data) -> gboolean {
        auto *self = static_cast<Acceptor *>(data);
        while (self->accept_one()) {
        }
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source_, G_SOURCE_FUNC(ready), this, nullptr);
    g_source_attach(source_, nullptr);
}

bool Acceptor::accept_one()
{
    GError *error = nullptr;
    const Ref<GSocket> client{g_socket_accept(socket_.get(), nullptr, &error)};
    if (!client) {
        const Error why{error};
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK))
            return false;
        std::fprintf(stderr, "korvane-agent: cannot accept a client of the control API: %s\n", why->message);
        rest();
        source_ = g_timeout_source_new(rest_ms);
        g_source_set_callback(
            source_,
            [](gpointer data) -> gboolean {
                static_cast<Acceptor *>(data)->watch();
                return G_SOURCE_REMOVE;
            },
            this, nullptr);
        g_source_attach(source_, nullptr);
        return false;
    }
    g_socket_set_blocking(client.get(), false);
    g_socket_set_timeout(client.get(), patience_s);
    const Ref<GSocketConnection> connection{g_socket_connection_factory_create_connection(client.get())};
    accepted_(connection.get());
    return true;
}

} // namespace kv::virtual_agent
