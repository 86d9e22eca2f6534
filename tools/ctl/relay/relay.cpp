// SPDX-License-Identifier: Apache-2.0
#include "relay.hpp"

#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/loop.hpp"

#include <gio/gunixsocketaddress.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

/// Connects at once: the kernel accepts a connection to a Unix socket without its program. Null if nothing listens.
Ref<GSocketConnection> connected_to(const std::string &path)
{
    const Ref<GSocketAddress> address{g_unix_socket_address_new(path.c_str())};
    const Ref<GSocket> socket{
        g_socket_new(G_SOCKET_FAMILY_UNIX, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_DEFAULT, nullptr)};
    if (!socket || !g_socket_connect(socket.get(), address.get(), nullptr, nullptr))
        return nullptr;
    return Ref<GSocketConnection>{g_socket_connection_factory_create_connection(socket.get())};
}

/// Whether this user or root serves the connection. The host platform decides about others, by the package's group.
bool is_of_own_user_or_root(const Ref<GSocketConnection> &connection)
{
    const Ref<GCredentials> credentials{
        g_socket_get_credentials(g_socket_connection_get_socket(connection.get()), nullptr)};
    const uid_t user = credentials ? g_credentials_get_unix_user(credentials.get(), nullptr) : static_cast<uid_t>(-1);
    return user == 0 || user == geteuid();
}

/// The same as connected_to(), but null also if another user serves the socket: requests carry secrets.
Ref<GSocketConnection> connected_to_own(const std::string &path)
{
    Ref<GSocketConnection> connection = connected_to(path);
    return connection && is_of_own_user_or_root(connection) ? std::move(connection) : nullptr;
}

} // namespace

Relay::Relay(const std::string &directory, Traffic &traffic) : traffic_(traffic), agent_path_(agent_socket())
{
    const std::filesystem::path path = directory / std::filesystem::path{agent_path_}.filename();
    take_lock(std::filesystem::path{path}.replace_extension(".lock"));
    listen(path);
}

Relay::~Relay()
{
    if (service_) {
        g_signal_handlers_disconnect_by_data(service_.get(), this);
        g_socket_service_stop(service_.get());
        g_socket_listener_close(G_SOCKET_LISTENER(service_.get()));
    }
    for (const std::shared_ptr<Link> &link : links_)
        link->cut();
    while (!links_.empty())
        g_main_context_iteration(nullptr, true);
    if (lock_ >= 0)
        close(lock_);
}

/// The lock of the agent that serves a port, so that none takes the port from the relay.
void Relay::take_lock(const std::string &path)
{
    lock_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock_ < 0 || flock(lock_, LOCK_EX | LOCK_NB) != 0)
        throw Failure{failed, "cannot lock " + path + ": " + std::strerror(errno)};
}

void Relay::listen(const std::string &path)
{
    service_.reset(g_socket_service_new());
    const Ref<GSocketAddress> address{g_unix_socket_address_new(path.c_str())};
    GError *error = nullptr;
    if (!g_socket_listener_add_address(G_SOCKET_LISTENER(service_.get()), address.get(), G_SOCKET_TYPE_STREAM,
                                       G_SOCKET_PROTOCOL_DEFAULT, nullptr, nullptr, &error)) {
        const Problem problem{error, g_error_free};
        throw Failure{failed, "cannot serve " + path + ": " + problem->message};
    }
    g_signal_connect(service_.get(), "incoming", G_CALLBACK(on_incoming), this);
    g_socket_service_start(service_.get());
}

gboolean Relay::on_incoming(GSocketService *, GSocketConnection *connection, GObject *, gpointer self)
{
    Loop::guard([connection, self] {
        static_cast<Relay *>(self)->connect(Ref<GSocketConnection>{G_SOCKET_CONNECTION(g_object_ref(connection))});
    });
    return true;
}

void Relay::require_agent()
{
    if (connected_to_own(agent_path_))
        return;
    Loop wait;
    bool is_there = false;
    start_.begin([&](bool listens) {
        is_there = listens;
        wait.quit();
    });
    wait.run();
    if (!is_there)
        throw Failure{no_agent, "no agent listens at " + agent_path_ + ", and none was started"};
}

void Relay::connect(Ref<GSocketConnection> to_application)
{
    if (!start_.runs())
        if (Ref<GSocketConnection> to_agent = connected_to_own(agent_path_))
            return join(std::move(to_application), std::move(to_agent));
    waiting_.push_back(std::move(to_application));
    if (!start_.runs())
        start_.begin([this](bool listens) { connect_waiting(listens); });
}

/// Closes the links if no agent listens.
void Relay::connect_waiting(bool listens)
{
    for (Ref<GSocketConnection> &to_application : std::exchange(waiting_, {}))
        if (Ref<GSocketConnection> to_agent = listens ? connected_to_own(agent_path_) : nullptr)
            join(std::move(to_application), std::move(to_agent));
        else
            traffic_.warn("no agent listens at " + agent_path_ + "; the application's link is closed");
}

void Relay::join(Ref<GSocketConnection> to_application, Ref<GSocketConnection> to_agent)
{
    auto link =
        std::make_shared<Link>(std::move(to_application), std::move(to_agent), LinkReader{next_number_++, traffic_});
    link->on_end([this, ended = link.get()] {
        std::erase_if(links_, [ended](const std::shared_ptr<Link> &one) { return one.get() == ended; });
        if (links_.empty())
            on_idle_();
    });
    links_.insert(link);
    link->start();
}

} // namespace kv::ctl
