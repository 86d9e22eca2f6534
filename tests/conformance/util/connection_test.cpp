// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include <korvane_util.h>

#include <functional>
#include <utility>

namespace kv::test {
namespace {

/// A report of the state, as the application receives it.
struct Report {
    korvane_util_state state;
    int result;

    bool operator==(const Report &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Report &report)
{
    return out << korvane_util_get_state_name(report.state) << " " << report.result;
}

using Reports = std::vector<Report>;

class SupervisedConnection : public LibraryTest {
protected:
    int begin()
    {
        platform.on_new_proxy = [](Proxy &proxy) {
            proxy.main_port.on_sent = [](Port &port, const Bytes &request) {
                port.push(first(request, 4) == i32(2) ? reply(0, boolean(false)) : reply(0));
            };
        };
        return korvane_util_connect(
            [](korvane_h, void *test) { return ++static_cast<SupervisedConnection *>(test)->configured, 0; },
            [](korvane_util_state state, int result, korvane_h, void *test) {
                auto &self = *static_cast<SupervisedConnection *>(test);
                self.reports.push_back({state, result});
                if (self.on_state)
                    self.on_state();
            },
            this, &connection);
    }
    /// Runs the attempt that is due now.
    void attempt()
    {
        korvane_util_connect_now(connection);
        run_main_loop();
    }
    void connect()
    {
        ASSERT_EQ(begin(), KORVANE_ERROR_NONE);
        run_main_loop();
        platform.proxy().fire_connected();
        ASSERT_EQ(reports, Reports{connected});
        reports.clear();
    }
    void disconnect() { korvane_util_disconnect(std::exchange(connection, nullptr)); }
    void end_run() override
    {
        disconnect();
        LibraryTest::end_run();
    }

    static constexpr Report connected{KORVANE_UTIL_CONNECTED, KORVANE_ERROR_NONE};

    korvane_util_connection_h connection = nullptr;
    Reports reports;
    int configured = 0;
    std::function<void()> on_state;
};

TEST_F(SupervisedConnection, FailsWithoutMemoryAndCanBeTriedAgain)
{
    allocs::fail_nth(1);
    EXPECT_EQ(begin(), KORVANE_ERROR_OUT_OF_MEMORY);
    allocs::stop_failing();
    EXPECT_EQ(connection, nullptr);
    EXPECT_EQ(run_main_loop(), 0U);
    connect();
}

TEST_F(SupervisedConnection, ReportsAStateAgainOnlyForAnotherReason)
{
    platform.results["rpc_port_proxy_connect"] = -71;
    ASSERT_EQ(begin(), KORVANE_ERROR_NONE);
    run_main_loop();
    attempt();
    EXPECT_EQ(reports, (Reports{{KORVANE_UTIL_UNREACHABLE, KORVANE_ERROR_OPERATION_FAILED}}));
    platform.results.clear();
    for (int i = 0; i < 2; ++i) {
        attempt();
        platform.proxy().fire_rejected(-5);
    }
    EXPECT_EQ(reports, (Reports{{KORVANE_UTIL_UNREACHABLE, KORVANE_ERROR_OPERATION_FAILED},
                                {KORVANE_UTIL_UNREACHABLE, KORVANE_ERROR_IO_ERROR}}));
}

TEST_F(SupervisedConnection, ReportsNothingAfterARefusal)
{
    ASSERT_EQ(begin(), KORVANE_ERROR_NONE);
    run_main_loop();
    platform.proxy().fire_rejected(-13);
    platform.proxy().fire_disconnected();
    EXPECT_EQ(reports, (Reports{{KORVANE_UTIL_REFUSED, KORVANE_ERROR_PERMISSION_DENIED}}));
    EXPECT_EQ(run_main_loop(), 0U);
}

TEST_F(SupervisedConnection, DoesNotConnectAgainWhileConnected)
{
    connect();
    attempt();
    EXPECT_EQ(platform.proxies().size(), 1U);
    EXPECT_EQ(configured, 1);
    EXPECT_EQ(reports, Reports{});
}

TEST_F(SupervisedConnection, EndsOnceInsideItsCallback)
{
    on_state = [this] {
        korvane_util_connection_h ended = connection;
        disconnect();
        korvane_util_disconnect(ended);
        korvane_util_connect_now(ended);
        EXPECT_EQ(korvane_util_get_handle(ended), nullptr);
    };
    ASSERT_EQ(begin(), KORVANE_ERROR_NONE);
    run_main_loop();
    platform.proxy().fire_connected();
    EXPECT_EQ(reports, Reports{connected});
    EXPECT_FALSE(platform.proxy().alive);
    EXPECT_EQ(run_main_loop(), 0U);
    EXPECT_EQ(platform.proxies().size(), 1U);
}

/// No session can be ended while the agent's version is refused.
TEST_F(SupervisedConnection, EndsASessionThatCouldNotBeEndedBeforeTheNextOne)
{
    connect();
    Proxy &former = platform.proxy();
    install_starts();
    update_completes();
    platform.agent_version = "-1.0";
    disconnect();
    EXPECT_TRUE(former.alive);

    ASSERT_EQ(begin(), KORVANE_ERROR_NONE);
    run_main_loop();
    EXPECT_EQ(reports, (Reports{{KORVANE_UTIL_UNREACHABLE, KORVANE_ERROR_AGENT_VERSION_LOWER}}));
    EXPECT_TRUE(former.alive);
    former.fire_disconnected();
    EXPECT_EQ(reports.size(), 1U) << "an event of the former session";

    platform.agent_version = "2.3.1";
    attempt();
    EXPECT_FALSE(former.alive);
    ASSERT_EQ(platform.proxies().size(), 2U);
    platform.proxy().fire_connected();
    EXPECT_EQ(reports.back(), connected);
    EXPECT_EQ(configured, 2);
}

/// The library does not end a session while no agent is installed, and looks for one only when a session begins.
TEST_F(SupervisedConnection, LooksForTheAgentAgainToEndASession)
{
    connect();
    Proxy &former = platform.proxy();
    clear_agent_state();
    platform.results["package_info_create"] = -18153359; // no agent is installed
    disconnect();
    EXPECT_TRUE(former.alive);

    ASSERT_EQ(begin(), KORVANE_ERROR_NONE);
    run_main_loop();
    EXPECT_EQ(reports, (Reports{{KORVANE_UTIL_NOT_INSTALLED, KORVANE_ERROR_NOT_SUPPORTED}}));
    platform.results.clear();
    attempt();
    EXPECT_FALSE(former.alive);
    platform.proxy().fire_connected();
    EXPECT_EQ(reports.back(), connected);
}

TEST_F(SupervisedConnection, SurvivesASessionThatTheApplicationHasEnded)
{
    for (const bool without_agent : {false, true}) {
        connect();
        ASSERT_EQ(korvane_deinitialize(korvane_util_get_handle(connection)), KORVANE_ERROR_NONE);
        if (without_agent) {
            korvane_h other = nullptr;
            platform.results["package_info_create"] = -18153359; // no agent is installed
            ASSERT_EQ(korvane_initialize(&other, nullptr, nullptr), KORVANE_ERROR_NOT_SUPPORTED);
            platform.results.clear();
        }
        EXPECT_EQ(korvane_util_disconnect(std::exchange(connection, nullptr)), KORVANE_ERROR_NONE);
        EXPECT_EQ(kv::api::live_session, nullptr);
        reports.clear();
    }
}

TEST(StateNames, AreUnknownForOtherNumbers)
{
    EXPECT_STREQ(korvane_util_get_state_name(-1), "unknown");
    EXPECT_STREQ(korvane_util_get_state_name(8), "unknown");
    EXPECT_STREQ(korvane_util_get_state_name(7), "refused");
}

} // namespace
} // namespace kv::test
