// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "application.hpp"

#include <string>
#include <vector>

namespace kv::test {

/// An application that lives in the cloud: what it heard of it is what the library told it.
class CloudDevice {
public:
    /// For an agent of this version, "1.6".
    explicit CloudDevice(const std::string &agent_version);

    korvane_h handle() const { return application_.handle; }
    bool connect() { return application_.connect(); }
    /// Registers every callback that this version has.
    bool listen();

    /// NULL for no access token at all.
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

    // Each waits for its answer.
    Certificate create_certificate(const std::string &type, const std::string &request);
    Certificate get_certificate(const std::string &type, const std::string &id);
    /// With request data when there are any.
    Token token(const char *request_data = nullptr);
    /// Empty when the request is refused.
    std::string group_id();

    /// A text in a JSON object, or in an object of it.
    static std::string member(const std::string &document, const std::string &name);

    const int version; // 1000 x major + minor
    std::vector<std::string> heard{};
    std::vector<std::string> device_ids{};

private:
    Application application_;
};

} // namespace kv::test
