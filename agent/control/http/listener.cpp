// SPDX-License-Identifier: Apache-2.0
#include "listener.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr int backlog = 128;
constexpr int max_accepted_at_once = 8; // then the connections that exist are served
constexpr unsigned pause_ms = 200;      // when accepting fails, as without free descriptors

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error{what + ": " + std::strerror(errno)};
}

Descriptor listen_at(const sockaddr *address, socklen_t size, const std::string &otherwise)
{
    Descriptor socket{::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    const int on = 1;
    if (socket.get() < 0 ||
        (address->sa_family == AF_INET && ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) ||
        ::bind(socket.get(), address, size) != 0 || ::listen(socket.get(), backlog) != 0)
        fail(otherwise);
    return socket;
}

/// The mode of new files, restored at the end.
class FileMode {
public:
    explicit FileMode(mode_t mask) : former_(::umask(mask)) {}
    FileMode(const FileMode &) = delete;
    FileMode &operator=(const FileMode &) = delete;
    ~FileMode() { ::umask(former_); }

private:
    mode_t former_;
};

} // namespace

Descriptor listen_on_path(const std::string &path)
{
    const std::string otherwise = "cannot create the control socket " + path;
    struct stat there = {};
    if (::lstat(path.c_str(), &there) == 0) {
        if (!S_ISSOCK(there.st_mode))
            throw std::runtime_error{
                otherwise + ": a file that is not a socket exists there; remove it, or choose another --runtime-dir"};
        ::unlink(path.c_str()); // left behind: this agent serves the port, so no other one runs
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error{otherwise + ": the path is too long"};
    path.copy(address.sun_path, path.size());
    const FileMode owner_only{0177};
    return listen_at(reinterpret_cast<const sockaddr *>(&address), sizeof address, otherwise);
}

Descriptor listen_on_port(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string otherwise = "cannot listen on port " + std::to_string(port) +
                                  " of 127.0.0.1; choose another one with --http, or 0 for any free one";
    Descriptor socket = listen_at(reinterpret_cast<const sockaddr *>(&address), sizeof address, otherwise);
    // The accepted sockets inherit this. Otherwise the body of a reply waits for the client's delayed acknowledgement of the
    // header, 40 ms.
    const int on = 1;
    if (::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0)
        fail(otherwise);
    return socket;
}

int port_of(const Descriptor &socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &size) != 0)
        fail("cannot read the port of the control API");
    return ntohs(address.sin_port);
}

Listener::Listener(Descriptor socket, Accepted accepted) : socket_(std::move(socket)), accepted_(std::move(accepted))
{
    watch();
}

void Listener::watch()
{
    source_.watch(socket_.get(), POLLIN, [this] {
        accept_some();
        return true;
    });
}

void Listener::accept_some()
{
    for (int i = 0; i < max_accepted_at_once; ++i) {
        Descriptor client{::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)};
        if (client.get() < 0) {
            if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
                pause();
            return;
        }
        has_failed_ = false;
        contain([&] { accepted_(std::move(client)); });
    }
}

void Listener::pause()
{
    if (!std::exchange(has_failed_, true))
        std::fprintf(stderr, "korvane-agent: cannot accept clients of the control API: %s\n", std::strerror(errno));
    source_.call_after(pause_ms, [this] { watch(); });
}

} // namespace kv::virtual_agent
