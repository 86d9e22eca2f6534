// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/agent_process.hpp"

#include <cjson/cJSON.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// A client of the control API that only knows bytes, so that it can also send what no HTTP library would.
namespace kv::test {

/// A JSON value that was read. What is not there reads as nothing.
class Document {
public:
    explicit Document(const std::string &text) : value_(cJSON_Parse(text.c_str())) {}

    const cJSON *get() const { return value_.get(); }
    /// The text of the part at a path of member names: a.b.c; empty when there is none.
    std::string at(const std::string &path) const;

private:
    struct Delete {
        void operator()(cJSON *value) const { cJSON_Delete(value); }
    };
    std::unique_ptr<cJSON, Delete> value_;
};

std::string text_of(const cJSON *value);

struct Response {
    int status = 0; // 0: none came
    std::string head{};
    std::string body{};
    bool closed = false; // instead of it, or before its end

    std::string at(const std::string &path) const { return Document{body}.at(path); }
    bool has_header(std::string_view line) const { return head.find(std::string{line} + "\r\n") != std::string::npos; }
};

/// What a WebSocket has brought.
struct Frame {
    int opcode = -1; // 1 text, 8 close, 9 ping; -1 when none came
    std::string payload{};

    int close_code() const;
};

class ControlConnection {
public:
    explicit ControlConnection(const AgentHome &home);
    explicit ControlConnection(int port);
    ControlConnection(const ControlConnection &) = delete;
    ControlConnection &operator=(const ControlConnection &) = delete;
    ControlConnection(ControlConnection &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    ~ControlConnection();

    bool is_open() const { return fd_ >= 0; }
    /// False when the other side takes no more.
    bool send(std::string_view bytes);
    Response receive();
    /// Whether the other side closes within that time; what it sends before is thrown away.
    bool is_closed_within(int milliseconds);

    /// Headers end with \r\n each.
    Response ask(const std::string &method, const std::string &target, const std::string &headers = {},
                 const std::string &body = {});
    Response get(const std::string &target) { return ask("GET", target); }
    Response post(const std::string &command, const std::string &body = "{}")
    {
        return ask("POST", "/v1/" + command, {}, body);
    }

    /// Asks for a WebSocket; the answer is 101 when it is one from now on.
    Response upgrade(const std::string &target, const std::string &headers = {});
    Frame next_frame();
    void send_frame(int opcode, const std::string &payload);

    std::string host = "agent";  // what requests say
    std::string authorization{}; // a header, or nothing

private:
    /// At least so many bytes are there; false when they do not come.
    bool fill(std::size_t size);
    bool read_more(int milliseconds);

    int fd_ = -1;
    bool at_end_ = false;
    std::string received_{};
};

/// What control.json says.
Document control_file(const AgentHome &home);

} // namespace kv::test
