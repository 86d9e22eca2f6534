// SPDX-License-Identifier: Apache-2.0
// The agent as a program: its command line, its package entry, its commands, its ends.
#include "support/agent_process.hpp"
#include "support/program.hpp"

#include <package_info.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using kv::test::AgentHome;
using kv::test::AgentProcess;
using kv::test::Program;
using kv::test::run_agent;

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
    agent.says("\n");
    EXPECT_EQ(agent.out(), "korvane-agent 1.2 ready, process " + std::to_string(agent.pid()) + "\n");
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
    EXPECT_EQ(run_agent({"--install", "--agent-version", "2.0"}).status, 0);
    EXPECT_EQ(installed_version(), "2.0");
    EXPECT_EQ(run_agent({"--uninstall"}).status, 0);
    EXPECT_EQ(installed_version(), "");
}

TEST(AgentProgram, PutsItsDirectoriesWhereTheCommandLineSays)
{
    AgentHome home;
    const std::string elsewhere = home.root() / "elsewhere";
    EXPECT_EQ(run_agent({"--install", "--package-dir", elsewhere}).status, 0);
    EXPECT_EQ(installed_version(), "");
    EXPECT_FALSE(std::filesystem::is_empty(elsewhere));
}

TEST(AgentProgram, RefusesAVersionThatNeverWasAndNamesThoseThatWere)
{
    const auto finished = run_agent({"--agent-version", "2.4"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_NE(finished.err.find("'2.4'"), std::string::npos) << finished.err;
    EXPECT_NE(finished.err.find("1.0, 1.1, 1.2, 1.3, 1.4, 1.5, 1.6, 2.0, 2.1, 2.2, 2.3"), std::string::npos)
        << finished.err;
    EXPECT_EQ(finished.out, "");
}

TEST(AgentProgram, RefusesWhatItDoesNotUnderstand)
{
    for (const char *wrong : {"--no-such-option", "word", "--log", "--install=yes", "-x"}) {
        const auto finished = run_agent({wrong});
        EXPECT_EQ(finished.status, 2) << wrong;
        EXPECT_NE(finished.err.find("korvane-agent: "), std::string::npos) << finished.err;
    }
}

TEST(AgentProgram, HelpsWithExamplesAndAllCommands)
{
    const auto finished = run_agent({"--help"});
    EXPECT_EQ(finished.status, 0);
    for (const char *part : {"Usage:", "--agent-version", "Commands:", "Faults:", "Examples:", "start_async_cb"})
        EXPECT_NE(finished.out.find(part), std::string::npos) << part;
    EXPECT_EQ(run_agent({"--version"}).status, 0);
}

TEST(AgentProgram, RefusesToBeTheSecondAndLeavesTheFirstsEntryAlone)
{
    AgentHome home;
    AgentProcess first{home, {"--agent-version", "2.1"}};
    const auto second = run_agent({"--agent-version", "1.0"});
    EXPECT_EQ(second.status, 3);
    EXPECT_NE(second.err.find("another agent serves this port"), std::string::npos) << second.err;
    EXPECT_EQ(installed_version(), "2.1");
    first.tell("state");
}

TEST(AgentProgram, SaysWhyItCannotServe)
{
    AgentHome home;
    std::ofstream{home.runtime()} << "a file where the directory should be";
    const auto finished = run_agent({});
    EXPECT_EQ(finished.status, 1);
    EXPECT_NE(finished.err.find("cannot serve the port"), std::string::npos) << finished.err;
}

TEST(AgentProgram, SaysWhyItCannotOpenItsLog)
{
    AgentHome home;
    const auto finished = run_agent({"--log", home.root() / "missing" / "log"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_NE(finished.err.find("cannot open the log"), std::string::npos) << finished.err;
}

TEST(AgentProgram, StopsCleanlyWhenAsked)
{
    for (int signal : {SIGTERM, SIGINT}) {
        AgentHome home;
        AgentProcess agent{home};
        agent.signal(signal);
        EXPECT_EQ(agent.wait(), 0);
        EXPECT_EQ(home.journalled({R"("agent":"stopped")"}), 1);
        AgentProcess next{home};
    }
}

TEST(AgentProgram, StopsByCommand)
{
    AgentHome home;
    AgentProcess agent{home};
    agent.tell("quit");
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
    next.tell("state");
}

TEST(AgentProgram, EndsWithTheProgramThatStartedIt)
{
    AgentHome home;
    const auto journalled = [&home](const char *what) {
        for (int waited = 0; waited < kv::test::deadline_ms; waited += 5) {
            if (home.journalled({what}) > 0)
                return true;
            ::poll(nullptr, 0, 5);
        }
        return false;
    };
    const pid_t parent = ::fork();
    if (parent == 0) {
        const std::string line = std::string{KORVANE_AGENT_PATH} + " --exit-with-parent --log '" + home.log().string() +
                                 "' >/dev/null & wait";
        ::execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
        ::_exit(127);
    }
    EXPECT_TRUE(journalled(R"("agent":"ready")"));
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    EXPECT_TRUE(journalled(R"("agent":"stopped")"));
}

TEST(AgentProgram, ShowsItsState)
{
    AgentHome home;
    AgentProcess agent{home, {"--device-id", "11111111-2222-4333-8444-555555555555", "--update-ready"}};
    const std::string state = agent.command("state");
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
        {"emit", "'event' is missing; the command is emit EVENT [VALUES]"},
        {"emit no_such_cb []", "there is no event 'no_such_cb'"},
        {"emit status_changed_cb []", "status_changed_cb carries [status]"},
        {"emit status_changed_cb [", "not JSON"},
        {"fault no_such_method die", "there is no method 'no_such_method'"},
        {"fault start no_such_fault", "there is no fault 'no_such_fault'"},
        {"fault start delay", "fault delay needs MS"},
        {"fault start die 7", "fault die takes no number"},
        {"fault start cut -1", "N must be 0 to 1000000"},
        {"fault start garbage 1000001", "N must be 0 to 1000000"},
        {"fault start delay 99999999999", "must be a whole number"},
        {"fault start delay 1 2 3", "unexpected argument: 3"},
        {"update", "'step' is missing"},
        {"update start 1.2", "unexpected argument: 1.2"},
        {"update fail now", "must be a whole number"},
        {"update ready", "ready is on or off, not missing"},
        {"phone", "'step' is missing"},
        {"phone dance", "the phone has no step 'dance'; 'help' lists them"},
        {"phone connect []", "the arguments must be a JSON object"},
        {"clock advance 5", "only a stopped clock can be advanced"},
        {"clock jump", "the clock can stop, run or advance, not 'jump'"},
        {"update begin", "an update has no step 'begin'"},
        {"update complete 9.9", "there is no agent version '9.9'"},
        {"state now", "the state has no 'now'"},
        {"state running now", "unexpected argument: now"},
        {"journal -1", "'since' cannot be negative"},
        {"count []", "'filter' must be an object"},
        {"wait {} 600001", "'within_ms' is at most 600000"},
        {"wait {} 10 0 0", "unexpected argument: 0"},
        {"play []", "a scenario is an object with an array 'steps'"},
        {R"(play "/no/such/file")", "cannot read /no/such/file"},
        {"stop-play", "no scenario is being played"},
    };
    for (const auto &[line, reason] : wrong) {
        const std::string answer = agent.command(line);
        EXPECT_EQ(answer.find(R"("ok":true)"), std::string::npos) << line << ": " << answer;
        EXPECT_NE(answer.find(reason), std::string::npos) << line << ": " << answer;
    }
}

TEST(AgentProgram, TakesNoCommandsFromAFileThatIsNoFifo)
{
    AgentHome home;
    const std::string file = home.root() / "commands";
    std::ofstream{file} << "quit\n";
    const auto finished = run_agent({"--command-fifo", file});
    EXPECT_EQ(finished.status, 1);
    EXPECT_NE(finished.err.find("not a FIFO"), std::string::npos) << finished.err;
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
