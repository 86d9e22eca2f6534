// SPDX-License-Identifier: Apache-2.0
//
// Agents that are started on demand, and applications that fork. The agent is this program with an argument.
#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "fixture.hpp"

#include "testing/support/read_file.hpp"
#include "testing/support/wait.hpp"

namespace kv::test {
namespace {

using AgentStartTest = PortsTest;
using ForkTest = PortsTest;

// A line of /proc/<pid>/status.
std::string status_line(const std::string &name, pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(name + ":"))
            return line.substr(line.find_first_not_of(" \t", name.size() + 1));
    return "";
}

struct Run {
    Run()
    {
        std::string arguments = read_file("/proc/self/cmdline");
        const size_t at = arguments.find(std::string("\0--as-agent\0", 12));
        if (at != std::string::npos)
            serve(arguments.c_str() + at + 12);
    }

    // Writes its process id to the file and serves until the last peer disconnects.
    [[noreturn]] static void serve(const char *report)
    {
        alarm(30); // in case no peer connects
        const int file = open(report, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        const std::string line = std::to_string(getpid()) + "\n";
        if (write(file, line.data(), line.size()) < 0)
            _exit(1);
        close(file);
        Stub stub;
        stub.on_disconnected = [&] {
            if (stub.disconnected.size() == stub.peers.size()) {
                stub.destroy();
                _exit(0);
            }
        };
        if (stub.listen() != 0)
            _exit(1);
        for (;;)
            g_main_context_iteration(nullptr, TRUE);
    }
};
const Run runs_as_agent_on_request;

std::string agent_package(const std::string &report)
{
    return "Executable=" + std::filesystem::canonical("/proc/self/exe").string() + "\nArguments=--as-agent '" + report +
           "'\n";
}

std::vector<pid_t> started(const std::string &report)
{
    std::ifstream file(report);
    std::vector<pid_t> found;
    for (pid_t pid = 0; file >> pid;)
        found.push_back(pid);
    return found;
}

// Init may take a while to collect a dead process.
bool has_ended(pid_t pid)
{
    return wait_until([pid] {
        const std::string state = status_line("State", pid);
        return state.empty() || state.front() == 'Z';
    });
}

TEST_F(AgentStartTest, StartsAndConnects)
{
    install_package(agent_package(directory / "started here"));
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now()) << log();
    EXPECT_EQ(0, proxy.send(11));
    EXPECT_EQ(11, proxy.read());
    ASSERT_EQ(1u, started(directory / "started here").size());
    EXPECT_TRUE(contains(log(), "package org.example.agent: started ")) << log();
    proxy.destroy();
    EXPECT_TRUE(has_ended(started(directory / "started here").front()));
}

TEST_F(AgentStartTest, DetachesTheAgent)
{
    install_package(agent_package(directory / "report"));
    // An agent must not inherit a descriptor, a blocked signal or an ignored signal.
    const int inheritable = open("/dev/zero", O_RDONLY);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto ignored = signal(SIGUSR2, SIG_IGN);
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now()) << log();
    sigset_t during;
    sigprocmask(SIG_SETMASK, &before, &during);
    signal(SIGUSR2, ignored);
    close(inheritable);
    EXPECT_EQ(1, sigismember(&during, SIGUSR1)) << "the application's signal mask has changed";

    ASSERT_EQ(1u, started(directory / "report").size());
    const pid_t agent = started(directory / "report").front();
    EXPECT_NE(std::to_string(getpid()), status_line("PPid", agent));
    EXPECT_NE(getsid(0), getsid(agent));
    EXPECT_EQ("0000000000000000", status_line("SigBlk", agent));
    EXPECT_EQ("0000000000000000", status_line("SigIgn", agent));
    EXPECT_EQ("/", std::filesystem::read_symlink("/proc/" + std::to_string(agent) + "/cwd"));
    for (const auto &entry : std::filesystem::directory_iterator("/proc/" + std::to_string(agent) + "/fd")) {
        const std::string what = std::filesystem::read_symlink(entry.path());
        EXPECT_TRUE(what == "/dev/null" || contains(what, "socket:") || contains(what, "anon_inode:") ||
                    contains(what, "/log") || contains(what, ".lock"))
            << what;
    }
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "the application has a child";
    EXPECT_EQ(ECHILD, errno);
    proxy.destroy();
    EXPECT_TRUE(has_ended(agent));
}

TEST_F(AgentStartTest, StartsOneAgentForSeveralProxies)
{
    install_package(agent_package(directory / "report"));
    Proxy first;
    Proxy second;
    ASSERT_EQ(0, first.connect());
    ASSERT_EQ(0, second.connect());
    EXPECT_TRUE(run_until([&] { return first.connected + second.connected == 2; })) << log();
    EXPECT_EQ(1u, started(directory / "report").size());
    first.destroy();
    second.destroy();
    EXPECT_TRUE(has_ended(started(directory / "report").front()));
}

TEST_F(AgentStartTest, StartsOneAgentForSeveralApplications)
{
    install_package(agent_package(directory / "report"));
    const auto connect = [this](const auto &ready, const auto &serve) {
        ready();
        Proxy proxy;
        proxy.on_connected = [this] { std::ofstream(directory / std::to_string(getpid())) << "connected"; };
        if (proxy.connect() == 0)
            serve();
    };
    {
        Child one(connect);
        Child two(connect);
        Child three(connect);
        EXPECT_TRUE(wait_until([&] {
            return access((directory / std::to_string(one.pid)).c_str(), F_OK) == 0 &&
                   access((directory / std::to_string(two.pid)).c_str(), F_OK) == 0 &&
                   access((directory / std::to_string(three.pid)).c_str(), F_OK) == 0;
        })) << log();
        EXPECT_EQ(1u, started(directory / "report").size());
    }
    EXPECT_TRUE(has_ended(started(directory / "report").front()));
}

TEST_F(AgentStartTest, StartsAnAgentInPlaceOfADeadOne)
{
    {
        RawListener dead(socket_path());
    }
    chmod(runtime.c_str(), 0700);
    install_package(agent_package(directory / "report"));
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now()) << log();
    proxy.destroy();
    EXPECT_TRUE(has_ended(started(directory / "report").front()));
}

TEST_F(AgentStartTest, FailsAtOnceIfTheExecutableIsMissing)
{
    install_package("Executable=/nonexistent/agent\n");
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(contains(log(), "cannot start /nonexistent/agent: No such file or directory")) << log();
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
}

TEST_F(AgentStartTest, ReportsAnExecutableWithoutPermission)
{
    std::ofstream(directory / "agent") << "not executable";
    install_package("Executable=" + (directory / "agent").string() + "\n");
    Proxy proxy;
    EXPECT_EQ(-EACCES, proxy.connect());
}

TEST_F(AgentStartTest, IsRejectedIfTheAgentNeverListens)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "100");
    install_package("Executable=/bin/sleep\nArguments=2\n");
    Proxy proxy;
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(contains(log(), "no agent listens at")) << log();
}

TEST_F(AgentStartTest, IsRejectedSoonAfterTheAgentEnds)
{
    using std::chrono::steady_clock;
    Setting patient("KORVANE_CONNECT_TIMEOUT_MS", "60000");
    install_package("Executable=/bin/sleep\nArguments=0.3\n");
    Proxy proxy;
    const auto start = steady_clock::now();
    EXPECT_FALSE(proxy.connected_now());
    const auto waited = steady_clock::now() - start;
    EXPECT_LE(std::chrono::milliseconds(290), waited);
    EXPECT_GT(std::chrono::seconds(40), waited) << "far less than the timeout";
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(contains(log(), "ended before it listened")) << log();
}

TEST_F(AgentStartTest, RefusesInvalidArguments)
{
    install_package("Executable=/bin/true\nArguments='unclosed\n");
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(contains(log(), "cannot parse its arguments")) << log();
}

TEST_F(AgentStartTest, NeedsARuntimeDirectory)
{
    Setting nowhere("KORVANE_RUNTIME_DIR", "/proc/nothing");
    install_package("Executable=/bin/true\n");
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(contains(log(), "cannot create the runtime directory /proc/nothing")) << log();
}

TEST_F(ForkTest, ChildCannotUseTheParentsLinks)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request + 1); });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    const auto result = in_child({}, [&] {
        EXPECT_EQ(-ENOTCONN, proxy.send(1));
        EXPECT_GT(0, proxy.read_code());
        run_ready_sources();
        proxy.destroy();
    });
    EXPECT_EQ(0, result.status) << result.text();
    run_ready_sources();
    EXPECT_EQ(0, proxy.disconnected);
    EXPECT_EQ(0, proxy.send(1));
    EXPECT_EQ(2, proxy.read());
}

TEST_F(ForkTest, ChildCannotReadTheParentsParcels)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    ASSERT_EQ(0, proxy.send(1));
    agent.main->send(frame(u32(1)) + frame(u32(2)));
    ASSERT_EQ(1, proxy.read());
    const auto result = in_child({}, [&] { EXPECT_EQ(-EPERM, proxy.read_code()); });
    EXPECT_EQ(0, result.status) << result.text();
    EXPECT_EQ(2, proxy.read());
}

TEST_F(ForkTest, ChildReceivesNoEventOfTheParent)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now() && run_until([&] { return stub.peers.size() == 1; }));
    ASSERT_EQ(0, stub.push(5));
    const auto result = in_child({}, [&] {
        run_ready_sources();
        EXPECT_EQ(0, proxy.received);
    });
    EXPECT_EQ(0, result.status) << result.text();
    proxy.on_received = [&] { EXPECT_EQ(5, proxy.read(proxy.callback_port())); };
    EXPECT_TRUE(run_until([&] { return proxy.received == 1; }));
}

TEST_F(ForkTest, ChildOfAnAgentKeepsItsSocketAndPeers)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now() && run_until([&] { return stub.peers.size() == 1; }));
    const auto result = in_child({}, [&] {
        run_ready_sources();
        stub.destroy();
    });
    EXPECT_EQ(0, result.status) << result.text();
    run_ready_sources();
    EXPECT_EQ(0, proxy.disconnected);
    Proxy another;
    EXPECT_TRUE(another.connected_now());
}

TEST_F(ForkTest, ChildCanConnect)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request); });
    Proxy parents;
    ASSERT_TRUE(parents.connected_now());
    const auto result = in_child({}, [] {
        Proxy own;
        EXPECT_TRUE(own.connected_now());
        EXPECT_EQ(0, own.send(3));
        EXPECT_EQ(3, own.read());
    });
    EXPECT_EQ(0, result.status) << result.text();
}

} // namespace
} // namespace kv::test
