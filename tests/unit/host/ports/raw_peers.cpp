// SPDX-License-Identifier: Apache-2.0
//
// Raw peers: they send bytes over sockets and use none of the code under test.
#include <glib.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include "fixture.hpp"

namespace kv::test {

namespace {

sockaddr_un address_of(const std::string &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

} // namespace

std::string u32(uint32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift & 0xff);
    return bytes;
}

std::string frame(const std::string &payload)
{
    return u32(static_cast<uint32_t>(payload.size())) + payload;
}

std::string handshake_request(int link, const std::string &token, uint32_t version)
{
    return frame("VKPL" + u32(version) + static_cast<char>(link) + token + u32(4) + "test");
}

std::string handshake_reply(int32_t code, uint32_t version)
{
    return frame("VKPR" + u32(version) + u32(static_cast<uint32_t>(code)));
}

RawLink::RawLink(const std::string &socket_path) : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_un address = address_of(socket_path);
    EXPECT_EQ(0, ::connect(descriptor_, reinterpret_cast<const sockaddr *>(&address), sizeof address));
}

void RawLink::send(const std::string &bytes) const
{
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

std::string RawLink::receive(size_t size) const
{
    std::string bytes;
    const bool arrived = run_until([&] {
        char some[4096];
        const ssize_t got = recv(descriptor_, some, std::min(sizeof some, size - bytes.size()), MSG_DONTWAIT);
        if (got > 0)
            bytes.append(some, static_cast<size_t>(got));
        if (bytes.size() == size || got == 0 || (got < 0 && errno != EAGAIN))
            return true;
        g_main_context_wakeup(nullptr); // the loop does not watch this link
        return false;
    });
    EXPECT_TRUE(arrived);
    return bytes;
}

bool RawLink::is_closed_by_peer() const
{
    return run_until([this] {
        char some[4096];
        const ssize_t got = recv(descriptor_, some, sizeof some, MSG_DONTWAIT);
        if (got == 0 || (got < 0 && errno != EAGAIN))
            return true;
        g_main_context_wakeup(nullptr);
        return false;
    });
}

void RawLink::close_now()
{
    if (descriptor_ >= 0)
        close(std::exchange(descriptor_, -1));
}

RawListener::RawListener(const std::string &socket_path) : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    std::filesystem::create_directory(std::filesystem::path(socket_path).parent_path());
    const sockaddr_un address = address_of(socket_path);
    EXPECT_EQ(0, bind(descriptor_, reinterpret_cast<const sockaddr *>(&address), sizeof address));
    EXPECT_EQ(0, listen(descriptor_, backlog));
}

RawListener::~RawListener()
{
    close(descriptor_);
}

RawLink RawListener::accept() const
{
    return RawLink(accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC));
}

bool RawListener::has_waiting() const
{
    pollfd waiting{descriptor_, POLLIN, 0};
    return poll(&waiting, 1, 0) == 1;
}

RawProxy::RawProxy(const std::string &socket_path, const std::string &token) : main(socket_path), callback(socket_path)
{
    main.send(handshake_request(0, token));
    callback.send(handshake_request(1, token));
    EXPECT_EQ(handshake_reply(0), main.receive(handshake_reply(0).size()));
}

RawAgent::RawAgent(const std::string &socket_path, Proxy &proxy) : listener(socket_path)
{
    EXPECT_EQ(0, proxy.connect());
    main.emplace(listener.accept());
    callback.emplace(listener.accept());
    main->send(handshake_reply(0));
    EXPECT_TRUE(run_until([&] { return proxy.connected + proxy.rejected > 0; }));
    EXPECT_EQ(1, proxy.connected);
}

} // namespace kv::test
