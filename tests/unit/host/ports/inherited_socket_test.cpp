// SPDX-License-Identifier: Apache-2.0
//
// An agent that a service manager starts serves the socket that the service manager has opened.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <list>

#include "fixture.hpp"

namespace kv::test {
namespace {

class InheritedSocketTest : public PortsTest {
protected:
    /// Opens a socket as the service manager does.
    RawListener open_socket(const std::string &path) const
    {
        std::filesystem::create_directory(runtime);
        std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
        return RawListener{path};
    }

    /// The variables for descriptors up to this one. The protocol begins with 3.
    struct Passed {
        Passed(int last_descriptor, pid_t process)
            : count("LISTEN_FDS", std::to_string(last_descriptor - 2)), pid("LISTEN_PID", std::to_string(process))
        {
        }
        Setting count, pid;
    };
};

TEST_F(InheritedSocketTest, IsServed)
{
    const RawListener manager = open_socket(socket_path());
    const Passed passed{manager.descriptor(), getpid()};
    Proxy proxy; // connects before an agent listens
    ASSERT_EQ(proxy.connect(), 0);
    run_ready_sources();
    EXPECT_EQ(proxy.connected, 0);

    Stub stub;
    ASSERT_EQ(stub.listen(), 0);
    EXPECT_TRUE(run_until([&] { return proxy.connected == 1; })) << log();
    EXPECT_EQ(log().find("replaced a stale socket file"), std::string::npos);
}

TEST_F(InheritedSocketTest, RemainsForTheNextAgent)
{
    const RawListener manager = open_socket(socket_path());
    const Passed passed{manager.descriptor(), getpid()};
    {
        Stub stub;
        ASSERT_EQ(stub.listen(), 0);
    }
    ASSERT_TRUE(std::filesystem::exists(socket_path()));
    Proxy proxy;
    ASSERT_EQ(proxy.connect(), 0);
    Stub next;
    ASSERT_EQ(next.listen(), 0);
    EXPECT_TRUE(run_until([&] { return proxy.connected == 1; })) << log();
}

TEST_F(InheritedSocketTest, IsIgnoredIfItWasPassedToAnotherProcess)
{
    const RawListener manager = open_socket(socket_path());
    const Passed passed{manager.descriptor(), getppid()};
    Stub stub;
    EXPECT_EQ(stub.listen(), -EADDRINUSE);
    stub.destroy();
    EXPECT_TRUE(std::filesystem::exists(socket_path())); // the socket of the service manager
}

TEST_F(InheritedSocketTest, IsNotReplacedByAnotherAgent)
{
    const RawListener manager = open_socket(socket_path());
    Stub stub;
    EXPECT_EQ(stub.listen(), -EADDRINUSE);
    EXPECT_NE(log().find("another program, for example the socket unit korvane-agent.socket, listens at " +
                         socket_path() + ": stop it, or let an application connect"),
              std::string::npos)
        << log();
    stub.destroy();

    ASSERT_TRUE(manager.has_waiting());
    manager.accept(); // the connection by which the agent found the listener
    const RawLink application{socket_path()};
    EXPECT_TRUE(manager.has_waiting());
}

TEST_F(InheritedSocketTest, IsFoundWithoutWaitingIfItsQueueIsFull)
{
    const RawListener manager = open_socket(socket_path());
    std::list<RawLink> waiting;
    for (int i = 0; i <= RawListener::backlog; i++) // the kernel accepts one more
        waiting.emplace_back(socket_path());
    Stub stub;
    EXPECT_EQ(stub.listen(), -EADDRINUSE);
}

TEST_F(InheritedSocketTest, IsReplacedWhenTheServiceManagerHasEnded)
{
    Stub stub;
    {
        const RawListener manager = open_socket(socket_path());
        EXPECT_EQ(stub.listen(), -EADDRINUSE);
    }
    ASSERT_EQ(stub.listen(), 0);
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now()) << log();
    stub.destroy();
    EXPECT_FALSE(std::filesystem::exists(socket_path())); // its own socket, which it removes
}

TEST_F(InheritedSocketTest, OfAnotherPortIsIgnored)
{
    const RawListener manager = open_socket(runtime_file(".other.sock"));
    const Passed passed{manager.descriptor(), getpid()};
    Stub stub;
    ASSERT_EQ(stub.listen(), 0);
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now()) << log();
    EXPECT_FALSE(manager.has_waiting());
}

} // namespace
} // namespace kv::test
