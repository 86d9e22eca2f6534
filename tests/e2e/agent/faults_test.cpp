// SPDX-License-Identifier: Apache-2.0
// The bytes that each fault sends, read by a client that uses a socket and nothing of the platform.
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

constexpr int silence_ms = 100; // without a byte for this long, no further reply is assumed to follow

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

/// A payload with its length in front.
Bytes frame(const Bytes &payload)
{
    return text(payload);
}

class Link {
public:
    /// Connects and sends the handshake: which link it is, the token that both links share, the name of the client.
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
    /// Returns `size` bytes, or fewer if the link ends before or nothing arrives within the timeout.
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
    /// Whether the link ends before another byte arrives.
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
    /// Sends a request of get_device_id, which has no arguments. Returns the link for its reply.
    Link &request()
    {
        main_.send(frame(int32(28)));
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
    const Bytes reply = frame(payload);

    /// Checks that the next request gets its complete reply, and no other byte follows.
    void expect_complete_reply()
    {
        EXPECT_EQ(client.request().receive(reply.size()), reply);
        EXPECT_EQ(client.main().receive(1, silence_ms), "");
    }
};

TEST_F(AgentFaults, WithoutAFaultTheReplyIsComplete)
{
    expect_complete_reply();
}

TEST_F(AgentFaults, ResultReplacesTheResultOfOneReply)
{
    agent.run_command("fault get_device_id result -5");
    const Bytes refusal = frame(int32(0) + text("") + int32(-5));
    EXPECT_EQ(client.request().receive(refusal.size()), refusal);
    expect_complete_reply();
}

TEST_F(AgentFaults, KindReplacesTheFirstNumber)
{
    agent.run_command("fault get_device_id kind 7");
    EXPECT_EQ(client.request().receive(reply.size()), frame(int32(7) + payload.substr(4)));
    expect_complete_reply();
}

TEST_F(AgentFaults, CutShortensTheFrame)
{
    for (std::size_t size = 0; size <= payload.size(); ++size) {
        agent.run_command("fault get_device_id cut " + std::to_string(size));
        EXPECT_EQ(client.request().receive(4 + size), frame(payload.substr(0, size))) << size;
    }
    agent.run_command("fault get_device_id cut 1000");
    expect_complete_reply();
}

TEST_F(AgentFaults, HalfSendsPartOfTheFrameAndKillsTheAgent)
{
    agent.run_command("fault get_device_id half 9");
    EXPECT_EQ(client.request().receive(9), reply.substr(0, 9));
    EXPECT_TRUE(client.main().ends());
    EXPECT_EQ(agent.wait(), -SIGKILL);
}

TEST_F(AgentFaults, DieKillsTheAgentBeforeTheReply)
{
    agent.run_command("fault get_device_id die");
    EXPECT_TRUE(client.request().ends());
    EXPECT_EQ(agent.wait(), -SIGKILL);
}

TEST_F(AgentFaults, CloseClosesOnlyTheLink)
{
    agent.run_command("fault get_device_id close");
    EXPECT_TRUE(client.request().ends());
    RawClient other{home};
    EXPECT_EQ(other.request().receive(reply.size()), reply);
}

TEST_F(AgentFaults, SilentSuppressesOneReply)
{
    agent.run_command("fault get_device_id silent");
    EXPECT_EQ(client.request().receive(1, silence_ms), "");
    expect_complete_reply();
}

TEST_F(AgentFaults, DelaySendsTheReplyLater)
{
    agent.run_command("fault get_device_id delay 150");
    const auto sent = Clock::now();
    EXPECT_EQ(client.request().receive(reply.size()), reply);
    EXPECT_GE(Clock::now() - sent, std::chrono::milliseconds{149});
    expect_complete_reply();
}

TEST_F(AgentFaults, GarbageSendsARandomFrameOfTheSize)
{
    agent.run_command("fault get_device_id garbage 64 2");
    const Bytes first = client.request().receive(68);
    const Bytes second = client.request().receive(68);
    EXPECT_EQ(first.size(), 68U);
    EXPECT_EQ(first.substr(0, 4), int32(64));
    EXPECT_EQ(second.substr(0, 4), int32(64));
    EXPECT_NE(first, second);
    expect_complete_reply();
}

TEST_F(AgentFaults, RepeatForEveryMethodAsOftenAsRequested)
{
    agent.run_command("fault all kind 3 2");
    EXPECT_EQ(client.request().receive(reply.size()), frame(int32(3) + payload.substr(4)));
    client.main().send(frame(int32(4))); // stop
    EXPECT_EQ(client.main().receive(12), frame(int32(3) + int32(0)));
    expect_complete_reply();
}

} // namespace
