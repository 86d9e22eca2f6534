// SPDX-License-Identifier: Apache-2.0
//
// Agents that are started on demand, and applications that fork. The agent is this program again, told so by its
// arguments.
#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "host_ports_fixture.hpp"

namespace host_ports {
namespace {

using AnAgentOnDemand = PortsTest;
using AForkedChild = PortsTest;

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// What the kernel says of a process: a line of /proc/<pid>/status.
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
        std::string arguments = host_test::contents_of("/proc/self/cmdline");
        const size_t at = arguments.find(std::string("\0--as-agent\0", 12));
        if (at != std::string::npos)
            serve(arguments.c_str() + at + 12);
    }

    // Writes its process id to the file and serves until the last peer has gone.
    [[noreturn]] static void serve(const char *report)
    {
        alarm(30); // if no peer ever comes
        const int file = open(report, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        const std::string line = std::to_string(getpid()) + "\n";
        if (write(file, line.data(), line.size()) < 0)
            _exit(1);
        close(file);
        Stub stub;
        stub.on_disconnected = [&] {
            if (stub.gone.size() == stub.peers.size()) {
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
const Run runs_as_agent_when_told;

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

// Whoever inherits orphans may take a while to collect a dead one.
bool is_gone(pid_t pid)
{
    return host_test::comes_true([pid] {
        const std::string state = status_line("State", pid);
        return state.empty() || state.front() == 'Z';
    });
}

TEST_F(AnAgentOnDemand, IsStartedAndConnectedTo)
{
    install_package(agent_package(directory / "started here"));
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now()) << log();
    EXPECT_EQ(0, proxy.send(11));
    EXPECT_EQ(11, proxy.read());
    ASSERT_EQ(1u, started(directory / "started here").size());
    EXPECT_TRUE(has(log(), "package org.example.agent: started ")) << log();
    proxy.destroy();
    EXPECT_TRUE(is_gone(started(directory / "started here").front()));
}

TEST_F(AnAgentOnDemand, IsDetachedFromTheApplication)
{
    install_package(agent_package(directory / "report"));
    // What must not be handed on: a descriptor, a blocked signal, an ignored one.
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
    EXPECT_EQ(1, sigismember(&during, SIGUSR1)) << "the application's own mask must be as it was";

    ASSERT_EQ(1u, started(directory / "report").size());
    const pid_t agent = started(directory / "report").front();
    EXPECT_NE(std::to_string(getpid()), status_line("PPid", agent));
    EXPECT_NE(getsid(0), getsid(agent));
    EXPECT_EQ("0000000000000000", status_line("SigBlk", agent));
    EXPECT_EQ("0000000000000000", status_line("SigIgn", agent));
    EXPECT_EQ("/", std::filesystem::read_symlink("/proc/" + std::to_string(agent) + "/cwd"));
    for (const auto &entry : std::filesystem::directory_iterator("/proc/" + std::to_string(agent) + "/fd")) {
        const std::string what = std::filesystem::read_symlink(entry.path());
        EXPECT_TRUE(what == "/dev/null" || has(what, "socket:") || has(what, "anon_inode:") || has(what, "/log") ||
                    has(what, ".lock"))
            << what;
    }
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "no child, not even a dead one, is left to the application";
    EXPECT_EQ(ECHILD, errno);
    proxy.destroy();
    EXPECT_TRUE(is_gone(agent));
}

TEST_F(AnAgentOnDemand, IsStartedOnceBySeveralProxies)
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
    EXPECT_TRUE(is_gone(started(directory / "report").front()));
}

TEST_F(AnAgentOnDemand, IsStartedOnceBySeveralApplications)
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
        EXPECT_TRUE(host_test::comes_true([&] {
            return access((directory / std::to_string(one.pid)).c_str(), F_OK) == 0 &&
                   access((directory / std::to_string(two.pid)).c_str(), F_OK) == 0 &&
                   access((directory / std::to_string(three.pid)).c_str(), F_OK) == 0;
        })) << log();
        EXPECT_EQ(1u, started(directory / "report").size());
    }
    EXPECT_TRUE(is_gone(started(directory / "report").front()));
}

TEST_F(AnAgentOnDemand, IsStartedAnewWhenOnlyItsSocketIsLeft)
{
    {
        RawListener dead(socket_path());
    }
    chmod(runtime.c_str(), 0700);
    install_package(agent_package(directory / "report"));
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now()) << log();
    proxy.destroy();
    EXPECT_TRUE(is_gone(started(directory / "report").front()));
}

TEST_F(AnAgentOnDemand, ThatCannotBeExecutedFailsTheConnectAtOnce)
{
    install_package("Executable=/nonexistent/agent\n");
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(has(log(), "cannot start /nonexistent/agent: No such file or directory")) << log();
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
}

TEST_F(AnAgentOnDemand, ThatMayNotBeExecutedIsAPermissionMatter)
{
    std::ofstream(directory / "agent") << "not executable";
    install_package("Executable=" + (directory / "agent") + "\n");
    Proxy proxy;
    EXPECT_EQ(-EACCES, proxy.connect());
}

TEST_F(AnAgentOnDemand, ThatNeverListensIsGivenUpAfterTheTimeout)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "100");
    install_package("Executable=/bin/true\n");
    Proxy proxy;
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(has(log(), "no agent listens at")) << log();
}

TEST_F(AnAgentOnDemand, WithArgumentsThatCannotBeReadIsNotStarted)
{
    install_package("Executable=/bin/true\nArguments='unclosed\n");
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(has(log(), "its arguments")) << log();
}

TEST_F(AnAgentOnDemand, NeedsARuntimeDirectoryThatCanBeMade)
{
    Setting nowhere("KORVANE_RUNTIME_DIR", "/proc/nothing");
    install_package("Executable=/bin/true\n");
    Proxy proxy;
    EXPECT_EQ(-EIO, proxy.connect());
    EXPECT_TRUE(has(log(), "cannot make the runtime directory /proc/nothing")) << log();
}

TEST_F(AForkedChild, IsRefusedTheParentsLinksWhichStaySound)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request + 1); });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    const auto result = host_test::in_child({}, [&] {
        EXPECT_EQ(-ENOTCONN, proxy.send(1));
        EXPECT_GT(0, proxy.read_code());
        run_what_is_ready();
        proxy.destroy();
    });
    EXPECT_EQ(0, result.status) << result.text();
    run_what_is_ready();
    EXPECT_EQ(0, proxy.disconnected);
    EXPECT_EQ(0, proxy.send(1));
    EXPECT_EQ(2, proxy.read());
}

TEST_F(AForkedChild, IsRefusedWhatItsParentHasAlreadyReceived)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    ASSERT_EQ(0, proxy.send(1));
    agent.main->send(frame(u32(1)) + frame(u32(2)));
    ASSERT_EQ(1, proxy.read());
    const auto result = host_test::in_child({}, [&] { EXPECT_EQ(-EPERM, proxy.read_code()); });
    EXPECT_EQ(0, result.status) << result.text();
    EXPECT_EQ(2, proxy.read());
}

TEST_F(AForkedChild, TakesNoEventOfItsParent)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now() && run_until([&] { return stub.peers.size() == 1; }));
    ASSERT_EQ(0, stub.push(5));
    const auto result = host_test::in_child({}, [&] {
        run_what_is_ready();
        EXPECT_EQ(0, proxy.received);
    });
    EXPECT_EQ(0, result.status) << result.text();
    proxy.on_received = [&] { EXPECT_EQ(5, proxy.read(proxy.callback_port())); };
    EXPECT_TRUE(run_until([&] { return proxy.received == 1; }));
}

TEST_F(AForkedChild, OfAnAgentLeavesItsSocketAndPeersAlone)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now() && run_until([&] { return stub.peers.size() == 1; }));
    const auto result = host_test::in_child({}, [&] {
        run_what_is_ready();
        stub.destroy();
    });
    EXPECT_EQ(0, result.status) << result.text();
    run_what_is_ready();
    EXPECT_EQ(0, proxy.disconnected);
    Proxy another;
    EXPECT_TRUE(another.connected_now());
}

TEST_F(AForkedChild, MayConnectOnItsOwn)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request); });
    Proxy parents;
    ASSERT_TRUE(parents.connected_now());
    const auto result = host_test::in_child({}, [] {
        Proxy own;
        EXPECT_TRUE(own.connected_now());
        EXPECT_EQ(0, own.send(3));
        EXPECT_EQ(3, own.read());
    });
    EXPECT_EQ(0, result.status) << result.text();
}

} // namespace
} // namespace host_ports
