// SPDX-License-Identifier: Apache-2.0
#include "tcp_session.hpp"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <linux/tcp.h> // glibc's own has fewer members
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr int timeout_ms = 1000; // for the kernel; no other process takes part
constexpr char keep_alive_bytes[] = {'k', 'e', 'e', 'p', '-', 'a', 'l', 'i', 'v', 'e', '\r', '\n'};

/// Usual values: the first dynamic port, the port of HTTPS, and a window of 64 KiB.
const TcpHeader simulated_header{.src_addr = "127.0.0.1",
                                 .src_port = 49152,
                                 .dst_addr = "127.0.0.1",
                                 .dst_port = 443,
                                 .window = 512,
                                 .window_scale = 7};

[[noreturn]] void fail(const char *what)
{
    throw std::system_error{errno, std::generic_category(), std::string{"no connection to the cloud: "} + what};
}

Descriptor new_socket()
{
    Descriptor made{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (made.get() < 0)
        fail("socket");
    return made;
}

template <class Ask>
sockaddr_in address(const Descriptor &of, Ask ask)
{
    sockaddr_in found{};
    socklen_t size = sizeof found;
    if (ask(of.get(), reinterpret_cast<sockaddr *>(&found), &size) != 0)
        fail("address");
    return found;
}

sockaddr_in local_of(const Descriptor &socket)
{
    return address(socket, ::getsockname);
}
sockaddr_in remote_of(const Descriptor &socket)
{
    return address(socket, ::getpeername);
}

bool wait_for(const Descriptor &socket, short what)
{
    pollfd one{socket.get(), what, 0};
    int ready = 0;
    do
        ready = ::poll(&one, 1, timeout_ms);
    while (ready < 0 && errno == EINTR);
    if (ready == 0)
        errno = ETIMEDOUT;
    return ready > 0;
}

/// Accepts the connection from `device` and closes those from other programs that find the port.
Descriptor accept_from(const Descriptor &listener, const sockaddr_in &device)
{
    while (wait_for(listener, POLLIN)) {
        sockaddr_in from{};
        socklen_t size = sizeof from;
        Descriptor accepted{
            ::accept4(listener.get(), reinterpret_cast<sockaddr *>(&from), &size, SOCK_CLOEXEC | SOCK_NONBLOCK)};
        if (accepted.get() < 0 && errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
            break;
        if (accepted.get() >= 0 && from.sin_addr.s_addr == device.sin_addr.s_addr && from.sin_port == device.sin_port)
            return accepted;
    }
    fail("accept");
}

void send_at_once(const Descriptor &socket)
{
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int error_of(const Descriptor &socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    return error;
}

/// Sends one keep-alive and reads it at the other end. Returns 0 or the error.
int carry(const Descriptor &from, const Descriptor &to)
{
    char arrived[sizeof keep_alive_bytes];
    const ssize_t left = ::send(from.get(), keep_alive_bytes, sizeof keep_alive_bytes, MSG_NOSIGNAL);
    if (left != static_cast<ssize_t>(sizeof keep_alive_bytes))
        return left < 0 ? errno : EAGAIN;
    for (std::size_t read = 0; read < sizeof arrived;) {
        if (!wait_for(to, POLLIN))
            return errno;
        const ssize_t more = ::recv(to.get(), arrived + read, sizeof arrived - read, 0);
        if (more == 0)
            return ECONNRESET;
        if (more < 0 && errno != EINTR && errno != EAGAIN)
            return errno;
        read += more > 0 ? static_cast<std::size_t>(more) : 0;
    }
    return 0;
}

/// Puts a connection into repair mode, which needs CAP_NET_ADMIN and is the only way to read its sequence numbers. No
/// data is in flight here, and repair mode is left without a window probe, so the connection stays as it was.
class Repair {
public:
    explicit Repair(const Descriptor &socket) : socket_(socket), on_(set(TCP_REPAIR, TCP_REPAIR_ON)) {}
    Repair(const Repair &) = delete;
    Repair &operator=(const Repair &) = delete;
    ~Repair()
    {
        if (on_ && !set(TCP_REPAIR, TCP_REPAIR_OFF_NO_WP))
            set(TCP_REPAIR, TCP_REPAIR_OFF); // before Linux 4.20
    }

    bool next_number(int queue, std::uint32_t &number) const
    {
        socklen_t size = sizeof number;
        return on_ && set(TCP_REPAIR_QUEUE, queue) &&
               ::getsockopt(socket_.get(), IPPROTO_TCP, TCP_QUEUE_SEQ, &number, &size) == 0;
    }

private:
    bool set(int option, int value) const
    {
        return ::setsockopt(socket_.get(), IPPROTO_TCP, option, &value, sizeof value) == 0;
    }

    const Descriptor &socket_;
    bool on_;
};

tcp_info info_of(const Descriptor &socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    if (::getsockopt(socket.get(), IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        fail("TCP_INFO");
    return info;
}

std::string text_of(const in_addr &address)
{
    char text[INET_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

} // namespace

TcpSession::TcpSession(std::function<void(int error)> lost) : lost_(std::move(lost))
{
    try {
        connect_over_loopback();
    } catch (const std::system_error &problem) {
        tcp_problem_ = problem.what();
        connect_without_tcp();
    }
    // keep_alive() reads its echoes itself, so any other input is the end of the connection.
    watch_.watch(device_.get(), POLLIN | POLLHUP | POLLERR, [this] {
        if (!is_broken())
            return true;
        const int error = error_of(device_);
        const auto report = lost_; // the call may destroy this session
        report(error != 0 ? error : ECONNRESET);
        return false;
    });
}

void TcpSession::connect_over_loopback()
{
    const Descriptor listener = new_socket();
    sockaddr_in here{};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener.get(), reinterpret_cast<const sockaddr *>(&here), sizeof here) != 0)
        fail("bind");
    constexpr int backlog = 16;
    if (::listen(listener.get(), backlog) != 0)
        fail("listen");
    here = local_of(listener);

    device_ = new_socket();
    if (::connect(device_.get(), reinterpret_cast<const sockaddr *>(&here), sizeof here) != 0) {
        if (errno != EINPROGRESS || !wait_for(device_, POLLOUT))
            fail("connect");
        if ((errno = error_of(device_)) != 0)
            fail("connect");
    }
    cloud_ = accept_from(listener, local_of(device_));
    send_at_once(device_);
    send_at_once(cloud_);
}

void TcpSession::connect_without_tcp()
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0)
        fail("socketpair");
    device_ = Descriptor{ends[0]};
    cloud_ = Descriptor{ends[1]};
}

bool TcpSession::is_broken()
{
    char byte = 0;
    return ::recv(device_.get(), &byte, 1, 0) >= 0 || (errno != EAGAIN && errno != EINTR);
}

int TcpSession::keep_alive()
{
    if (const int error = carry(device_, cloud_))
        return error;
    sent_ += sizeof keep_alive_bytes;
    if (const int error = carry(cloud_, device_))
        return error;
    received_ += sizeof keep_alive_bytes;
    return 0;
}

TcpHeader TcpSession::header() const
{
    TcpHeader header = is_simulated() ? simulated_header : kernels_header();
    if (!header.has_kernel_numbers) {
        // As if both ends had begun with 0, which the SYN takes.
        header.seq_num = static_cast<std::uint32_t>(sent_) + 1;
        header.ack_num = static_cast<std::uint32_t>(received_) + 1;
    }
    return header;
}

TcpHeader TcpSession::kernels_header() const
{
    const sockaddr_in device = local_of(device_);
    const sockaddr_in cloud = remote_of(device_);
    TcpHeader header;
    header.src_addr = text_of(device.sin_addr);
    header.src_port = ntohs(device.sin_port);
    header.dst_addr = text_of(cloud.sin_addr);
    header.dst_port = ntohs(cloud.sin_port);

    // The window that the device advertises is the one that the other end knows.
    const tcp_info known = info_of(cloud_);
    header.window_scale = known.tcpi_snd_wscale;
    header.window = static_cast<int>(known.tcpi_snd_wnd >> known.tcpi_snd_wscale);

    const Repair repair{device_};
    header.has_kernel_numbers =
        repair.next_number(TCP_SEND_QUEUE, header.seq_num) && repair.next_number(TCP_RECV_QUEUE, header.ack_num);
    return header;
}

} // namespace kv::virtual_agent
