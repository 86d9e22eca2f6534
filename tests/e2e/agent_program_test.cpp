// SPDX-License-Identifier: Apache-2.0
// The agent as a program: its command line, its package entry, its commands, its ends.
#include "support/agent_process.hpp"
#include "support/program.hpp"
#include "testing/support/wait.hpp"

#include <package_info.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

using namespace kv::test;

namespace {

std::string installed_version()
{
    package_info_h info = nullptr;
    char *text = nullptr;
    std::string version;
    if (package_info_create("org.korvane.agent", &info) == 0 && package_info_get_version(info, &text) == 0)
        version = text;
    std::free(text);
    package_info_destroy(info);
    return version;
}

TEST(AgentProgram, SaysInOneLineThatItIsReady)
{
    AgentHome home;
    Program agent{KORVANE_AGENT_PATH, {"--agent-version", "1.2"}};
    agent.wait_for_output("\n");
    EXPECT_EQ(agent.output(), "korvane-agent 1.2 ready, process " + std::to_string(agent.pid()) + "\n");
}

TEST(AgentProgram, EntersItselfAsTheInstalledAgent)
{
    AgentHome home;
    AgentProcess agent{home, {"--agent-version", "1.4.7"}};
    EXPECT_EQ(installed_version(), "1.4.7");
}

TEST(AgentProgram, CanBeInstalledAndUninstalledWithoutRunning)
{
    AgentHome home;
    EXPECT_EQ(installed_version(), "");
    EXPECT_EQ(run_agent({"--install", "--agent-version", "2.0"}).exit_status, 0);
    EXPECT_EQ(installed_version(), "2.0");
    EXPECT_EQ(run_agent({"--uninstall"}).exit_status, 0);
    EXPECT_EQ(installed_version(), "");
}

TEST(AgentProgram, PutsItsDirectoriesWhereTheCommandLineSays)
{
    AgentHome home;
    const std::string elsewhere = home.root() / "elsewhere";
    EXPECT_EQ(run_agent({"--install", "--package-dir", elsewhere}).exit_status, 0);
    EXPECT_EQ(installed_version(), "");
    EXPECT_FALSE(std::filesystem::is_empty(elsewhere));
}

TEST(AgentProgram, RefusesAVersionThatNeverWasAndNamesThoseThatWere)
{
    const auto result = run_agent({"--agent-version", "2.4"});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_NE(result.error_output.find("'2.4'"), std::string::npos) << result.error_output;
    EXPECT_NE(result.error_output.find("1.0, 1.1, 1.2, 1.3, 1.4, 1.5, 1.6, 2.0, 2.1, 2.2, 2.3"), std::string::npos)
        << result.error_output;
    EXPECT_EQ(result.output, "");
}

TEST(AgentProgram, RefusesWhatItDoesNotUnderstand)
{
    for (const char *wrong : {"--no-such-option", "word", "--log", "--install=yes", "-x"}) {
        const auto result = run_agent({wrong});
        EXPECT_EQ(result.exit_status, 2) << wrong;
        EXPECT_NE(result.error_output.find("korvane-agent: "), std::string::npos) << result.error_output;
    }
}

TEST(AgentProgram, HelpsWithExamplesAndAllCommands)
{
    const auto result = run_agent({"--help"});
    EXPECT_EQ(result.exit_status, 0);
    for (const char *part : {"Usage:", "--agent-version", "Commands:", "Faults:", "Examples:", "start_async_cb"})
        EXPECT_NE(result.output.find(part), std::string::npos) << part;
    EXPECT_EQ(run_agent({"--version"}).exit_status, 0);
}

TEST(AgentProgram, RefusesToBeTheSecondAndLeavesTheFirstsEntryAlone)
{
    AgentHome home;
    AgentProcess first{home, {"--agent-version", "2.1"}};
    const auto second = run_agent({"--agent-version", "1.0"});
    EXPECT_EQ(second.exit_status, 3);
    EXPECT_NE(second.error_output.find("another agent serves this port"), std::string::npos) << second.error_output;
    EXPECT_EQ(installed_version(), "2.1");
    first.run_command("state");
}

TEST(AgentProgram, SaysWhyItCannotServe)
{
    AgentHome home;
    std::ofstream{home.runtime()} << "a file where the directory should be";
    const auto result = run_agent({});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_NE(result.error_output.find("cannot serve the port"), std::string::npos) << result.error_output;
}

TEST(AgentProgram, SaysWhyItCannotOpenItsLog)
{
    AgentHome home;
    const auto result = run_agent({"--log", home.root() / "missing" / "log"});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_NE(result.error_output.find("cannot open the log"), std::string::npos) << result.error_output;
}

TEST(AgentProgram, StopsCleanlyWhenAsked)
{
    for (int signal : {SIGTERM, SIGINT}) {
        AgentHome home;
        AgentProcess agent{home};
        agent.signal(signal);
        EXPECT_EQ(agent.wait(), 0);
        EXPECT_EQ(home.count_in_journal({R"("agent":"stopped")"}), 1);
        AgentProcess next{home};
    }
}

TEST(AgentProgram, StopsByCommand)
{
    AgentHome home;
    AgentProcess agent{home};
    agent.run_command("quit");
    EXPECT_EQ(agent.wait(), 0);
}

TEST(AgentProgram, FollowsOneThatWasKilled)
{
    AgentHome home;
    {
        AgentProcess killed{home};
        killed.signal(SIGKILL);
        EXPECT_EQ(killed.wait(), -SIGKILL);
    }
    AgentProcess next{home};
    next.run_command("state");
}

TEST(AgentProgram, EndsWithTheProgramThatStartedIt)
{
    AgentHome home;
    const std::string script =
        std::string{KORVANE_AGENT_PATH} + " --exit-with-parent --log '" + home.log().string() + "' & wait";
    {
        Program parent{"sh", {"-c", script}};
        EXPECT_TRUE(wait_until([&] { return home.count_in_journal({R"("agent":"ready")"}) == 1; }));
    }
    EXPECT_TRUE(wait_until([&] { return home.count_in_journal({R"("agent":"stopped")"}) == 1; }));
}

TEST(AgentProgram, ShowsItsState)
{
    AgentHome home;
    AgentProcess agent{home, {"--device-id", "11111111-2222-4333-8444-555555555555", "--update-ready"}};
    const std::string state = agent.reply_to("state");
    for (const char *part : {R"("version":"2.3")", R"("device_id":"11111111-2222-4333-8444-555555555555")",
                             R"("running":false)", R"("update_ready":true)", R"("peers":[])", R"("faults":{})"})
        EXPECT_NE(state.find(part), std::string::npos) << state;
}

TEST(AgentProgram, AnswersEachWrongCommandWithTheReason)
{
    AgentHome home;
    AgentProcess agent{home};
    const std::pair<const char *, const char *> wrong[] = {
        {"no-such-command", "there is no command 'no-such-command'"},
        {"emit", "'event' is missing; it is emit EVENT [VALUES]"},
        {"emit no_such_cb []", "there is no event 'no_such_cb'"},
        {"emit status_changed_cb []", "status_changed_cb carries [status]"},
        {"emit status_changed_cb [", "not JSON"},
        {"fault no_such_method die", "there is no method 'no_such_method'"},
        {"fault start no_such_fault", "there is no fault 'no_such_fault'"},
        {"fault start delay", "fault delay wants MS"},
        {"fault start die 7", "fault die takes no number"},
        {"fault start cut -1", "N must be 0 to 1000000"},
        {"fault start garbage 1000001", "N must be 0 to 1000000"},
        {"fault start delay 99999999999", "must be a whole number"},
        {"fault start delay 1 2 3", "nothing can follow here: 3"},
        {"update", "'step' is missing"},
        {"update start 1.2", "nothing can follow here: 1.2"},
        {"update fail now", "must be a whole number"},
        {"update ready", "ready is on or off, not missing"},
        {"phone", "'step' is missing"},
        {"phone dance", "the phone has no step 'dance'; 'help' lists them"},
        {"phone connect []", "the arguments must be a JSON object"},
        {"clock advance 5", "only a clock that stands can be moved on"},
        {"clock jump", "the clock can stand, run or advance, not 'jump'"},
        {"update begin", "an update has no step 'begin'"},
        {"update complete 9.9", "there is no agent version '9.9'"},
        {"state now", "the state has no 'now'"},
        {"state running now", "nothing can follow here: now"},
        {"journal -1", "'since' cannot be negative"},
        {"count []", "'filter' must be an object"},
        {"wait {} 600001", "'within_ms' is at most 600000"},
        {"wait {} 10 0 0", "nothing can follow here: 0"},
        {"play []", "a scenario is an object with an array 'steps'"},
        {R"(play "/no/such/file")", "cannot read the scenario /no/such/file"},
        {"stop-play", "no scenario is being played"},
    };
    for (const auto &[line, reason] : wrong) {
        const std::string answer = agent.reply_to(line);
        EXPECT_EQ(answer.find(R"("ok":true)"), std::string::npos) << line << ": " << answer;
        EXPECT_NE(answer.find(reason), std::string::npos) << line << ": " << answer;
    }
}

TEST(AgentProgram, TakesNoCommandsFromAFileThatIsNoFifo)
{
    AgentHome home;
    const std::string file = home.root() / "commands";
    std::ofstream{file} << "quit\n";
    const auto result = run_agent({"--command-fifo", file});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_NE(result.error_output.find("not a FIFO"), std::string::npos) << result.error_output;
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST(AgentProgram, TakesCommandsFromAFifo)
{
    AgentHome home;
    const std::string fifo = home.root() / "commands";
    AgentProcess agent{home, {"--command-fifo", fifo}};
    std::ofstream{fifo} << "quit\n";
    EXPECT_EQ(agent.wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(fifo));
}

} // namespace
