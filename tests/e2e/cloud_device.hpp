// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "application.hpp"

#include <string>
#include <vector>

namespace kv::test {

/// An application that uses the cloud and records the events that it receives.
class CloudDevice {
public:
    /// `agent_version` is the version of the agent, such as "1.6".
    explicit CloudDevice(const std::string &agent_version);

    korvane_h handle() const { return application_.handle; }
    bool connect() { return application_.connect(); }
    /// Registers a callback for every event of the agent's version.
    bool listen();

    /// Without an access token if it is null.
    int sign_up(const char *access_token = "very secret 77");

    struct Certificate {
        int result = -1;
        std::string text{};
        std::string second_text{};
    };
    struct Token {
        int result = -1;
        std::string uuid{};
        std::string server_url{};
        std::string text{};
        int expiration_time = 0;
    };

    // One-shot requests; each waits for its event.
    Certificate create_certificate(const std::string &type, const std::string &request);
    Certificate get_certificate(const std::string &type, const std::string &id);
    /// With request data if the text is not empty.
    Token token(const char *request_data = nullptr);
    /// Empty if the request is refused.
    std::string group_id();

    /// Returns a text member of a JSON object, or of an object in it.
    static std::string member(const std::string &document, const std::string &name);

    const int version; // 1000 x major + minor
    std::vector<std::string> received{};
    std::vector<std::string> device_ids{};

private:
    Application application_;
};

} // namespace kv::test
