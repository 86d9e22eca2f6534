// SPDX-License-Identifier: Apache-2.0
// What each fault puts on the link, byte by byte, seen by a client that has a socket and nothing of the platform.
#include "support/agent_process.hpp"
#include "testing/support/file_descriptor.hpp"
#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kv::test;

namespace {

using Bytes = std::string;
using Clock = std::chrono::steady_clock;

constexpr int at_once_ms = 100; // within which nothing comes that is not to come

Bytes int32(int value)
{
    Bytes bytes;
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>((static_cast<unsigned>(value) >> shift) & 0xff);
    return bytes;
}

Bytes text(const Bytes &value)
{
    return int32(static_cast<int>(value.size())) + value;
}

/// Payloads cross behind their length.
Bytes frame(const Bytes &payload)
{
    return text(payload);
}

class Link {
public:
    /// The link says which it is, which token ties it to the other, and whose it is.
    Link(const AgentHome &home, char which)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = home.runtime() / "org.korvane.agent.kv_master.sock";
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::connect(socket_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0) << path;
        send(frame("VKPL" + int32(1) + which + Bytes(16, 't') + text("raw")));
    }

    void send(const Bytes &bytes) const
    {
        EXPECT_EQ(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    /// So many bytes, or fewer when the link ends before or nothing more comes in that time.
    Bytes receive(std::size_t size, int timeout_ms = static_cast<int>(test_timeout.count()))
    {
        Bytes received;
        while (received.size() < size && !ended_) {
            pollfd ready{socket_.get(), POLLIN, 0};
            if (::poll(&ready, 1, timeout_ms) <= 0)
                break;
            char byte = 0;
            ended_ = ::recv(socket_.get(), &byte, 1, 0) <= 0;
            if (!ended_)
                received += byte;
        }
        return received;
    }
    /// Whether it ends, and nothing stands before the end.
    bool ends() { return receive(1).empty() && ended_; }

private:
    FileDescriptor socket_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    bool ended_ = false;
};

class RawClient {
public:
    explicit RawClient(const AgentHome &home) : main_(home, '\0'), callback_(home, '\1')
    {
        EXPECT_EQ(main_.receive(16), frame("VKPR" + int32(1) + int32(0)));
    }
    Link &main() { return main_; }
    Link &ask()
    {
        main_.send(frame(int32(28))); // get_device_id, which takes nothing
        return main_;
    }

private:
    Link main_;
    Link callback_;
};

class AgentFaults : public testing::Test {
protected:
    AgentHome home;
    AgentProcess agent{home, {"--device-id", "device-1"}};
    RawClient client{home};

    const Bytes payload = int32(0) + text("device-1") + int32(0);
    const Bytes answer = frame(payload);

    /// The link is in step: the next request gets the next answer, whole, and nothing else.
    void goes_on()
    {
        EXPECT_EQ(client.ask().receive(answer.size()), answer);
        EXPECT_EQ(client.main().receive(1, at_once_ms), "");
    }
};

TEST_F(AgentFaults, NoneIsTheWholeAnswer)
{
    goes_on();
}

TEST_F(AgentFaults, ResultIsThatResultAndNothingElse)
{
    agent.run_command("fault get_device_id result -5");
    const Bytes refusal = frame(int32(0) + text("") + int32(-5));
    EXPECT_EQ(client.ask().receive(refusal.size()), refusal);
    goes_on();
}

TEST_F(AgentFaults, KindIsAnotherFirstNumber)
{
    agent.run_command("fault get_device_id kind 7");
    EXPECT_EQ(client.ask().receive(answer.size()), frame(int32(7) + payload.substr(4)));
    goes_on();
}

TEST_F(AgentFaults, CutIsAShorterFrame)
{
    for (std::size_t size = 0; size <= payload.size(); ++size) {
        agent.run_command("fault get_device_id cut " + std::to_string(size));
        EXPECT_EQ(client.ask().receive(4 + size), frame(payload.substr(0, size))) << size;
    }
    agent.run_command("fault get_device_id cut 1000");
    goes_on();
}

TEST_F(AgentFaults, HalfIsTheBeginningOfTheFrameAndThenAnAgentThatDied)
{
    agent.run_command("fault get_device_id half 9");
    EXPECT_EQ(client.ask().receive(9), answer.substr(0, 9));
    EXPECT_TRUE(client.main().ends());
    EXPECT_EQ(agent.wait(), -SIGKILL);
}

TEST_F(AgentFaults, DieIsNoByteOfAnAnswer)
{
    agent.run_command("fault get_device_id die");
    EXPECT_TRUE(client.ask().ends());
    EXPECT_EQ(agent.wait(), -SIGKILL);
}

TEST_F(AgentFaults, CloseEndsTheLinkOnly)
{
    agent.run_command("fault get_device_id close");
    EXPECT_TRUE(client.ask().ends());
    RawClient other{home};
    EXPECT_EQ(other.ask().receive(answer.size()), answer);
}

TEST_F(AgentFaults, SilentIsNoAnswerToThatRequest)
{
    agent.run_command("fault get_device_id silent");
    EXPECT_EQ(client.ask().receive(1, at_once_ms), "");
    goes_on();
}

TEST_F(AgentFaults, DelayIsTheSameAnswerLater)
{
    agent.run_command("fault get_device_id delay 150");
    const auto asked = Clock::now();
    EXPECT_EQ(client.ask().receive(answer.size()), answer);
    EXPECT_GE(Clock::now() - asked, std::chrono::milliseconds{149});
    goes_on();
}

TEST_F(AgentFaults, GarbageIsARandomFrameOfThatSize)
{
    agent.run_command("fault get_device_id garbage 64 2");
    const Bytes first = client.ask().receive(68);
    const Bytes second = client.ask().receive(68);
    EXPECT_EQ(first.size(), 68U);
    EXPECT_EQ(first.substr(0, 4), int32(64));
    EXPECT_EQ(second.substr(0, 4), int32(64));
    EXPECT_NE(first, second);
    goes_on();
}

TEST_F(AgentFaults, ComeAsOftenAsTheyAreToldToAndForEveryMethod)
{
    agent.run_command("fault all kind 3 2");
    EXPECT_EQ(client.ask().receive(answer.size()), frame(int32(3) + payload.substr(4)));
    client.main().send(frame(int32(4))); // stop
    EXPECT_EQ(client.main().receive(12), frame(int32(3) + int32(0)));
    goes_on();
}

} // namespace
