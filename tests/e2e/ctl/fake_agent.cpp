// SPDX-License-Identifier: Apache-2.0
#include "fake_agent.hpp"

#include <glib.h>

#include <cstdlib>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::test {

namespace {

constexpr const char *blank_line = "\r\n\r\n";

/// The value of a header of a request; "" if it is missing.
std::string header(const std::string &request, const std::string &name)
{
    const std::size_t at = request.find("\r\n" + name + ": ");
    if (at == std::string::npos)
        return "";
    const std::size_t begin = at + name.size() + 4;
    return request.substr(begin, request.find("\r\n", begin) - begin);
}

bool is_complete(const std::string &request)
{
    const std::size_t head = request.find(blank_line);
    if (head == std::string::npos)
        return false;
    const std::size_t body = std::strtoul(header(request, "Content-Length").c_str(), nullptr, 10);
    return request.size() >= head + 4 + body;
}

std::string read_request(int fd)
{
    std::string request;
    char bytes[4096];
    while (!is_complete(request)) {
        const ssize_t size = read(fd, bytes, sizeof bytes);
        if (size <= 0)
            return "";
        request.append(bytes, static_cast<std::size_t>(size));
    }
    return request;
}

/// "/v1/journal" from "POST http://localhost/v1/journal?x HTTP/1.1"
std::string path_of(const std::string &request)
{
    const std::size_t begin = request.find("/v1");
    return begin == std::string::npos ? "" : request.substr(begin, request.find_first_of(" ?", begin) - begin);
}

void send_all(int fd, const std::string &bytes)
{
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t sent = send(fd, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
        if (sent <= 0)
            return;
        at += static_cast<std::size_t>(sent);
    }
}

void read_to_end(int fd)
{
    char bytes[4096];
    while (read(fd, bytes, sizeof bytes) > 0) {
    }
}

} // namespace

FakeAgent::FakeAgent(const std::filesystem::path &runtime_directory, Answer answer) : answer_(std::move(answer))
{
    std::filesystem::create_directories(runtime_directory);
    std::filesystem::permissions(runtime_directory, std::filesystem::perms::owner_all);
    const std::string path = runtime_directory / "control";
    unlink(path.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 || listen(listener_, 16) != 0)
        throw std::runtime_error{"cannot listen at " + path};
    acceptor_ = std::thread{[this] { accept_all(); }};
}

FakeAgent::~FakeAgent()
{
    shutdown(listener_, SHUT_RDWR); // makes accept() fail
    acceptor_.join();
    {
        const std::lock_guard lock{mutex_};
        for (const int fd : open_)
            shutdown(fd, SHUT_RDWR);
    }
    for (std::thread &thread : threads_)
        thread.join();
    close(listener_);
}

void FakeAgent::accept_all()
{
    for (;;) {
        const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            return;
        const std::lock_guard lock{mutex_};
        open_.insert(fd);
        threads_.emplace_back([this, fd] { serve(fd); });
    }
}

void FakeAgent::serve(int fd)
{
    const std::string request = read_request(fd);
    const std::string path = path_of(request);
    if (!request.empty())
        send_all(fd, answer_(request, path));
    if (path == "/v1/stream") {
        shutdown(fd, SHUT_WR); // the end of the frames
        read_to_end(fd);
    }
    const std::lock_guard lock{mutex_};
    open_.erase(fd);
    close(fd);
}

std::string http_reply(const std::string &body, const std::string &status)
{
    return "HTTP/1.1 " + status +
           "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
           blank_line + body;
}

std::string websocket_reply(const std::string &request, const std::string &frames)
{
    const std::string text = header(request, "Sec-WebSocket-Key") + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    guint8 digest[20];
    gsize size = sizeof digest;
    GChecksum *checksum = g_checksum_new(G_CHECKSUM_SHA1);
    g_checksum_update(checksum, reinterpret_cast<const guchar *>(text.data()), static_cast<gssize>(text.size()));
    g_checksum_get_digest(checksum, digest, &size);
    g_checksum_free(checksum);
    g_autofree char *accepted = g_base64_encode(digest, size);
    return std::string{"HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                       "Sec-WebSocket-Accept: "} +
           accepted + blank_line + frames;
}

std::string websocket_frame(int opcode, const std::string &payload)
{
    const int whole = 0x80;
    return std::string{static_cast<char>(whole | opcode), static_cast<char>(payload.size())} + payload;
}

} // namespace kv::test
