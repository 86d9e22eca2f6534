// SPDX-License-Identifier: Apache-2.0
// Updates of the agent while an application runs, announced on a real message bus.
#include "e2e/fixtures/application.hpp"

#include <app_event.h>
#include <app_event_publish.h>

#include <gtest/gtest.h>

using namespace kv::test;

namespace {

int count(const char *event, int &received, event_handler_h &handler)
{
    return event_add_event_handler(
        event, [](const char *, bundle *, void *data) { ++*static_cast<int *>(data); }, &received, &handler);
}

/// Counts the announcements that have arrived. It subscribes after the library, so that the library has received each
/// announcement before it is counted.
class Announcements {
public:
    Announcements()
    {
        EXPECT_EQ(count("org.korvane.ServiceManager.UpdateStatus", received_, handler_), 0);
        EXPECT_EQ(count(probe, probes_received_, probe_handler_), 0);
        // Subscriptions take effect asynchronously and in order. The last one is in effect when a probe arrives.
        EXPECT_TRUE(run_main_loop_until([this] { return event_publish(probe, nullptr) == 0 && probes_received_ > 0; }));
    }
    Announcements(const Announcements &) = delete;
    Announcements &operator=(const Announcements &) = delete;
    ~Announcements()
    {
        event_remove_event_handler(handler_);
        event_remove_event_handler(probe_handler_);
    }

    bool wait_for(int announcements)
    {
        return run_main_loop_until([&] { return received_ >= announcements; });
    }

private:
    static constexpr const char *probe = "org.korvane.Test.Probe";

    int received_ = 0;
    int probes_received_ = 0;
    event_handler_h handler_ = nullptr;
    event_handler_h probe_handler_ = nullptr;
};

class Update : public testing::Test {
protected:
    AgentHome home;
    Application application;
};

TEST_F(Update, DisconnectsThenMakesTheAgentUnavailableThenBringsANewOne)
{
    AgentProcess agent{home, {"--agent-version", "1.6"}};
    ASSERT_TRUE(application.connect());
    Announcements announcements;
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_AGENT_VERSION_LOWER);

    agent.run_command("update start");
    ASSERT_TRUE(announcements.wait_for(1));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE) << "the start of an update refuses no call";

    agent.run_command("update install");
    ASSERT_TRUE(announcements.wait_for(2));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    ASSERT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back(), disconnected_by_update);
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    korvane_h second = nullptr;
    EXPECT_EQ(korvane_initialize(&second, nullptr, nullptr), KORVANE_ERROR_SERVICE_UNAVAILABLE);

    agent.run_command("update complete 2.3");
    ASSERT_TRUE(announcements.wait_for(3));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_OPERATION_FAILED) << "the old link is closed";
    EXPECT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_NONE) << "since 2.0";
    EXPECT_TRUE(run_main_loop_until([&] { return !application.start_results.empty(); }));
    EXPECT_NE(agent.reply_to("state").find(R"("version":"2.3")"), std::string::npos);
}

TEST_F(Update, ThatFailsKeepsTheOldAgent)
{
    AgentProcess agent{home, {"--agent-version", "2.0"}};
    ASSERT_TRUE(application.connect());
    Announcements announcements;
    agent.run_command("update start");
    agent.run_command("update install");
    ASSERT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back(), disconnected_by_update);
    agent.run_command("update fail -7");
    ASSERT_TRUE(announcements.wait_for(3));
    EXPECT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(application.connect());
    EXPECT_NE(agent.reply_to("state").find(R"("version":"2.0")"), std::string::npos);
}

TEST_F(Update, PreventsAStartOnDemand)
{
    AgentProcess agent{home};
    ASSERT_TRUE(application.connect());
    Announcements announcements;
    agent.run_command("update install");
    ASSERT_TRUE(application.wait_for_changes(2));
    application.deinitialize();
    EXPECT_EQ(application.initialize(), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(home.count_in_journal({R"("agent":"ready")"}), 1);
}

TEST_F(Update, CanCompleteImmediately)
{
    AgentProcess agent{home, {"--agent-version", "2.0"}};
    ASSERT_TRUE(application.connect());
    agent.run_command("update install");
    agent.run_command("update complete 2.2");
    ASSERT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back().status, KORVANE_CONNECTION_DISCONNECTED);
    application.deinitialize();
    ASSERT_TRUE(application.connect());
    EXPECT_NE(agent.reply_to("state").find(R"("version":"2.2")"), std::string::npos);
}

} // namespace
