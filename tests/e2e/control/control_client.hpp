// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/agent_process.hpp"
#include "testing/support/file_descriptor.hpp"
#include "testing/support/wait.hpp"

#include <cjson/cJSON.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// A client of the control API that builds its own requests, so that it can also send malformed ones.
namespace kv::test {

/// A parsed JSON value.
class Document {
public:
    explicit Document(const std::string &text) : value_(cJSON_Parse(text.c_str())) {}

    const cJSON *get() const { return value_.get(); }
    /// The text of the value at a path of member names, such as a.b.c; empty if there is none.
    std::string at(const std::string &path) const;

private:
    struct Delete {
        void operator()(cJSON *value) const { cJSON_Delete(value); }
    };
    std::unique_ptr<cJSON, Delete> value_;
};

std::string text_of(const cJSON *value);

/// Status codes of responses.
namespace http {
inline constexpr int switching_protocols = 101;
inline constexpr int ok = 200;
inline constexpr int bad_request = 400;
inline constexpr int unauthorized = 401;
inline constexpr int forbidden = 403;
inline constexpr int not_found = 404;
inline constexpr int method_not_allowed = 405;
inline constexpr int length_required = 411;
inline constexpr int content_too_large = 413;
inline constexpr int misdirected_request = 421;
inline constexpr int upgrade_required = 426;
inline constexpr int service_unavailable = 503;
} // namespace http

struct Response {
    int status = 0; // 0 if no response arrived
    std::string head{};
    std::string body{};
    bool closed = false; // before the end of the response

    std::string at(const std::string &path) const { return Document{body}.at(path); }
    bool has_header(std::string_view line) const { return head.find(std::string{line} + "\r\n") != std::string::npos; }
};

/// A frame of a WebSocket.
struct Frame {
    int opcode = -1; // 1 text, 8 close, 10 pong; -1 if no frame arrived
    std::string payload{};

    int close_code() const;
};

class ControlConnection {
public:
    explicit ControlConnection(const AgentHome &home);
    explicit ControlConnection(int port);

    bool is_open() const { return socket_.is_open(); }
    /// Returns false if the agent has closed the connection.
    bool send(std::string_view bytes);
    Response receive();
    /// Waits until the agent closes the connection; discards what it sends before.
    bool wait_for_close(std::chrono::milliseconds timeout = test_timeout);

    /// Sends a request and returns the response. Each header ends with \r\n.
    Response request(const std::string &method, const std::string &target, const std::string &headers = {},
                     const std::string &body = {});
    Response get(const std::string &target) { return request("GET", target); }
    Response post(const std::string &command, const std::string &body = "{}")
    {
        return request("POST", "/v1/" + command, {}, body);
    }

    /// Requests a WebSocket. With response 101 the connection is one from then on.
    Response upgrade(const std::string &target, const std::string &headers = {});
    Frame next_frame();
    void send_frame(int opcode, const std::string &payload);

    std::string host = "agent";  // the header Host of requests
    std::string authorization{}; // one more header line, or empty

private:
    /// Reads until `size` bytes have been received. Returns false at the end of the connection or on timeout.
    bool fill(std::size_t size);
    bool read_more(int milliseconds);

    FileDescriptor socket_{};
    bool at_end_ = false;
    std::string received_{};
};

/// The content of control.json.
Document control_file(const AgentHome &home);

} // namespace kv::test
