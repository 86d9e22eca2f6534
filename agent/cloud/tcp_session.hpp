// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/files/descriptor.hpp"
#include "agent/loop/source.hpp"

#include <cstdint>
#include <functional>
#include <string>

namespace kv::virtual_agent {

/// The fields of the TCP header that the device sends next.
struct TcpHeader {
    std::string src_addr{};
    int src_port = 0;
    std::string dst_addr{};
    int dst_port = 0;
    std::uint32_t seq_num = 0; // of the next byte, as ack_num
    std::uint32_t ack_num = 0;
    int window = 0; // the field of the header, not scaled
    int window_scale = 0;
    bool has_kernel_numbers = false; // or numbers counted from the bytes of the connection
};

/// The device's connection to the cloud: real TCP over loopback with both ends in this process. Where this process may not
/// use TCP, for example in a service with restricted address families, the connection is a pair of Unix sockets, and its
/// header is simulated. A keep-alive is sent to the other end and echoed.
class TcpSession {
public:
    /// Connects. Throws std::system_error. `lost` is called from the GLib main loop with the error if the connection
    /// breaks; it may destroy the session.
    explicit TcpSession(std::function<void(int error)> lost);
    TcpSession(const TcpSession &) = delete;
    TcpSession &operator=(const TcpSession &) = delete;

    /// Sends one keep-alive and waits for its echo, which takes as long as the kernel needs. Returns 0 or the error.
    int keep_alive();

    TcpHeader header() const;

    bool is_simulated() const { return !tcp_problem_.empty(); }
    /// The reason why the session is simulated.
    const std::string &tcp_problem() const { return tcp_problem_; }

    std::int64_t sent() const { return sent_; }
    std::int64_t received() const { return received_; }

private:
    void connect_over_loopback();
    void connect_without_tcp();
    bool is_broken();
    TcpHeader kernels_header() const;

    std::function<void(int error)> lost_;
    std::string tcp_problem_{};
    Descriptor device_{};
    Descriptor cloud_{};
    std::int64_t sent_ = 0;
    std::int64_t received_ = 0;
    Source watch_{};
};

} // namespace kv::virtual_agent
