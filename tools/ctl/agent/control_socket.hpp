// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <memory>
#include <string>

namespace kv::ctl {

/// Sends HTTP requests to the agent's control socket.
class ControlSocket {
public:
    /// A longer reply is refused. The agent's journal, which is the longest one, takes up to 16 MiB before it is JSON.
    static constexpr std::size_t max_reply_bytes = std::size_t{256} << 20;

    /// A request fails after `timeout_s` seconds without data; 0 waits forever.
    ControlSocket(const std::string &path, unsigned timeout_s);

    /// Sends a request for "/v1" + path and returns the JSON value of its reply. Throws Failure: with the status
    /// no_agent if the connection fails or ends early, else if the agent refuses the request.
    Json request(const char *method, const std::string &path, const std::string &body) const;

    /// The SoupSession, for the journal stream.
    void *session() const { return session_.get(); }

private:
    std::shared_ptr<void> session_;
};

/// The URL of a path below the control API. Only its path matters on a Unix socket.
std::string control_url(const std::string &path);

} // namespace kv::ctl
