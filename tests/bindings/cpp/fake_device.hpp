// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

#include <korvane.hpp>

#include <memory>

namespace kv::test {

/// A korvane::Device on the fake platform, with an agent that replies to every request.
class FakeDeviceTest : public SetupTest {
protected:
    void open(const std::string &version = "2.3")
    {
        platform.agent_version = version;
        auto opened = korvane::Device::open(
            [this](korvane::ConnectionStatus status, std::error_code) { connection.push_back(status); });
        ASSERT_TRUE(opened) << opened.name();
        device = *std::move(opened);
        come_up();
    }
    /// The connection of the newest proxy is established.
    void come_up()
    {
        agent_answers();
        platform.proxy().fire_connected();
        answers(0);
        platform.log.clear();
        platform.main_port().sent.clear();
    }

    void end_run() override
    {
        device = {};
        connection.clear();
        SetupTest::end_run();
    }

    void arrives(const Bytes &parcel) { platform.proxy().push_event(parcel); }
    /// The number of the delegate that was created last.
    int newest() { return last_seq_id(platform.log); }
    /// The methods of the requests that were sent since the last call.
    std::vector<int> methods()
    {
        std::vector<int> found;
        for (const Bytes &request : sent())
            found.push_back(request.at(0));
        platform.main_port().sent.clear();
        return found;
    }
    /// While an update installs the agent, the library refuses every request.
    void end_install()
    {
        update_completes();
        platform.log.clear();
    }

    korvane::Device device{};
    std::vector<korvane::ConnectionStatus> connection{};
};

/// Observes the lifetime of what a handler has captured.
class Watched {
public:
    std::shared_ptr<int> token() { return token_; }
    /// How many handlers exist that have captured the token.
    long alive() const { return token_.use_count() - 1; }

private:
    std::shared_ptr<int> token_ = std::make_shared<int>(0);
};

} // namespace kv::test
