// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace kv::test {

/// A control socket of an agent that replies with the bytes a test chooses, be they HTTP or not.
class FakeAgent {
public:
    /// Returns the reply to a request, given its path: "/v1", "/v1/journal". Runs in other threads. The reply ends the
    /// connection; one to "/v1/stream" is read on until the client closes it.
    using Answer = std::function<std::string(const std::string &request, const std::string &path)>;

    FakeAgent(const std::filesystem::path &runtime_directory, Answer answer);
    FakeAgent(const FakeAgent &) = delete;
    FakeAgent &operator=(const FakeAgent &) = delete;
    ~FakeAgent();

private:
    void accept_all();
    void serve(int fd);

    Answer answer_;
    int listener_ = -1;
    std::mutex mutex_{};
    std::set<int> open_{};
    std::vector<std::thread> threads_{};
    std::thread acceptor_{};
};

/// An HTTP reply with a JSON body.
std::string http_reply(const std::string &body, const std::string &status = "200 OK");
/// The reply that makes a WebSocket of the request's connection, followed by frames.
std::string websocket_reply(const std::string &request, const std::string &frames);
/// A WebSocket frame with up to 125 bytes.
std::string websocket_frame(int opcode, const std::string &payload);

} // namespace kv::test
