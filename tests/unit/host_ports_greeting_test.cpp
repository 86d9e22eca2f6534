// SPDX-License-Identifier: Apache-2.0
//
// How a connection begins, against peers made by hand: silent, cut short, wrong.
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "host_ports_fixture.hpp"

namespace host_ports {
namespace {

using AnAgent = PortsTest;
using AProxy = PortsTest;

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

TEST_F(AnAgent, AcceptsAGreetingTypedByHand)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    proxy.main.send(frame(u32(7)));
    EXPECT_EQ(frame(u32(7)), proxy.main.receive(8));
    EXPECT_EQ("test", stub.last_sender);
}

TEST_F(AnAgent, DropsAPeerThatSaysNothing)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink silent(socket_path());
    EXPECT_TRUE(silent.is_closed_by_other_side());
    EXPECT_TRUE(has(log(), "connected and says nothing")) << log();
}

TEST_F(AnAgent, DropsAPeerThatOpensOneOfTwoLinks)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink lonely(socket_path());
    lonely.send(hello(0));
    EXPECT_TRUE(lonely.is_closed_by_other_side());
    EXPECT_TRUE(has(log(), "opened one of two links only")) << log();
    EXPECT_TRUE(stub.peers.empty());
}

TEST_F(AnAgent, DropsAGreetingCutShortAtEveryByte)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const std::string whole = hello(0);
    for (size_t size = 0; size < whole.size(); size++) {
        RawLink link(socket_path());
        link.send(whole.substr(0, size));
        run_what_is_ready();
        EXPECT_EQ(0, shutdown(link.descriptor(), SHUT_WR));
        EXPECT_TRUE(link.is_closed_by_other_side()) << "cut at " << size;
    }
    EXPECT_TRUE(stub.peers.empty());
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now()) << "the agent must go on serving others";
}

TEST_F(AnAgent, TakesAGreetingThatArrivesByteByByte)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink callback(socket_path());
    callback.send(hello(1));
    RawLink main(socket_path());
    for (char byte : hello(0)) {
        main.send({byte});
        run_what_is_ready();
    }
    EXPECT_EQ(answer(0), main.receive(answer(0).size()));
}

TEST_F(AnAgent, DropsWhatIsNoGreeting)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const std::string good = hello(0);
    std::string long_name = good;
    long_name[good.size() - 5] = 1; // a name longer than what follows
    for (const std::string &bad :
         {std::string("GET / HTTP/1.1\r\n\r\n"), u32(0x7fffffff), u32(0xffffffff), frame(""), frame("VKPL"),
          frame(std::string(40, 'x')), hello(2), good + "more", long_name,
          frame("VKPL" + u32(1) + std::string(1, '\0') + std::string(16, 't') + u32(3) + std::string("a\0b", 3))}) {
        RawLink link(socket_path());
        link.send(bad);
        EXPECT_TRUE(link.is_closed_by_other_side()) << testing::PrintToString(bad);
    }
    EXPECT_TRUE(has(log(), "does not greet as a proxy does")) << log();
    EXPECT_TRUE(stub.peers.empty());
}

TEST_F(AnAgent, TellsAPeerOfAnotherVersionItsOwn)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink link(socket_path());
    link.send(hello(0, std::string(16, 't'), 2));
    EXPECT_EQ(answer(-93), link.receive(answer(0).size()));
    EXPECT_TRUE(link.is_closed_by_other_side());
}

TEST_F(AnAgent, PairsLinksByTheirTokenOnly)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink main(socket_path());
    main.send(hello(0, std::string(16, 'a')));
    RawLink other(socket_path());
    other.send(hello(1, std::string(16, 'b')));
    RawLink same_side(socket_path());
    same_side.send(hello(0, std::string(16, 'b')));
    EXPECT_EQ(answer(0), same_side.receive(answer(0).size()));
    EXPECT_EQ(1u, stub.peers.size());
    RawLink callback(socket_path());
    callback.send(hello(1, std::string(16, 'a')));
    EXPECT_EQ(answer(0), main.receive(answer(0).size()));
    EXPECT_EQ(2u, stub.peers.size());
}

TEST_F(AnAgent, ForgetsAPeerThatLeavesBeforeTheAnswer)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    {
        RawLink main(socket_path());
        main.send(hello(0));
        run_what_is_ready();
    }
    run_what_is_ready();
    RawLink callback(socket_path());
    callback.send(hello(1));
    run_what_is_ready();
    EXPECT_TRUE(stub.peers.empty());
}

TEST_F(AnAgent, MayDestroyItselfWhileItDecides)
{
    Stub stub;
    stub.on_connecting = [&] { stub.destroy(); };
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
}

TEST_F(AProxy, GivesUpOnAnAgentThatDoesNotAnswer)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    RawListener agent(socket_path());
    Proxy proxy;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_LE(std::chrono::milliseconds(50), std::chrono::steady_clock::now() - start);
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(has(log(), "does not answer the greeting")) << log();
}

TEST_F(AProxy, IsRejectedByAnAnswerCutShortAtEveryByte)
{
    const std::string whole = answer(0);
    for (size_t size = 0; size < whole.size(); size++) {
        RawListener agent(socket_path());
        Proxy proxy;
        ASSERT_EQ(0, proxy.connect());
        {
            RawLink main = agent.accept();
            main.send(whole.substr(0, size));
            run_what_is_ready();
            EXPECT_EQ(0, proxy.connected + proxy.rejected);
        }
        EXPECT_TRUE(run_until([&] { return proxy.rejected == 1; })) << "cut at " << size;
        EXPECT_EQ(-5, proxy.last_result);
        unlink(socket_path().c_str());
    }
}

TEST_F(AProxy, IsRejectedByAnAnswerThatIsNone)
{
    for (const std::string &bad :
         {std::string("HTTP/1.1 400 Bad\r\n"), u32(0x7fffffff), frame(std::string(12, 'x')), answer(0, 2)}) {
        RawListener agent(socket_path());
        Proxy proxy;
        ASSERT_EQ(0, proxy.connect());
        RawLink main = agent.accept();
        main.send(bad);
        EXPECT_TRUE(run_until([&] { return proxy.rejected == 1; }));
        EXPECT_EQ(-5, proxy.last_result);
        unlink(socket_path().c_str());
    }
    EXPECT_TRUE(has(log(), "does not speak this protocol")) << log();
}

TEST_F(AProxy, TakesAnAnswerThatArrivesByteByByte)
{
    RawListener agent(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    RawLink main = agent.accept();
    RawLink callback = agent.accept();
    for (char byte : answer(0)) {
        EXPECT_EQ(0, proxy.connected);
        main.send({byte});
        run_what_is_ready();
    }
    EXPECT_EQ(1, proxy.connected);
}

TEST_F(AProxy, MayBeDestroyedBeforeTheAnswer)
{
    RawListener agent(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    proxy.destroy();
    run_what_is_ready();
    EXPECT_EQ(0, proxy.connected + proxy.rejected + proxy.disconnected);
}

TEST_F(AProxy, MayBeDestroyedWhileItIsToldOfTheRefusal)
{
    Stub stub;
    stub.verdict = -1;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    proxy.on_rejected = [&] { proxy.destroy(); };
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-13, proxy.last_result);
}

TEST_F(AProxy, WithABadTimeoutSettingUsesTheDefaultAndSaysSo)
{
    Setting bad("KORVANE_CONNECT_TIMEOUT_MS", "soon");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now());
    EXPECT_TRUE(has(log(), "KORVANE_CONNECT_TIMEOUT_MS='soon' is not a number")) << log();
}

} // namespace
} // namespace host_ports
