// SPDX-License-Identifier: Apache-2.0
//
// An agent that a service manager starts serves the socket that the service manager has opened.
#include <unistd.h>

#include <filesystem>

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
