// SPDX-License-Identifier: Apache-2.0
// korvane-test: a private agent that a test starts and controls.
#include "e2e/fixtures/application.hpp"

#include "testing/support/temporary_directory.hpp"

#include <korvane_test.hpp>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

using namespace kv::test;
using korvane::test::Agent;

namespace {

korvane_test_options with_program(const char *version = nullptr)
{
    return {version, KORVANE_AGENT_PATH, nullptr, nullptr};
}

template <class Work>
std::string problem_of(Work work)
{
    try {
        work();
        return "";
    } catch (const std::runtime_error &problem) {
        return problem.what();
    }
}

TEST(TestHelper, StartsAnAgentOfTheVersionAndStopsIt)
{
    std::string directory;
    int pid = 0;
    {
        Agent agent{with_program("1.3")};
        directory = agent.directory();
        pid = agent.pid();
        EXPECT_NE(agent.ask("state version").find("1.3"), std::string::npos);
        EXPECT_TRUE(std::filesystem::exists(directory));
        EXPECT_EQ(getenv("KORVANE_RUNTIME_DIR"), directory + "/run");
    }
    EXPECT_FALSE(std::filesystem::exists(directory));
    EXPECT_EQ(::kill(pid, 0), -1);
    EXPECT_EQ(getenv("KORVANE_RUNTIME_DIR"), nullptr);
}

TEST(TestHelper, ReportsWhyAnAgentCannotBeStarted)
{
    EXPECT_NE(problem_of([] {
                  Agent agent{{nullptr, "/nowhere/korvane-agent", nullptr, nullptr}};
              }).find("/nowhere"),
              std::string::npos);
    EXPECT_NE(problem_of([] { Agent agent{with_program("9.9")}; }).find("there is no agent version '9.9'"),
              std::string::npos);
}

TEST(TestHelper, ReportsWhatAProgramDoesThatIsNoAgent)
{
    const kv::test::TemporaryDirectory directory{"no-agent"};
    const std::string program = directory / "program";
    const auto problem = [&](const std::string &script) {
        std::ofstream{program} << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        return problem_of([&] { Agent agent{{nullptr, program.c_str(), nullptr, nullptr}}; });
    };
    EXPECT_EQ(problem("exit 3"), "the agent does not become ready: it ended with exit status 3");
    EXPECT_EQ(problem("kill -9 $$"), "the agent does not become ready: signal 9 ended it");
    EXPECT_EQ(problem("echo hello"), "the agent does not become ready: it printed hello");
    EXPECT_EQ(problem("echo no licence >&2"), "the agent does not become ready: no licence");
}

TEST(TestHelper, ReportsWhyACommandIsRefused)
{
    Agent agent{with_program()};
    EXPECT_EQ(problem_of([&] { agent.tell("phone scan"); }),
              "the phone is not connected to the device; run 'connect' first");
    EXPECT_EQ(problem_of([&] { agent.tell("dance"); }), "there is no command 'dance'; 'help' lists them");
    EXPECT_EQ(problem_of([&] { agent.tell("state"); }), "");
}

TEST(TestHelper, ReportsThatTheAgentHasDied)
{
    Agent agent{with_program()};
    ::kill(agent.pid(), SIGKILL);
    EXPECT_EQ(problem_of([&] { agent.tell("state"); }), "the agent has died");
}

TEST(TestHelper, WaitsForCallsInOrderWhileTheApplicationRuns)
{
    Agent agent{with_program()};
    Application application;
    application.initialize();
    agent.wait_for_call("is_update_ready");
    ASSERT_TRUE(application.wait_for_changes(1));
    EXPECT_EQ(korvane_start(application.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_set_nick_name(application.handle, 3, "one"), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_set_nick_name(application.handle, 4, "two"), KORVANE_ERROR_NONE);
    agent.wait_for_call("set_nick_name", R"({"device_no":4})");
    EXPECT_NE(problem_of([&] { agent.wait_for_call("set_nick_name", R"({"device_no":3})", 50); }), "")
        << "that call was before the one that was found";
    EXPECT_EQ(agent.count_calls("set_nick_name"), 2);
    EXPECT_EQ(agent.count_calls("reset"), 0);
}

TEST(TestHelper, ReportsHowTheStateDiffers)
{
    Agent agent{with_program()};
    agent.until("running", "false");
    EXPECT_NE(problem_of([&] { agent.until("running", "true", 50); }).find("running is false, not true"),
              std::string::npos);
    EXPECT_NE(problem_of([&] { agent.until("running", "tru", 50); }).find("not JSON: tru"), std::string::npos);
}

TEST(TestHelper, PlaysAScenario)
{
    Agent agent{with_program()};
    const std::string path = agent.directory() + "/scenario.json";
    std::ofstream{path} << R"({"steps":[{"until":{"running":false}},{"say":"well"}]})";
    agent.play(path);
    std::ofstream{path} << R"({"steps":[{"phone":"scan"}]})";
    EXPECT_NE(problem_of([&] { agent.play(path); }).find("run 'connect' first"), std::string::npos);
    std::ofstream{path} << R"({"steps":[{"wait_ms":60000}]})";
    EXPECT_NE(problem_of([&] { agent.play(path, 50); }).find("takes longer than 50 ms"), std::string::npos);
    agent.tell("state");
}

} // namespace
