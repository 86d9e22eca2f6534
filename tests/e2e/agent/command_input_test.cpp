// SPDX-License-Identifier: Apache-2.0
// Commands that the program korvane-agent reads from standard input and from a FIFO.
#include "support/agent_process.hpp"
#include "testing/support/child_process.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace kv::test;

namespace {

TEST(AgentCommandInput, RefusesACommandFifoThatIsARegularFile)
{
    AgentHome home;
    const std::string file = home.root() / "commands";
    std::ofstream{file} << "quit\n";
    const auto result = run_agent({"--command-fifo", file});
    EXPECT_EQ(result.exit_status, agent_exit::failed);
    EXPECT_NE(result.error_output.find("not a FIFO"), std::string::npos) << result.error_output;
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST(AgentCommandInput, DiscardsALineThatIsTooLongUpToItsEnd)
{
    AgentHome home;
    ChildProcess agent{{.words = {KORVANE_AGENT_PATH, "--commands"}}};
    ASSERT_TRUE(agent.wait_for_line()) << "ready";
    const std::string rest(16384, ' '); // the agent reads fewer bytes at once
    ASSERT_TRUE(agent.write_line(std::string(1 << 20, 'a') + rest + "state version"));
    ASSERT_TRUE(agent.write_line("state running"));
    EXPECT_EQ(agent.wait_for_line(), R"({"ok":false,"error":"the line is too long"})");
    EXPECT_EQ(agent.wait_for_line(), R"({"ok":true,"state":false})");
}

TEST(AgentCommandInput, ReadsCommandsFromStandardInputAndFromAFifo)
{
    AgentHome home;
    const std::string fifo = home.root() / "commands";
    ChildProcess agent{{.words = {KORVANE_AGENT_PATH, "--commands", "--command-fifo", fifo}}};
    ASSERT_TRUE(agent.wait_for_line()) << "ready";
    std::ofstream{fifo} << "state version\n";
    EXPECT_EQ(agent.wait_for_line(), R"({"ok":true,"state":"2.3"})");
    ASSERT_TRUE(agent.write_line("state running"));
    EXPECT_EQ(agent.wait_for_line(), R"({"ok":true,"state":false})");
    agent.close_input();
    EXPECT_EQ(agent.wait(), agent_exit::stopped);
    EXPECT_FALSE(std::filesystem::exists(fifo));
}

TEST(AgentCommandInput, ReadsCommandsFromAFifo)
{
    AgentHome home;
    const std::string fifo = home.root() / "commands";
    AgentProcess agent{home, {"--command-fifo", fifo}};
    std::ofstream{fifo} << "quit\n";
    EXPECT_EQ(agent.wait(), agent_exit::stopped);
    EXPECT_FALSE(std::filesystem::exists(fifo));
}

} // namespace
