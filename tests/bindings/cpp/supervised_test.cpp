// SPDX-License-Identifier: Apache-2.0
// The supervised connection in C++: the device that it gives, and how long handlers live across connections.
#include "support/agent_process.hpp"
#include "testing/support/wait.hpp"

#include <korvane_util.hpp>

#include <gtest/gtest.h>

#include <algorithm>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace kv::test;
using korvane::Errc;
using korvane::SupervisedState;

namespace {

class CppSupervised : public testing::Test {
protected:
    void SetUp() override { ::setenv("KORVANE_LOG", "off", 1); }
    void TearDown() override
    {
        connection.close();
        korvane::set_exception_handler(nullptr);
        ::unsetenv("KORVANE_LOG");
    }

    /// Registers a handler that notes the status with the number of the connection, and starts the service.
    void register_and_start(korvane::Device &device)
    {
        device.on_status_changed([this, number = configured, kept = token](int) { seen.push_back(number); })
            .value()
            .keep();
        device.start().value();
    }

    template <class Configure>
    void open(Configure configure)
    {
        auto opened = korvane::SupervisedConnection::open(
            [this, configure](korvane::Device &device) {
                ++configured;
                return configure(device);
            },
            [this](SupervisedState state, std::error_code reason) {
                states.push_back(state);
                reasons.push_back(reason);
                if (on_state)
                    on_state(state);
            });
        ASSERT_TRUE(opened) << opened.name();
        connection = *std::move(opened);
    }
    void open()
    {
        open([this](korvane::Device &device) { register_and_start(device); });
    }

    /// Waits until the connection is in the state, or has been since the last wait: it may have left the state already.
    bool wait_for(SupervisedState state)
    {
        const auto was_reached = [&] {
            const auto unseen = states.begin() + static_cast<std::ptrdiff_t>(seen_states);
            return std::find(unseen, states.end(), state) != states.end() ||
                   (!states.empty() && states.back() == state);
        };
        const bool reached = run_main_loop_until(was_reached);
        seen_states = states.size();
        return reached;
    }
    bool wait_for_connections(int count)
    {
        return run_main_loop_until([&] { return configured == count && connection.device(); });
    }
    /// The numbers of the connections whose handlers receive an event.
    std::vector<int> receivers(AgentProcess &agent)
    {
        seen.clear();
        agent.run_command("emit status_changed_cb [1]");
        run_main_loop_until([&] { return !seen.empty(); });
        return seen;
    }
    /// How many handlers exist.
    long alive() const { return token.use_count() - 1; }

    AgentHome home{};
    std::shared_ptr<int> token = std::make_shared<int>(0);
    std::vector<int> seen{};
    std::vector<SupervisedState> states{};
    std::size_t seen_states = 0; // by wait_for()
    std::vector<std::error_code> reasons{};
    std::function<void(SupervisedState)> on_state{};
    int configured = 0;
    korvane::SupervisedConnection connection{};
};

TEST_F(CppSupervised, GivesADeviceForEachConnection)
{
    AgentProcess agent{home};
    open();
    EXPECT_EQ(connection.device(), nullptr);
    ASSERT_TRUE(wait_for_connections(1));
    EXPECT_EQ(states, std::vector{SupervisedState::connected});
    EXPECT_FALSE(reasons.back());
    EXPECT_EQ(receivers(agent), std::vector{1});
    korvane::Device *const first = connection.device();
    EXPECT_FALSE(first->get_easysetup_status().value());

    agent.run_command("restart");
    ASSERT_TRUE(wait_for(SupervisedState::lost));
    EXPECT_EQ(connection.device(), nullptr);
    EXPECT_FALSE(first->is_open());
    EXPECT_EQ(first->get_easysetup_status().error(), Errc::invalid_parameter);

    ASSERT_TRUE(wait_for_connections(2));
    EXPECT_EQ(connection.device(), first);
    EXPECT_EQ(receivers(agent), std::vector{2});
    EXPECT_EQ(alive(), 1) << "the new session has released the handlers of the lost one";
}

TEST_F(CppSupervised, WaitsForTheEndOfAnUpdate)
{
    AgentProcess agent{home, {"--agent-version", "1.6"}};
    open();
    ASSERT_TRUE(wait_for_connections(1));
    agent.run_command("update start");
    agent.run_command("update install");
    ASSERT_TRUE(wait_for(SupervisedState::updating));
    EXPECT_EQ(reasons.back(), Errc::service_unavailable);
    EXPECT_EQ(connection.device(), nullptr);
    agent.run_command("update complete 2.3");
    ASSERT_TRUE(wait_for_connections(2));
    EXPECT_EQ(receivers(agent), std::vector{2});
}

TEST_F(CppSupervised, AnErrorThatLeavesTheConfigureFunctionIsItsResult)
{
    AgentProcess agent{home};
    agent.run_command("fault start result -1");
    open();
    ASSERT_TRUE(wait_for(SupervisedState::not_configured));
    EXPECT_EQ(reasons.back(), Errc::operation_failed);
    ASSERT_TRUE(wait_for_connections(2));
    EXPECT_EQ(states, (std::vector{SupervisedState::not_configured, SupervisedState::connected}));
    EXPECT_EQ(alive(), 1);
}

TEST_F(CppSupervised, TheConfigureFunctionMayReturnAResult)
{
    AgentProcess agent{home};
    open([](korvane::Device &device) { return device.set_nick_name(-1, "lamp"); });
    ASSERT_TRUE(wait_for(SupervisedState::not_configured));
    EXPECT_EQ(reasons.back(), Errc::invalid_parameter);
}

TEST_F(CppSupervised, OtherExceptionsReachTheExceptionHandler)
{
    static int caught;
    caught = 0;
    korvane::set_exception_handler([](std::string_view callback, std::exception_ptr) {
        EXPECT_EQ(callback, "korvane_util_connect");
        ++caught;
    });
    AgentProcess agent{home};
    open([](korvane::Device &) { throw std::runtime_error{"not ready"}; });
    on_state = [](SupervisedState) { throw std::runtime_error{"not ready either"}; };
    ASSERT_TRUE(wait_for(SupervisedState::not_configured));
    EXPECT_EQ(caught, 2);
    EXPECT_EQ(reasons.back(), Errc::operation_failed);
}

TEST_F(CppSupervised, ARefusedConnectionTriesAgainOnRequest)
{
    AgentProcess agent{home};
    open([this](korvane::Device &) {
        return korvane::Result<void>{configured == 1 ? KORVANE_ERROR_PERMISSION_DENIED : KORVANE_ERROR_NONE, "test"};
    });
    ASSERT_TRUE(wait_for(SupervisedState::refused));
    EXPECT_EQ(connection.device(), nullptr);
    connection.connect_now();
    EXPECT_TRUE(wait_for_connections(2));
}

TEST_F(CppSupervised, ASubscriptionOfALostConnectionEnds)
{
    AgentProcess agent{home};
    korvane::Subscription status;
    open([&](korvane::Device &device) {
        if (configured == 1)
            status = device.on_status_changed([kept = token](int) {}).value();
    });
    ASSERT_TRUE(wait_for_connections(1));
    EXPECT_TRUE(status.active());
    agent.run_command("restart");
    ASSERT_TRUE(wait_for(SupervisedState::lost));
    EXPECT_FALSE(status.active());
    EXPECT_TRUE(status.unset());
    ASSERT_TRUE(wait_for_connections(2));
    EXPECT_EQ(alive(), 0);
}

TEST_F(CppSupervised, APendingRequestIsCancelledWhenTheConnectionIsLost)
{
    AgentProcess agent{home};
    std::string result;
    const auto ask = [&result](korvane::Device &device) -> korvane::Task {
        result = (co_await device.get_group_id()).name();
    };
    open([](korvane::Device &) {});
    ASSERT_TRUE(wait_for_connections(1));
    agent.run_command("fault get_group_id result 0"); // accepts the request, and does not serve it
    ask(*connection.device());
    ASSERT_EQ(result, "");
    agent.run_command("restart");
    ASSERT_TRUE(wait_for(SupervisedState::lost));
    EXPECT_EQ(result, "OPERATION_FAILED");
}

TEST_F(CppSupervised, ItsDeviceCannotBeClosedOrOpenedAgain)
{
    AgentProcess agent{home};
    open();
    ASSERT_TRUE(wait_for_connections(1));
    EXPECT_EQ(connection.device()->close().error(), Errc::invalid_parameter);
    EXPECT_EQ(connection.device()->reopen().error(), Errc::invalid_parameter);
    {
        const korvane::Device moved = std::move(*connection.device());
    }
    EXPECT_EQ(receivers(agent), std::vector{1}) << "the session goes on";
}

TEST_F(CppSupervised, CanBeClosedInItsHandlers)
{
    AgentProcess agent{home};
    open([this](korvane::Device &device) {
        register_and_start(device);
        connection.close();
    });
    ASSERT_TRUE(run_main_loop_until([&] { return configured == 1; }));
    EXPECT_EQ(alive(), 0);
    EXPECT_TRUE(states.empty());

    on_state = [this](SupervisedState) { connection.close(); };
    open();
    ASSERT_TRUE(wait_for(SupervisedState::connected));
    EXPECT_EQ(alive(), 0);

    on_state = nullptr;
    open([this](korvane::Device &device) {
        device.on_status_changed([this, kept = token](int) { connection.close(); }).value().keep();
    });
    ASSERT_TRUE(wait_for_connections(3));
    agent.run_command("emit status_changed_cb [1]");
    EXPECT_TRUE(run_main_loop_until([&] { return alive() == 0; }));
}

TEST_F(CppSupervised, ThereIsOneAtATime)
{
    open();
    EXPECT_EQ(korvane::SupervisedConnection::open([](korvane::Device &) {}).error(), Errc::operation_failed);
    EXPECT_EQ(korvane::SupervisedConnection::open(std::function<void(korvane::Device &)>{}).error(),
              Errc::invalid_parameter);
    connection = {};
    EXPECT_TRUE(korvane::SupervisedConnection::open([](korvane::Device &) {}));
    EXPECT_EQ(connection.device(), nullptr);
    connection.connect_now();
    connection.close();
}

TEST(CppSupervisedState, HasNames)
{
    EXPECT_STREQ(korvane::state_name(SupervisedState::not_installed), "not installed");
    EXPECT_STREQ(korvane::state_name(SupervisedState::refused), "refused");
}

} // namespace
