// SPDX-License-Identifier: Apache-2.0
// The connection of libkorvane-util: it survives whatever happens to the agent.
#include "support/agent_process.hpp"
#include "testing/support/wait.hpp"

#include <korvane_util.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

using namespace kv::test;

namespace {

/// An application that registers one callback and starts the service after each connection.
class Device {
public:
    Device() = default;
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;
    ~Device() { disconnect(); }

    int connect()
    {
        return korvane_util_connect(
            [](korvane_h handle, void *data) { return static_cast<Device *>(data)->configure(handle); },
            [](korvane_util_state state, int result, korvane_h handle, void *data) {
                auto *self = static_cast<Device *>(data);
                self->states.push_back(state);
                self->results.push_back(result);
                EXPECT_EQ(handle != nullptr, state == KORVANE_UTIL_CONNECTED);
                if (self->on_state)
                    self->on_state(state);
            },
            this, &connection);
    }

    int disconnect() { return korvane_util_disconnect(std::exchange(connection, nullptr)); }

    bool wait_for(korvane_util_state state)
    {
        return run_main_loop_until([&] { return !states.empty() && states.back() == state; });
    }

    bool is_registered(AgentProcess &agent)
    {
        const int before = statuses;
        agent.run_command("emit status_changed_cb [1]");
        return run_main_loop_until([&] { return statuses > before; });
    }

    korvane_util_connection_h connection = nullptr;
    std::vector<korvane_util_state> states;
    std::vector<int> results;
    std::function<void(korvane_util_state)> on_state;
    std::function<int(korvane_h)> on_configure;
    int configured = 0;
    int statuses = 0;

private:
    int configure(korvane_h handle)
    {
        ++configured;
        if (on_configure)
            return on_configure(handle);
        const int result = korvane_set_status_changed_cb(
            handle, [](korvane_h, int, void *data) { ++static_cast<Device *>(data)->statuses; }, this);
        return result == KORVANE_ERROR_NONE ? korvane_start(handle) : result;
    }
};

class SupervisedConnection : public testing::Test {
protected:
    AgentHome home;
    Device device;
};

TEST_F(SupervisedConnection, ConfiguresTheDeviceAndReportsIt)
{
    AgentProcess agent{home};
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    EXPECT_EQ(device.configured, 0) << "nothing runs before the main loop";
    EXPECT_EQ(korvane_util_get_handle(device.connection), nullptr);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    EXPECT_EQ(device.states, std::vector{KORVANE_UTIL_CONNECTED});
    EXPECT_TRUE(device.is_registered(agent));
    EXPECT_NE(agent.reply_to("state").find(R"("running":true)"), std::string::npos);
    bool is_set_up = true;
    EXPECT_EQ(korvane_get_easysetup_status(korvane_util_get_handle(device.connection), &is_set_up), KORVANE_ERROR_NONE);
}

TEST_F(SupervisedConnection, RegistersAtEachNewAgentAgain)
{
    constexpr int kills = 20;
    AgentProcess first{home};
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    for (int agents = 1; agents <= kills; ++agents) {
        ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED)) << "after " << agents - 1 << " kills";
        EXPECT_EQ(home.count_in_journal({R"("method":"set_status_changed_cb")", R"("result":0)"}), agents);
        EXPECT_EQ(home.count_in_journal({R"("method":"start")", R"("result":0)"}), agents);
        ::kill(home.latest_agent(), SIGKILL); // the platform starts the next one on demand
        ASSERT_TRUE(run_main_loop_until([&] { return device.states.back() != KORVANE_UTIL_CONNECTED; }));
        EXPECT_EQ(device.states.back(), KORVANE_UTIL_LOST);
        EXPECT_EQ(korvane_util_get_handle(device.connection), nullptr);
    }
    EXPECT_EQ(device.configured, kills);
}

TEST_F(SupervisedConnection, NoticesABrokenLinkInACallBeforeItsEvent)
{
    AgentProcess agent{home};
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    agent.signal(SIGKILL);
    agent.wait();
    bool is_set_up = false;
    EXPECT_EQ(korvane_get_easysetup_status(korvane_util_get_handle(device.connection), &is_set_up),
              KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(run_main_loop_until([&] {
        return device.states.back() == KORVANE_UTIL_CONNECTED && device.configured == 2;
    })) << "the platform starts the agent on demand";
}

TEST_F(SupervisedConnection, WaitsForAnInstallation)
{
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_NOT_INSTALLED));
    EXPECT_EQ(device.results.back(), KORVANE_ERROR_NOT_SUPPORTED);
    run_main_loop_until([] { return false; },
                        std::chrono::milliseconds{350}); // further attempts, which are not reported
    EXPECT_EQ(device.states.size(), 1U);
    AgentProcess agent{home};
    korvane_util_connect_now(device.connection);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    EXPECT_EQ(device.states.size(), 2U);
}

TEST_F(SupervisedConnection, ConnectsAfterAnUpdateToTheNewVersion)
{
    AgentProcess agent{home, {"--agent-version", "1.6"}};
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    EXPECT_FALSE(korvane_util_is_available("korvane_start_async"));
    agent.run_command("update start");
    agent.run_command("update install");
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_UPDATING));
    EXPECT_EQ(device.results.back(), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    agent.run_command("update complete 2.3");
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    EXPECT_EQ(device.configured, 2);
    EXPECT_TRUE(korvane_util_is_available("korvane_start_async"));
    EXPECT_TRUE(device.is_registered(agent));
}

TEST_F(SupervisedConnection, TriesAgainAfterAFailedConfiguration)
{
    AgentProcess agent{home};
    device.on_configure = [this](korvane_h) {
        return device.configured < 3 ? KORVANE_ERROR_OPERATION_FAILED : KORVANE_ERROR_NONE;
    };
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    EXPECT_EQ(device.configured, 3);
    EXPECT_EQ(device.states, (std::vector{KORVANE_UTIL_NOT_CONFIGURED, KORVANE_UTIL_CONNECTED}));
}

TEST_F(SupervisedConnection, EndsItsAttemptsWhenItIsDenied)
{
    AgentProcess agent{home};
    device.on_configure = [](korvane_h) { return KORVANE_ERROR_PERMISSION_DENIED; };
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_REFUSED));
    run_main_loop_until([] { return false; }, std::chrono::milliseconds{350});
    EXPECT_EQ(device.configured, 1);
    device.on_configure = nullptr;
    korvane_util_connect_now(device.connection);
    EXPECT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
}

TEST_F(SupervisedConnection, CanBeEndedInItsCallbacks)
{
    AgentProcess agent{home};
    device.on_configure = [this](korvane_h) { return device.disconnect(); };
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(run_main_loop_until([&] { return device.configured == 1; }));
    EXPECT_TRUE(device.states.empty());

    device.on_configure = nullptr;
    device.on_state = [this](korvane_util_state) { device.disconnect(); };
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(run_main_loop_until([&] { return !device.states.empty(); }));
    run_main_loop_until([] { return false; }, std::chrono::milliseconds{150});
    EXPECT_EQ(device.states, std::vector{KORVANE_UTIL_CONNECTED});
}

TEST_F(SupervisedConnection, CanBeEndedWhileNoAgentIsInstalled)
{
    {
        AgentProcess agent{home};
        ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
        ASSERT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED));
    }
    std::filesystem::remove_all(home.packages());
    ASSERT_TRUE(device.wait_for(KORVANE_UTIL_NOT_INSTALLED));
    device.disconnect();
    device.states.clear();
    AgentProcess agent{home};
    ASSERT_EQ(device.connect(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(device.wait_for(KORVANE_UTIL_CONNECTED)) << "the former session ends first";
    EXPECT_EQ(device.disconnect(), KORVANE_ERROR_NONE);
}

TEST_F(SupervisedConnection, ChecksItsArguments)
{
    const korvane_util_configure_cb configure = [](korvane_h, void *) { return 0; };
    korvane_util_connection_h connection = nullptr;
    EXPECT_EQ(korvane_util_connect(nullptr, nullptr, nullptr, &connection), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_util_connect(configure, nullptr, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    ASSERT_EQ(korvane_util_connect(configure, nullptr, nullptr, &connection), KORVANE_ERROR_NONE);
    korvane_util_connection_h second = nullptr;
    EXPECT_EQ(korvane_util_connect(configure, nullptr, nullptr, &second), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(korvane_util_disconnect(connection), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_util_disconnect(nullptr), KORVANE_ERROR_NONE);
    korvane_util_connect_now(nullptr);
    EXPECT_EQ(korvane_util_get_handle(nullptr), nullptr);
    EXPECT_STREQ(korvane_util_get_state_name(KORVANE_UTIL_NOT_INSTALLED), "not installed");
    EXPECT_STREQ(korvane_util_get_state_name(8), "unknown");
}

} // namespace
