// SPDX-License-Identifier: Apache-2.0
// The program korvane-agent: its command line, its output, its package entry, its control commands, its exit statuses.
#include "support/agent_process.hpp"
#include "support/program.hpp"
#include "testing/support/child_process.hpp"
#include "testing/support/file_descriptor.hpp"
#include "testing/support/wait.hpp"

#include <package_info.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kv::test;

namespace {

/// The socket of a service manager, which the agents of this test find in NOTIFY_SOCKET.
class NotificationSocket {
public:
    explicit NotificationSocket(const std::string &place)
        : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        place.copy(address.sun_path, sizeof address.sun_path - 1);
        if (place.front() == '@')
            address.sun_path[0] = '\0';
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + place.size());
        if (::bind(socket_, reinterpret_cast<const sockaddr *>(&address), size) != 0)
            ADD_FAILURE() << "cannot bind " << place << ": " << std::strerror(errno);
        ::setenv("NOTIFY_SOCKET", place.c_str(), 1);
    }
    NotificationSocket(const NotificationSocket &) = delete;
    NotificationSocket &operator=(const NotificationSocket &) = delete;
    ~NotificationSocket()
    {
        ::unsetenv("NOTIFY_SOCKET");
        ::close(socket_);
    }

    std::string receive() const
    {
        char text[256];
        ssize_t size = -1;
        run_main_loop_until([&] { return (size = ::recv(socket_, text, sizeof text, 0)) >= 0; });
        return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
    }

private:
    int socket_;
};

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

sockaddr_un port_of(const AgentHome &home)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (home.runtime() / "org.korvane.agent.kv_master.sock").string().copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

bool is_served(const AgentHome &home)
{
    const sockaddr_un address = port_of(home);
    const FileDescriptor application{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    return ::connect(application.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

TEST(AgentProgram, PrintsALineOfJsonWhenItIsReadyAndWhenItHasStopped)
{
    AgentHome home;
    Program agent{KORVANE_AGENT_PATH, {"--agent-version", "1.2"}};
    ASSERT_TRUE(agent.wait_for_output("\n"));
    const std::string ready = R"({"agent":"ready","version":"1.2","pid":)" + std::to_string(agent.pid()) + "}\n";
    EXPECT_EQ(agent.output(), ready);
    agent.signal(SIGTERM);
    EXPECT_EQ(agent.wait(), agent_exit::stopped);
    EXPECT_EQ(agent.output(), ready + R"({"agent":"stopped"})" + "\n");
}

TEST(AgentProgram, PrintsALineOfJsonAboutItsScenario)
{
    AgentHome home;
    const std::string path = home.root() / "scenario.json";
    std::ofstream{path} << R"({"steps":[{"until":{"running":false}}]})";
    const auto passed = run_agent({"--scenario", path});
    EXPECT_EQ(passed.exit_status, agent_exit::stopped);
    EXPECT_NE(passed.output.find("\n{\"scenario\":\"passed\"}\n"), std::string::npos) << passed.output;

    std::ofstream{path} << R"({"steps":[{"expect":"start","within_ms":1}]})";
    const auto failed = run_agent({"--scenario", path});
    EXPECT_EQ(failed.exit_status, agent_exit::failed);
    EXPECT_NE(failed.output.find("\n{\"scenario\":\"failed\",\"problem\":\"" + path +
                                 ", line 1, expect start: not within 1 ms; nothing was called\"}\n"),
              std::string::npos)
        << failed.output;
}

TEST(AgentProgram, PrintsSentencesOnATerminal)
{
    AgentHome home;
    // script(1) runs the agent on a new terminal.
    Program terminal{"script", {"-q", "-c", KORVANE_AGENT_PATH " --log " + home.log().string(), "/dev/null"}};
    ASSERT_TRUE(terminal.wait_for_output("\n"));
    const pid_t agent = home.latest_agent();
    EXPECT_EQ(terminal.output(), "korvane-agent 2.3 is ready, process " + std::to_string(agent) + "\r\n");
    ASSERT_EQ(::kill(agent, SIGTERM), 0);
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_EQ(terminal.count_in_output("korvane-agent stopped\r\n"), 1);
}

TEST(AgentProgram, ReportsToTheServiceManagerThatItIsReady)
{
    AgentHome home;
    const std::string path = home.root() / "notify";
    for (const std::string &place : {path, "@" + path}) {
        const NotificationSocket manager{place};
        AgentProcess agent{home};
        EXPECT_EQ(manager.receive(), "READY=1") << place;
    }
}

TEST(AgentProgram, InstallsItsPackageEntry)
{
    AgentHome home;
    AgentProcess agent{home, {"--agent-version", "1.4.7"}};
    EXPECT_EQ(installed_version(), "1.4.7");
}

TEST(AgentProgram, InstallsAndUninstallsItsPackageEntryWithoutServing)
{
    AgentHome home;
    EXPECT_EQ(installed_version(), "");
    EXPECT_EQ(run_agent({"--install", "--agent-version", "2.0"}).exit_status, agent_exit::stopped);
    EXPECT_EQ(installed_version(), "2.0");
    EXPECT_EQ(run_agent({"--uninstall"}).exit_status, agent_exit::stopped);
    EXPECT_EQ(installed_version(), "");
}

TEST(AgentProgram, UsesTheDirectoriesOfTheCommandLine)
{
    AgentHome home;
    const std::string elsewhere = home.root() / "elsewhere";
    EXPECT_EQ(run_agent({"--install", "--package-dir", elsewhere}).exit_status, agent_exit::stopped);
    EXPECT_EQ(installed_version(), "");
    EXPECT_FALSE(std::filesystem::is_empty(elsewhere));
}

TEST(AgentProgram, RefusesAnUnknownVersionAndListsTheKnownOnes)
{
    const auto result = run_agent({"--agent-version", "2.4"});
    EXPECT_EQ(result.exit_status, agent_exit::wrong_usage);
    EXPECT_NE(result.error_output.find("'2.4'"), std::string::npos) << result.error_output;
    EXPECT_NE(result.error_output.find("1.0, 1.1, 1.2, 1.3, 1.4, 1.5, 1.6, 2.0, 2.1, 2.2, 2.3"), std::string::npos)
        << result.error_output;
    EXPECT_EQ(result.output, "");
}

TEST(AgentProgram, RefusesAWrongCommandLine)
{
    for (const char *wrong : {"--no-such-option", "word", "--log", "--install=yes", "-x"}) {
        const auto result = run_agent({wrong});
        EXPECT_EQ(result.exit_status, agent_exit::wrong_usage) << wrong;
        EXPECT_NE(result.error_output.find("korvane-agent: "), std::string::npos) << result.error_output;
    }
}

TEST(AgentProgram, NamesTheArgumentThatIsWrong)
{
    struct Mistake {
        std::vector<std::string> arguments;
        const char *reason;
    };
    const Mistake mistakes[] = {
        {.arguments = {"-xy"}, .reason = "'-xy' is not an option"},
        {.arguments = {"--update-ready", "-x"}, .reason = "'-x' is not an option"},
        {.arguments = {"--update-ready", "-xy", "--verbose"}, .reason = "'-xy' is not an option"},
        {.arguments = {"--log"}, .reason = "'--log' is not an option, or its value is missing"},
        {.arguments = {"word", "--verbose"}, .reason = "unexpected argument 'word'"},
        {.arguments = {"--log", ""}, .reason = "--log needs a path, which must not be empty"},
        {.arguments = {"--runtime-dir="}, .reason = "--runtime-dir needs a path, which must not be empty"},
        {.arguments = {"--scenario", ""}, .reason = "--scenario needs a path, which must not be empty"},
    };
    for (const Mistake &mistake : mistakes) {
        const auto result = run_agent(mistake.arguments);
        EXPECT_EQ(result.exit_status, agent_exit::wrong_usage) << mistake.reason;
        EXPECT_NE(result.error_output.find(mistake.reason), std::string::npos) << result.error_output;
    }
}

TEST(AgentProgram, PrintsHelpWithExamplesAndAllCommands)
{
    const auto result = run_agent({"--help"});
    EXPECT_EQ(result.exit_status, agent_exit::stopped);
    for (const char *part : {"Usage:", "--agent-version", "Commands:", "Faults:", "Examples:", "start_async_cb"})
        EXPECT_NE(result.output.find(part), std::string::npos) << part;
    EXPECT_EQ(run_agent({"--version"}).exit_status, agent_exit::stopped);
}

TEST(AgentProgram, RefusesToRunBesideAnotherAgentAndKeepsItsPackageEntry)
{
    AgentHome home;
    AgentProcess first{home, {"--agent-version", "2.1"}};
    const auto second = run_agent({"--agent-version", "1.0"});
    EXPECT_EQ(second.exit_status, agent_exit::port_in_use);
    EXPECT_NE(second.error_output.find("another agent serves this port"), std::string::npos) << second.error_output;
    EXPECT_EQ(installed_version(), "2.1");
    first.run_command("state");
}

TEST(AgentProgram, LeavesThePortToAServiceManagerThatListensAtIt)
{
    AgentHome home;
    std::filesystem::create_directory(home.runtime());
    std::filesystem::permissions(home.runtime(), std::filesystem::perms::owner_all);
    const sockaddr_un address = port_of(home);
    const FileDescriptor manager{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    ASSERT_EQ(::bind(manager.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(manager.get(), 8), 0);
    const auto result = run_agent({});
    EXPECT_EQ(result.exit_status, agent_exit::port_in_use);
    for (const char *part : {"korvane-agent.socket", address.sun_path, "another program listens at its socket"})
        EXPECT_NE(result.error_output.find(part), std::string::npos) << part << ": " << result.error_output;
    EXPECT_TRUE(is_served(home)) << "by the service manager";
    EXPECT_EQ(installed_version(), "");
}

TEST(AgentProgram, ReportsWhyItCannotServe)
{
    AgentHome home;
    std::ofstream{home.runtime()} << "a file where the directory should be";
    const auto result = run_agent({});
    EXPECT_EQ(result.exit_status, agent_exit::failed);
    EXPECT_NE(result.error_output.find("cannot serve the port"), std::string::npos) << result.error_output;
}

TEST(AgentProgram, ReportsWhyItCannotOpenItsLog)
{
    AgentHome home;
    const auto result = run_agent({"--log", home.root() / "missing" / "log"});
    EXPECT_EQ(result.exit_status, agent_exit::failed);
    EXPECT_NE(result.error_output.find("cannot open the log"), std::string::npos) << result.error_output;
}

TEST(AgentProgram, RefusesALogThatIsASymbolicLink)
{
    AgentHome home;
    const std::string file = home.root() / "file";
    const std::string link = home.root() / "link";
    std::ofstream{file} << "";
    std::filesystem::create_symlink(file, link);
    ChildProcess agent{{.words = {KORVANE_AGENT_PATH, "--commands", "--log", link}}};
    agent.close_input(); // an agent that starts ends at once
    EXPECT_EQ(agent.wait(), agent_exit::failed);
    EXPECT_NE(agent.error_output().find("cannot open the log " + link + ": it is a symbolic link; name its target"),
              std::string::npos)
        << agent.error_output();
    EXPECT_TRUE(std::filesystem::is_empty(file));
}

TEST(AgentProgram, WritesItsLogToADescriptor)
{
    AgentHome home;
    for (const char *place : {"/dev/stderr", "/dev/fd/2", "/proc/self/fd/2"}) {
        ChildProcess agent{{.words = {KORVANE_AGENT_PATH, "--commands", "--log", place}}};
        agent.close_input();
        EXPECT_EQ(agent.wait(), agent_exit::stopped) << place;
        EXPECT_NE(agent.error_output().find(R"("agent":"ready")"), std::string::npos) << agent.error_output();
    }
}

TEST(AgentProgram, StopsOnSigtermAndSigint)
{
    for (int signal : {SIGTERM, SIGINT}) {
        AgentHome home;
        AgentProcess agent{home};
        agent.signal(signal);
        EXPECT_EQ(agent.wait(), agent_exit::stopped);
        EXPECT_EQ(home.count_in_journal({R"("agent":"stopped")"}), 1);
        AgentProcess next{home};
    }
}

TEST(AgentProgram, StopsOnTheCommandQuit)
{
    AgentHome home;
    AgentProcess agent{home};
    agent.run_command("quit");
    EXPECT_EQ(agent.wait(), agent_exit::stopped);
}

TEST(AgentProgram, ReplacesAnAgentThatWasKilled)
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

TEST(AgentProgram, StopsWhenTheProgramThatStartedItEnds)
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

TEST(AgentProgram, PrintsItsState)
{
    AgentHome home;
    AgentProcess agent{home, {"--device-id", "11111111-2222-4333-8444-555555555555", "--update-ready"}};
    const std::string state = agent.reply_to("state");
    for (const char *part : {R"("version":"2.3")", R"("device_id":"11111111-2222-4333-8444-555555555555")",
                             R"("running":false)", R"("update_ready":true)", R"("peers":[])", R"("faults":{})"})
        EXPECT_NE(state.find(part), std::string::npos) << state;
}

TEST(AgentProgram, RefusesEachWrongCommandWithTheReason)
{
    AgentHome home;
    AgentProcess agent{home};
    struct Refusal {
        const char *command;
        const char *reason;
    };
    const Refusal refusals[] = {
        {.command = "no-such-command", .reason = "there is no command 'no-such-command'"},
        {.command = "emit", .reason = "'event' is missing; the command is emit EVENT [VALUES]"},
        {.command = "emit no_such_cb []", .reason = "there is no event 'no_such_cb'"},
        {.command = "emit status_changed_cb []", .reason = "status_changed_cb carries [status]"},
        {.command = "emit status_changed_cb [", .reason = "not JSON"},
        {.command = "fault no_such_method die", .reason = "there is no method 'no_such_method'"},
        {.command = "fault start no_such_fault", .reason = "there is no fault 'no_such_fault'"},
        {.command = "fault start delay", .reason = "fault delay needs MS"},
        {.command = "fault start die 7", .reason = "fault die takes no number"},
        {.command = "fault start cut -1", .reason = "N must be 0 to 1000000"},
        {.command = "fault start garbage 1000001", .reason = "N must be 0 to 1000000"},
        {.command = "fault start delay 99999999999", .reason = "must be a whole number"},
        {.command = "fault start delay 1 2 3", .reason = "unexpected argument: 3"},
        {.command = "update", .reason = "'step' is missing"},
        {.command = "update start 1.2", .reason = "unexpected argument: 1.2"},
        {.command = "update fail now", .reason = "must be a whole number"},
        {.command = "update ready", .reason = "ready is on or off, not missing"},
        {.command = "phone", .reason = "'step' is missing"},
        {.command = "phone dance", .reason = "the phone has no step 'dance'; 'help' lists them"},
        {.command = "phone connect []", .reason = "the arguments must be a JSON object"},
        {.command = "clock advance 5", .reason = "only a stopped clock can be advanced"},
        {.command = "clock jump", .reason = "the clock can stop, run or advance, not 'jump'"},
        {.command = "update begin", .reason = "an update has no step 'begin'"},
        {.command = "update complete 9.9", .reason = "there is no agent version '9.9'"},
        {.command = "state now", .reason = "the state has no 'now'"},
        {.command = "state running now", .reason = "unexpected argument: now"},
        {.command = "journal -1", .reason = "'since' cannot be negative"},
        {.command = "count []", .reason = "'filter' must be an object"},
        {.command = "wait {} 600001", .reason = "'within_ms' is at most 600000"},
        {.command = "wait {} 10 0 0", .reason = "unexpected argument: 0"},
        {.command = "play []", .reason = "a scenario is an object with an array 'steps'"},
        {.command = R"(play "/no/such/file")", .reason = "cannot read /no/such/file"},
        {.command = "stop-play", .reason = "no scenario is being played"},
    };
    for (const Refusal &refusal : refusals) {
        const std::string reply = agent.reply_to(refusal.command);
        EXPECT_EQ(reply.find(R"("ok":true)"), std::string::npos) << refusal.command << ": " << reply;
        EXPECT_NE(reply.find(refusal.reason), std::string::npos) << refusal.command << ": " << reply;
    }
}

/// A file in the place of the directory of the package entries: no entry can be written. The destructor puts the directory
/// back.
class UnwritablePackages {
public:
    explicit UnwritablePackages(const AgentHome &home) : place_(home.packages()), aside_(home.root() / "aside")
    {
        std::filesystem::rename(place_, aside_);
        std::ofstream{place_} << "not a directory";
    }
    UnwritablePackages(const UnwritablePackages &) = delete;
    UnwritablePackages &operator=(const UnwritablePackages &) = delete;
    ~UnwritablePackages()
    {
        std::filesystem::remove(place_);
        std::filesystem::rename(aside_, place_);
    }

private:
    std::filesystem::path place_;
    std::filesystem::path aside_;
};

constexpr const char *entry_is_refused = "cannot write the package entry";

TEST(AgentProgram, ContinuesToServeIfItCannotWriteItsPackageEntry)
{
    AgentHome home;
    AgentProcess agent{home, {"--update-ready"}};
    {
        const UnwritablePackages blocked{home};
        for (const char *command : {"update complete 1.2", "kill", "restart"}) {
            EXPECT_NE(agent.reply_to(command).find(entry_is_refused), std::string::npos) << command;
            EXPECT_TRUE(is_served(home)) << command;
            EXPECT_NE(agent.reply_to("state version").find("2.3"), std::string::npos) << command;
            EXPECT_NE(agent.reply_to("state update_ready").find("true"), std::string::npos) << command;
        }
    }
    EXPECT_EQ(installed_version(), "2.3");
    agent.run_command("kill");
    EXPECT_FALSE(is_served(home));
    agent.run_command("restart");
    EXPECT_TRUE(is_served(home));
}

TEST(AgentProgram, ServesAgainOnlyWhenItCanWriteItsPackageEntry)
{
    AgentHome home;
    AgentProcess agent{home};
    agent.run_command("kill");
    {
        const UnwritablePackages blocked{home};
        for (const char *command : {"update complete 1.2", "update fail", "restart"}) {
            EXPECT_NE(agent.reply_to(command).find(entry_is_refused), std::string::npos) << command;
            EXPECT_FALSE(is_served(home)) << command;
            EXPECT_NE(agent.reply_to("state version").find("2.3"), std::string::npos) << command;
        }
    }
    agent.run_command("update complete 1.2");
    EXPECT_TRUE(is_served(home));
    EXPECT_EQ(installed_version(), "1.2");
    EXPECT_NE(agent.reply_to("state version").find("1.2"), std::string::npos);
}

} // namespace
