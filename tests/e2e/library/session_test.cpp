// SPDX-License-Identifier: Apache-2.0
// An application and an agent without failures.
#include "e2e/fixtures/application.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

using namespace kv::test;

namespace {

/// Checks that a test leaves no descriptor open and nothing on the main loop.
class Session : public testing::Test {
protected:
    void SetUp() override { descriptors_ = open_descriptors(); }
    void TearDown() override
    {
        application.deinitialize();
        EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors remain open";
        EXPECT_FALSE(g_main_context_pending(nullptr)) << "a source remains on the main loop";
    }

    AgentHome home;
    Application application;

private:
    int descriptors_ = 0;
};

struct SessionWithAgent : Session, testing::WithParamInterface<const char *> {};

TEST_P(SessionWithAgent, StartsTheServiceReadsTheDeviceIdAndStopsIt)
{
    AgentProcess agent{home, {"--agent-version", GetParam(), "--device-id", "01234567-89ab-4cde-8f01-23456789abcd"}};
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    EXPECT_NE(agent.reply_to("state").find(R"("running":true)"), std::string::npos);

    char *id = nullptr;
    EXPECT_EQ(korvane_get_device_id(application.handle, &id), KORVANE_ERROR_NONE);
    EXPECT_STREQ(id, "01234567-89ab-4cde-8f01-23456789abcd");
    std::free(id);

    EXPECT_EQ(korvane_stop(application.handle), KORVANE_ERROR_NONE);
    EXPECT_NE(agent.reply_to("state").find(R"("running":false)"), std::string::npos);
    EXPECT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
    EXPECT_EQ(application.changes, std::vector{connected}) << "deinitializing is not reported as a disconnection";

    EXPECT_EQ(home.count_in_journal({R"("method":"start","id":3)", R"("arguments":{"name":"","mode":0,"flags":0})",
                                     R"("answer":{"result":0})"}),
              1);
    EXPECT_EQ(home.count_in_journal({R"("method":"stop")"}), 1);
}

TEST_P(SessionWithAgent, SendsTheApiVersionToAgentsThatKnowTheMethod)
{
    AgentProcess agent{home, {"--agent-version", GetParam()}};
    ASSERT_TRUE(application.connect());
    const bool is_sent = std::string{"1.0"} != GetParam();
    EXPECT_EQ(home.count_in_journal({"set_api_version", R"({"major":2,"minor":3,"patch":3})"}), is_sent ? 1 : 0);
    EXPECT_EQ(agent.reply_to("state").find(R"("api_version":"2.3.3")") != std::string::npos, is_sent);
    EXPECT_EQ(home.count_in_journal({R"("problem")"}), 0) << "no request is unknown to the agent";
}

TEST_P(SessionWithAgent, KeepsTheLastArgumentsWithoutSecrets)
{
    AgentProcess agent{home, {"--agent-version", GetParam()}};
    ASSERT_TRUE(application.connect());
    ASSERT_EQ(korvane_set_device_property(application.handle, "lamp", 1, 2), KORVANE_ERROR_NONE);
    ASSERT_EQ(korvane_set_device_property(application.handle, "attic lamp", 3, 4), KORVANE_ERROR_NONE);
    ASSERT_EQ(korvane_set_preconfigured_pin(application.handle, "4711-0815"), KORVANE_ERROR_NONE);

    const std::string state = agent.reply_to("state");
    EXPECT_NE(state.find(R"("set_device_property":{"device_name":"attic lamp","wifi_mode":3,"wifi_freq":4})"),
              std::string::npos)
        << state;
    EXPECT_NE(state.find(R"("set_preconfigured_pin":{"pin":"<secret, 9 bytes>"})"), std::string::npos) << state;
    EXPECT_EQ(state.find("4711-0815"), std::string::npos) << state;
    EXPECT_EQ(home.count_in_journal({"4711-0815"}), 0);
}

TEST_P(SessionWithAgent, StartsTheServiceAsynchronouslySinceAgent2)
{
    AgentProcess agent{home, {"--agent-version", GetParam()}};
    ASSERT_TRUE(application.connect());
    if (GetParam()[0] == '1') {
        EXPECT_EQ(application.start_async(), KORVANE_ERROR_AGENT_VERSION_LOWER);
        return;
    }
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(run_main_loop_until([&] { return !application.start_results.empty(); }));
    EXPECT_EQ(application.start_results, std::vector{0});
    EXPECT_NE(agent.reply_to("state").find(R"("running":true)"), std::string::npos);
    agent.run_command("emit start_async_cb [1]"); // reaches no application: the one-shot request has completed
    EXPECT_NE(agent.reply_to("emit start_async_cb [1]").find(R"("peers":0)"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, SessionWithAgent,
                         testing::Values("1.0", "1.1", "1.2", "1.3", "1.4", "1.5", "1.6", "2.0", "2.1", "2.2", "2.3"),
                         [](const auto &version) {
                             return std::string{"Version"} + version.param[0] + "_" + version.param[2];
                         });

TEST_F(Session, WithoutAnAgentIsNotSupported)
{
    EXPECT_EQ(application.initialize(), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(application.handle, nullptr);
}

TEST_F(Session, WithAnAgentThatIsInstalledButCannotBeReachedIsUnavailable)
{
    ASSERT_EQ(run_agent({"--install", "--runtime-dir", home.root() / "elsewhere"}).exit_status, agent_exit::stopped);
    std::filesystem::create_directories(home.packages());
    for (const auto &entry : std::filesystem::directory_iterator{home.packages()})
        std::ofstream{entry.path()} << "[Package]\nVersion=2.3\n"; // without an executable
    EXPECT_EQ(application.initialize(), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(application.handle, nullptr);
}

TEST_F(Session, ReportsThatTheAgentRefuses)
{
    AgentProcess agent{home, {"--refuse"}};
    ASSERT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(application.wait_for_changes(1));
    EXPECT_EQ(application.changes, std::vector{refused});
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(home.count_in_journal({R"("connection":"refused")"}), 1);
}

TEST_F(Session, ReportsThatAnUpdateIsReady)
{
    AgentProcess agent{home, {"--update-ready"}};
    ASSERT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    ASSERT_TRUE(application.wait_for_changes(1));
    EXPECT_EQ(application.changes, std::vector{waiting_for_update});
}

TEST_F(Session, StartsAnAgentOnDemand)
{
    ASSERT_EQ(run_agent({"--install", "--agent-version", "2.2", "--log", home.log()}).exit_status, agent_exit::stopped);
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    ASSERT_EQ(home.count_in_journal({R"("agent":"ready","version":"2.2")"}), 1);

    const pid_t agent = home.latest_agent();
    ASSERT_GT(agent, 1);
    ASSERT_EQ(::kill(agent, SIGTERM), 0);
    EXPECT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back(), disconnected);
    EXPECT_TRUE(run_main_loop_until([&] { return ::kill(agent, 0) != 0; })) << "its end leaves no zombie";
}

TEST_F(Session, StartsTheUpdatedVersionOnDemand)
{
    {
        AgentProcess agent{home, {"--agent-version", "1.6"}};
        agent.run_command("update complete 2.2");
        agent.run_command("quit");
        ASSERT_EQ(agent.wait(), agent_exit::stopped);
    }
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(home.count_in_journal({R"("agent":"ready","version":"2.2")"}), 1);
    const pid_t agent = home.latest_agent();
    ASSERT_GT(agent, 1);
    ASSERT_EQ(::kill(agent, SIGTERM), 0);
    EXPECT_TRUE(run_main_loop_until([&] { return ::kill(agent, 0) != 0; }));
}

TEST_F(Session, DeliversTheEventsOfTheAgent)
{
    AgentProcess agent{home};
    ASSERT_TRUE(application.connect());
    std::vector<int> statuses;
    const auto note = [](korvane_h, int status, void *data) {
        static_cast<std::vector<int> *>(data)->push_back(status);
    };
    ASSERT_EQ(korvane_set_status_changed_cb(application.handle, note, &statuses), KORVANE_ERROR_NONE);
    for (int status = 1; status <= 100; ++status)
        agent.run_command("emit status_changed_cb [" + std::to_string(status) + "]");
    EXPECT_TRUE(run_main_loop_until([&] { return statuses.size() == 100; }));
    for (int status = 1; status <= 100; ++status)
        EXPECT_EQ(statuses[static_cast<std::size_t>(status) - 1], status);

    ASSERT_EQ(korvane_unset_status_changed_cb(application.handle), KORVANE_ERROR_NONE);
    EXPECT_NE(agent.reply_to("emit status_changed_cb [7]").find(R"("peers":0)"), std::string::npos);
}

TEST_F(Session, CanBeRepeated)
{
    AgentProcess agent{home};
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(application.connect());
        EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
        ASSERT_EQ(application.deinitialize(), KORVANE_ERROR_NONE);
    }
}

TEST_F(Session, RefusesItsHandleAfterItsEnd)
{
    AgentProcess agent{home};
    ASSERT_TRUE(application.connect());
    korvane_h old = application.handle;
    application.deinitialize();
    EXPECT_EQ(korvane_start(old), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_deinitialize(old), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_F(Session, FailsEveryCallUntilItIsConnected)
{
    AgentProcess agent{home};
    ASSERT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_TRUE(application.wait_for_changes(1));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
}

TEST_F(Session, RunsWithoutAMessageBus)
{
    AgentProcess agent{home};
    ::setenv("KORVANE_BUS", "unix:path=/nonexistent/bus", 1);
    EXPECT_TRUE(application.connect());
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    EXPECT_NE(agent.reply_to("state").find(R"("running":true)"), std::string::npos);
    ::unsetenv("KORVANE_BUS");
}

TEST_F(Session, NeedsNoReadablePackageEntryUnlessAVersionIsNeeded)
{
    AgentProcess agent{home};
    for (const auto &entry : std::filesystem::directory_iterator{home.packages()})
        std::ofstream{entry.path()} << "this is no key file\n";
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(application.start_async(), KORVANE_ERROR_AGENT_VERSION_LOWER);
}

TEST_F(Session, FailsIfTheRuntimeDirectoryCannotBeMade)
{
    ASSERT_EQ(run_agent({"--install"}).exit_status, agent_exit::stopped);
    std::ofstream{home.runtime()} << "a file where the directory should be";
    const int result = application.initialize();
    EXPECT_TRUE(result == KORVANE_ERROR_SERVICE_UNAVAILABLE || result == KORVANE_ERROR_PERMISSION_DENIED ||
                result == KORVANE_ERROR_OPERATION_FAILED)
        << result;
    EXPECT_EQ(application.handle, nullptr);
}

TEST_F(Session, AllowsAllCallsInTheConnectionCallback)
{
    AgentProcess agent{home};
    std::vector<int> results;
    int rounds = 0;
    application.on_change = [&](const Application::Change &) {
        results.push_back(korvane_start(application.handle));
        results.push_back(korvane_stop(application.handle));
        results.push_back(application.watch_io_errors());
        results.push_back(application.deinitialize());
        if (++rounds < 5)
            results.push_back(application.initialize());
    };
    ASSERT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(run_main_loop_until([&] { return rounds == 5; }));
    EXPECT_EQ(results, std::vector(5U * 5U - 1U, static_cast<int>(KORVANE_ERROR_NONE)));
}

TEST_F(Session, AllowsTheStartResultCallbackToInitializeAgain)
{
    AgentProcess agent{home};
    application.on_start_result = [&](int) {
        application.deinitialize();
        application.initialize();
    };
    ASSERT_TRUE(application.connect());
    ASSERT_EQ(application.start_async(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes.back(), connected);
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(application.start_results, std::vector{0});
}

TEST_F(Session, AllowsAnEventCallbackToInitializeAgain)
{
    AgentProcess agent{home};
    ASSERT_TRUE(application.connect());
    const auto begin_anew = [](korvane_h handle, int, void *data) {
        auto &self = *static_cast<Application *>(data);
        EXPECT_EQ(korvane_unset_status_changed_cb(handle), KORVANE_ERROR_NONE);
        EXPECT_EQ(self.deinitialize(), KORVANE_ERROR_NONE);
        EXPECT_EQ(self.initialize(), KORVANE_ERROR_NONE);
    };
    ASSERT_EQ(korvane_set_status_changed_cb(application.handle, begin_anew, &application), KORVANE_ERROR_NONE);
    agent.run_command("emit status_changed_cb [1]");
    EXPECT_TRUE(application.wait_for_changes(2));
    EXPECT_EQ(application.changes, std::vector(2, connected));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
}

TEST_F(Session, AllowsTheRejectionCallbackToInitializeAgain)
{
    AgentProcess agent{home, {"--refuse"}};
    application.on_change = [&](const Application::Change &) {
        application.deinitialize();
        if (application.changes.size() < 5)
            application.initialize();
    };
    ASSERT_EQ(application.initialize(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(application.wait_for_changes(5));
    EXPECT_EQ(application.changes, std::vector(5, refused));
}

} // namespace
