// SPDX-License-Identifier: Apache-2.0
// The agent is replaced while an application runs. Over a real message bus.
#include "application.hpp"

#include <app_event.h>
#include <app_event_publish.h>

#include <gtest/gtest.h>

using namespace kv::test;

namespace {

int count(const char *event, int &heard, event_handler_h &handler)
{
    return event_add_event_handler(
        event, [](const char *, bundle *, void *data) { ++*static_cast<int *>(data); }, &heard, &handler);
}

/// Listens as the library does, so that a test knows when an announcement has arrived. It registers after the library,
/// so what it has heard the library has, too.
class Announcements {
public:
    Announcements()
    {
        EXPECT_EQ(count("org.korvane.ServiceManager.UpdateStatus", heard_, handler_), 0);
        EXPECT_EQ(count(probe, probes_heard_, probe_handler_), 0);
        // The bus learns in the background who listens. The last to be registered is the last it learns of.
        EXPECT_TRUE(run_main_loop_until([this] { return event_publish(probe, nullptr) == 0 && probes_heard_ > 0; }));
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
        return run_main_loop_until([&] { return heard_ >= announcements; });
    }

private:
    static constexpr const char *probe = "org.korvane.Test.Probe";

    int heard_ = 0;
    int probes_heard_ = 0;
    event_handler_h handler_ = nullptr;
    event_handler_h probe_handler_ = nullptr;
};

class Update : public testing::Test {
protected:
    AgentHome home;
    Application application;
};

TEST_F(Update, IsSeenAsADisconnectionByUpdateThenAsUnavailabilityThenAsANewAgent)
{
    AgentProcess agent{home, {"--agent-version", "1.6"}};
    ASSERT_TRUE(application.connect());
    Announcements announcements;
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_AGENT_VERSION_LOWER);

    agent.run_command("update start");
    ASSERT_TRUE(announcements.wait_for(1));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE) << "an update that has only begun hinders nothing";

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
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_OPERATION_FAILED) << "the old link is gone";
    EXPECT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_NONE) << "which an agent 1.6 does not know";
    EXPECT_TRUE(run_main_loop_until([&] { return !application.start_results.empty(); }));
    EXPECT_NE(agent.reply_to("state").find(R"("version":"2.3")"), std::string::npos);
}

TEST_F(Update, ThatFailsLeavesTheOldAgent)
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

TEST_F(Update, ThatIsWaitedForIsNotMetByAnAgentStartedOnDemand)
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

TEST_F(Update, IsAlsoCarriedOutWhenItsEndComesAtOnce)
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
