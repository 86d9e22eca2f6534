// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace kv::virtual_agent {

/// A file descriptor and its end.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor();

    int get() const { return fd_; }

private:
    int fd_;
};

/// What stands in the headers that the device sends.
struct TcpHeader {
    std::string src_addr{};
    int src_port = 0;
    std::string dst_addr{};
    int dst_port = 0;
    std::uint32_t seq_num = 0; // of the next byte, as ack_num
    std::uint32_t ack_num = 0;
    int window = 0; // as it stands in the header, so before it is scaled
    int window_scale = 0;
    bool numbers_are_kernels = false; // or counted from the bytes that went over it
};

/// The device's connection to the cloud: real TCP, over loopback, with both ends in this process. Keep-alives go over it
/// to the other end and back.
class TcpSession {
public:
    /// Connects; throws std::system_error. Should the connection break by itself, `lost` is told the error on the GLib
    /// main loop; the session may be destroyed there.
    explicit TcpSession(std::function<void(int error)> lost);
    TcpSession(const TcpSession &) = delete;
    TcpSession &operator=(const TcpSession &) = delete;
    ~TcpSession();

    /// Sends one keep-alive and waits for its echo. Both ends being here, that takes as long as the kernel needs.
    /// 0, or the error.
    int keep_alive();

    TcpHeader header() const;

    std::int64_t sent() const { return sent_; }
    std::int64_t received() const { return received_; }

private:
    bool has_broken();

    std::function<void(int error)> lost_;
    Descriptor device_{};
    Descriptor cloud_{};
    unsigned watch_ = 0;
    std::int64_t sent_ = 0;
    std::int64_t received_ = 0;
};

} // namespace kv::virtual_agent
