// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/requests/generic_method.hpp"
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
        return testing::AssertionSuccess() << "'" << part << "' found in: " << text;
    return testing::AssertionFailure() << "'" << part << "' not found in: " << text;
}

/// The cloud of a device without a port, with a stopped clock and an application that is registered for every event.
class AgentCloud : public testing::Test {
protected:
    using Events = std::vector<std::string>;

    AgentCloud()
    {
        device.clock.stop();
        device.connect_application();
        device.state.device_id = "11111111-2222-4333-8444-555555555555";
    }

    void be(const char *version) { device.state.version = virtual_agent::Version::parse(version); }

    /// Runs a step, which must succeed, and returns its result.
    std::string step(const char *name, const char *arguments = "null")
    {
        return device.cloud.run(name, virtual_agent::Json::parse(arguments).get()).text();
    }
    /// The reason why a step is refused; empty if it succeeds.
    std::string refusal(const char *name, const char *arguments = "null")
    {
        try {
            step(name, arguments);
            return "";
        } catch (const std::invalid_argument &why) {
            return why.what();
        }
    }

    /// The result of a request of the generic method.
    int common(const char *request)
    {
        return virtual_agent::serve_generic_method({state, device.phone, cloud}, request);
    }

    /// The result of a request.
    template <class M, class... Arguments>
    int ask(M method, const Arguments &...arguments)
    {
        return handlers.handle(method, call, arguments...).result;
    }

    bool sign_up(const char *token = "a token")
    {
        virtual_agent::Credentials credentials;
        credentials.access_token = token;
        return cloud.sign_up(std::move(credentials));
    }

    /// The events since the last call, each as its name and its values.
    Events sent_events()
    {
        Events all;
        for (const virtual_agent::Event &event : std::exchange(device.sent, {}))
            all.push_back(std::string{event.name} + " " + event.values->text());
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
