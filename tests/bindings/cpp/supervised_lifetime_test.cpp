// SPDX-License-Identifier: Apache-2.0
// Handlers of a supervised connection exist as long as the library may call them.
#include "fake_device.hpp"

#include <korvane_util.hpp>

#include <glib.h>

namespace kv::test {
namespace {

using korvane::SupervisedState;

class CppSupervisedLifetime : public FakeDeviceTest {
protected:
    void connect()
    {
        auto opened = korvane::SupervisedConnection::open(
            [this](korvane::Device &made) {
                made.on_status_changed([this, kept = watched.token()](int) { ++seen; }).value().keep();
                number = newest();
                if (inside_configure)
                    inside_configure();
            },
            [this](SupervisedState state, std::error_code) { states.push_back(state); });
        ASSERT_TRUE(opened) << opened.name();
        supervised = *std::move(opened);
        g_main_context_iteration(nullptr, TRUE);
        come_up();
    }
    void status_arrives() { arrives(event(1, number, false, i32(4))); }

    void end_run() override
    {
        supervised.close();
        FakeDeviceTest::end_run();
        EXPECT_EQ(watched.alive(), 0) << "handlers outlive the session";
    }

    korvane::SupervisedConnection supervised{};
    std::vector<SupervisedState> states{};
    std::function<void()> inside_configure{};
    Watched watched{};
    int number = 0;
    int seen = 0;
};

TEST_F(CppSupervisedLifetime, AHandlerEndsWithTheConnection)
{
    connect();
    EXPECT_EQ(states, std::vector{SupervisedState::connected});
    status_arrives();
    EXPECT_EQ(seen, 1);
    supervised.close();
    EXPECT_EQ(watched.alive(), 0);
}

TEST_F(CppSupervisedLifetime, AHandlerOfALostConnectionIsMutedUntilTheLibraryEndsTheSession)
{
    connect();
    platform.proxy().fire_disconnected();
    EXPECT_EQ(states.back(), SupervisedState::lost);
    status_arrives();
    EXPECT_EQ(seen, 0);
    EXPECT_EQ(watched.alive(), 1) << "the library may still call back";
}

TEST_F(CppSupervisedLifetime, AConnectionThatIsLostInsideTheConfigureFunctionMutesItsHandler)
{
    inside_configure = [this] { platform.proxy().fire_disconnected(); };
    connect();
    EXPECT_EQ(states, std::vector{SupervisedState::lost});
    status_arrives();
    EXPECT_EQ(seen, 0);
}

TEST_F(CppSupervisedLifetime, ASessionThatCannotBeEndedIsMutedAndEndedByTheNextConnection)
{
    connect();
    clear_agent_state();
    platform.results["package_info_create"] = -18153359; // no agent is installed
    supervised.close();
    status_arrives();
    EXPECT_EQ(seen, 0);
    EXPECT_EQ(watched.alive(), 1) << "the library may still call back";

    platform.results.clear();
    connect();
    EXPECT_EQ(watched.alive(), 1) << "only the new handler";
    status_arrives();
    EXPECT_EQ(seen, 1);
}

} // namespace
} // namespace kv::test
