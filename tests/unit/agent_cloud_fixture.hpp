// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/server/common_requests.hpp"
#include "support/lone_device.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kv::test {

inline testing::AssertionResult has(const std::string &text, const std::string &part)
{
    if (text.find(part) != std::string::npos)
        return testing::AssertionSuccess() << "there is '" << part << "' in: " << text;
    return testing::AssertionFailure() << "there is no '" << part << "' in: " << text;
}

/// The cloud of a device without a port, whose clock stands. Somebody listens to every event.
class AgentCloud : public testing::Test {
protected:
    using Heard = std::vector<std::string>;

    AgentCloud()
    {
        device.clock.stand();
        device.listeners = 1;
        device.state.device_id = "11111111-2222-4333-8444-555555555555";
    }

    void be(const char *version) { device.state.version = virtual_agent::Version::parse(version); }

    /// Does a step, which must go well, and gives back what is said of it.
    std::string step(const char *name, const char *arguments = "null")
    {
        return device.cloud.run(name, virtual_agent::Json::parse(arguments).get()).text();
    }
    /// Why a step is refused; empty when it is not.
    std::string refusal(const char *name, const char *arguments = "null")
    {
        try {
            step(name, arguments);
            return "";
        } catch (const std::invalid_argument &why) {
            return why.what();
        }
    }

    /// The result of a request that says what it is by a number.
    int common(const char *request)
    {
        return virtual_agent::serve_common_request({state, device.phone, cloud}, request);
    }

    /// The result of a request.
    template <class M, class... Arguments>
    int ask(M method, const Arguments &...arguments)
    {
        return handlers.answer(method, call, arguments...).result;
    }

    bool sign_up(const char *token = "a token")
    {
        virtual_agent::Credentials credentials;
        credentials.access_token = token;
        return cloud.sign_up(std::move(credentials));
    }

    /// The events since the last look, each as its name and its values.
    Heard heard()
    {
        Heard all;
        for (const virtual_agent::Event &event : std::exchange(device.announced, {}))
            all.push_back(std::string{event.name} + " " + event.values.text());
        return all;
    }

    std::string shown() const { return state.cloud.view().text(); }

    LoneDevice device;
    virtual_agent::State &state = device.state;
    virtual_agent::Cloud &cloud = device.cloud;
    virtual_agent::Clock &clock = device.clock;
    virtual_agent::Handlers &handlers = device.handlers;
    virtual_agent::Peer peer{"instance", "program(1)"};
    virtual_agent::Call call{peer};
};

inline const std::string signed_up = R"(signup_status_changed_cb {"status":true})";
inline const std::string not_signed_up = R"(signup_status_changed_cb {"status":false})";
inline const std::string signed_in = R"(signin_status_changed_cb {"status":true})";
inline const std::string signed_out = R"(signin_status_changed_cb {"status":false})";
inline std::string session_lost(int code)
{
    return R"(tcp_session_disconnected_cb {"last_error_code":)" + std::to_string(code) + "}";
}
inline std::string keep_alive(int result)
{
    return R"(keepalive_result_cb {"result":)" + std::to_string(result) + "}";
}

} // namespace kv::test
