// SPDX-License-Identifier: Apache-2.0
#include "control_client.hpp"

#include "testing/support/read_file.hpp"
#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kv::test {

namespace {

template <class Address>
FileDescriptor connect_to(int family, const Address &address)
{
    FileDescriptor socket{::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        socket.close();
    return socket;
}

constexpr int timeout_ms = static_cast<int>(test_timeout.count());

std::size_t content_length(const std::string &head)
{
    const std::string member = "Content-Length: ";
    const std::size_t at = head.find(member);
    return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + member.size(), nullptr, 10);
}

} // namespace

std::string text_of(const cJSON *value)
{
    const std::unique_ptr<char, decltype(&cJSON_free)> text{value ? cJSON_PrintUnformatted(value) : nullptr,
                                                            cJSON_free};
    return text ? text.get() : "";
}

std::string Document::at(const std::string &path) const
{
    const cJSON *value = value_.get();
    std::istringstream names{path};
    for (std::string name; value && std::getline(names, name, '.');)
        value = cJSON_IsArray(value) ? cJSON_GetArrayItem(value, std::atoi(name.c_str()))
                                     : cJSON_GetObjectItemCaseSensitive(value, name.c_str());
    return cJSON_IsString(value) ? value->valuestring : text_of(value);
}

int Frame::close_code() const
{
    if (opcode != 8 || payload.size() < 2)
        return -1;
    return static_cast<unsigned char>(payload[0]) * 256 + static_cast<unsigned char>(payload[1]);
}

ControlConnection::ControlConnection(const AgentHome &home)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = home.runtime() / "control";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = connect_to(AF_UNIX, address);
}

ControlConnection::ControlConnection(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socket_ = connect_to(AF_INET, address);
    host = "127.0.0.1:" + std::to_string(port);
}

bool ControlConnection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        pollfd wait{socket_.get(), POLLOUT, 0};
        if (::poll(&wait, 1, timeout_ms) <= 0)
            return false;
        const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool ControlConnection::read_more(int milliseconds)
{
    pollfd wait{socket_.get(), POLLIN, 0};
    if (!is_open() || at_end_ || ::poll(&wait, 1, milliseconds) <= 0)
        return false;
    char bytes[65536];
    const ssize_t count = ::read(socket_.get(), bytes, sizeof bytes);
    at_end_ = count <= 0;
    if (!at_end_)
        received_.append(bytes, static_cast<std::size_t>(count));
    return !at_end_;
}

bool ControlConnection::fill(std::size_t size)
{
    while (received_.size() < size)
        if (!read_more(timeout_ms))
            return false;
    return true;
}

bool ControlConnection::wait_for_close(std::chrono::milliseconds timeout)
{
    const Deadline deadline{timeout};
    while (!at_end_ && !deadline.has_passed()) {
        read_more(deadline.milliseconds_left());
        received_.clear();
    }
    return at_end_;
}

Response ControlConnection::receive()
{
    Response response;
    std::size_t end = 0;
    while ((end = received_.find("\r\n\r\n")) == std::string::npos)
        if (!read_more(timeout_ms)) {
            response.closed = at_end_;
            return response;
        }
    response.head = received_.substr(0, end + 2);
    received_.erase(0, end + 4);
    response.status = std::atoi(response.head.c_str() + response.head.find(' '));
    const std::size_t length = response.status == 101 ? 0 : content_length(response.head);
    response.closed = !fill(length);
    response.body = received_.substr(0, length);
    received_.erase(0, length);
    return response;
}

Response ControlConnection::request(const std::string &method, const std::string &target, const std::string &headers,
                                    const std::string &body)
{
    std::string text = method + " " + target + " HTTP/1.1\r\nHost: " + host + "\r\n" + authorization + headers;
    if (!body.empty())
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    send(text + "\r\n" + body);
    return receive();
}

Response ControlConnection::upgrade(const std::string &target, const std::string &headers)
{
    return request("GET", target,
                   "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                   "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                       headers);
}

Frame ControlConnection::next_frame()
{
    const auto byte = [this](std::size_t index) { return static_cast<unsigned char>(received_[index]); };
    if (!fill(2))
        return {};
    std::size_t size = byte(1) & 0x7f;
    std::size_t begin = 2;
    if (size >= 126) {
        const std::size_t more = size == 126 ? 2 : 8;
        if (!fill(2 + more))
            return {};
        size = 0;
        for (; begin < 2 + more; ++begin)
            size = size << 8 | byte(begin);
    }
    if (!fill(begin + size))
        return {};
    Frame frame{byte(0) & 0x0f, received_.substr(begin, size)};
    received_.erase(0, begin + size);
    return frame;
}

void ControlConnection::send_frame(int opcode, const std::string &payload)
{
    // The frames of a client are masked. A mask of zeros does not change the bytes.
    const std::size_t size = payload.size();
    std::string frame{static_cast<char>(0x80 | opcode)};
    const int length_bytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
    frame += static_cast<char>(0x80 | (length_bytes == 0 ? static_cast<int>(size) : length_bytes == 2 ? 126 : 127));
    for (int byte = length_bytes - 1; byte >= 0; --byte)
        frame += static_cast<char>(size >> (8 * byte) & 0xff);
    send(frame + std::string(4, '\0') + payload);
}

Document control_file(const AgentHome &home)
{
    return Document{read_file(home.runtime() / "control.json")};
}

} // namespace kv::test
