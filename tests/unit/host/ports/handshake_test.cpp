// SPDX-License-Identifier: Apache-2.0
//
// The handshake with raw peers that send nothing, too little or something wrong.
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "fixture.hpp"

namespace kv::test {
namespace {

using ProxyHandshakeTest = PortsTest;
using StubHandshakeTest = PortsTest;

TEST_F(StubHandshakeTest, AcceptsBytesTypedByHand)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    proxy.main.send(frame(u32(7)));
    EXPECT_EQ(frame(u32(7)), proxy.main.receive(8));
    EXPECT_EQ("test", stub.last_sender);
}

TEST_F(StubHandshakeTest, ClosesASilentLinkAtTheDeadline)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink silent(socket_path());
    EXPECT_TRUE(silent.is_closed_by_peer());
    EXPECT_TRUE(contains(log(), "sends no handshake")) << log();
}

void allow_descriptors(rlim_t count)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, count);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
}

TEST_F(StubHandshakeTest, AdmitsAProxyDuringAFloodOfSilentLinks)
{
    allow_descriptors(4096);
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const auto open_silent_links = [this](const auto &ready, const auto &serve) {
        std::vector<RawLink> links;
        for (int i = 0; i < 400; i++)
            links.emplace_back(socket_path());
        ready();
        serve();
    };
    {
        Child one(open_silent_links);
        Child two(open_silent_links);
        Child three(open_silent_links);
        Child four(open_silent_links);
        run_ready_sources();
        Proxy proxy;
        EXPECT_TRUE(proxy.connected_now()) << log();
    }
    EXPECT_TRUE(contains(log(), "has too many links without a handshake")) << log();
}

TEST_F(StubHandshakeTest, ClosesALoneLinkAtTheDeadline)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink lonely(socket_path());
    lonely.send(handshake_request(0));
    EXPECT_TRUE(lonely.is_closed_by_peer());
    EXPECT_TRUE(contains(log(), "opened only one of two links")) << log();
    EXPECT_TRUE(stub.peers.empty());
}

TEST_F(StubHandshakeTest, ClosesALinkWhoseRequestIsCutAtAnyByte)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const std::string whole = handshake_request(0);
    for (size_t size = 0; size < whole.size(); size++) {
        RawLink link(socket_path());
        link.send(whole.substr(0, size));
        run_ready_sources();
        EXPECT_EQ(0, shutdown(link.descriptor(), SHUT_WR));
        EXPECT_TRUE(link.is_closed_by_peer()) << "cut at " << size;
    }
    EXPECT_TRUE(stub.peers.empty());
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now()) << "the agent stopped serving others";
}

TEST_F(StubHandshakeTest, AcceptsARequestByteByByte)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink callback(socket_path());
    callback.send(handshake_request(1));
    RawLink main(socket_path());
    for (char byte : handshake_request(0)) {
        main.send({byte});
        run_ready_sources();
    }
    EXPECT_EQ(handshake_reply(0), main.receive(handshake_reply(0).size()));
}

TEST_F(StubHandshakeTest, ClosesALinkWithAnotherProtocol)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const std::string good = handshake_request(0);
    std::string long_name = good;
    long_name[good.size() - 5] = 1; // a name longer than the rest of the frame
    for (const std::string &bad :
         {std::string("GET / HTTP/1.1\r\n\r\n"), u32(0x7fffffff), u32(0xffffffff), frame(""), frame("VKPL"),
          frame(std::string(40, 'x')), handshake_request(2), good + "more", long_name,
          frame("VKPL" + u32(1) + std::string(1, '\0') + std::string(16, 't') + u32(3) + std::string("a\0b", 3))}) {
        RawLink link(socket_path());
        link.send(bad);
        EXPECT_TRUE(link.is_closed_by_peer()) << testing::PrintToString(bad);
    }
    EXPECT_TRUE(contains(log(), "does not send the handshake of a proxy")) << log();
    EXPECT_TRUE(stub.peers.empty());
}

TEST_F(StubHandshakeTest, RepliesWithItsVersionToAnother)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink link(socket_path());
    link.send(handshake_request(0, std::string(16, 't'), 2));
    EXPECT_EQ(handshake_reply(-93), link.receive(handshake_reply(0).size()));
    EXPECT_TRUE(link.is_closed_by_peer());
}

TEST_F(StubHandshakeTest, PairsLinksByToken)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink main(socket_path());
    main.send(handshake_request(0, std::string(16, 'a')));
    RawLink other(socket_path());
    other.send(handshake_request(1, std::string(16, 'b')));
    RawLink same_side(socket_path());
    same_side.send(handshake_request(0, std::string(16, 'b')));
    EXPECT_EQ(handshake_reply(0), same_side.receive(handshake_reply(0).size()));
    EXPECT_EQ(1u, stub.peers.size());
    RawLink callback(socket_path());
    callback.send(handshake_request(1, std::string(16, 'a')));
    EXPECT_EQ(handshake_reply(0), main.receive(handshake_reply(0).size()));
    EXPECT_EQ(2u, stub.peers.size());
}

TEST_F(StubHandshakeTest, DiscardsALinkClosedBeforeTheReply)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    {
        RawLink main(socket_path());
        main.send(handshake_request(0));
        run_ready_sources();
    }
    run_ready_sources();
    RawLink callback(socket_path());
    callback.send(handshake_request(1));
    run_ready_sources();
    EXPECT_TRUE(stub.peers.empty());
}

TEST_F(StubHandshakeTest, AllowsDestructionInConnecting)
{
    Stub stub;
    stub.on_connecting = [&] { stub.destroy(); };
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
}

TEST_F(ProxyHandshakeTest, IsRejectedAtTheDeadline)
{
    Setting quick("KORVANE_CONNECT_TIMEOUT_MS", "50");
    RawListener agent(socket_path());
    Proxy proxy;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_LE(std::chrono::milliseconds(50), std::chrono::steady_clock::now() - start);
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(contains(log(), "does not reply to the handshake")) << log();
}

TEST_F(ProxyHandshakeTest, IsRejectedByAReplyCutAtAnyByte)
{
    const std::string whole = handshake_reply(0);
    for (size_t size = 0; size < whole.size(); size++) {
        RawListener agent(socket_path());
        Proxy proxy;
        ASSERT_EQ(0, proxy.connect());
        {
            RawLink main = agent.accept();
            main.send(whole.substr(0, size));
            run_ready_sources();
            EXPECT_EQ(0, proxy.connected + proxy.rejected);
        }
        EXPECT_TRUE(run_until([&] { return proxy.rejected == 1; })) << "cut at " << size;
        EXPECT_EQ(-5, proxy.last_result);
        unlink(socket_path().c_str());
    }
}

TEST_F(ProxyHandshakeTest, IsRejectedAtOnceByTheEndOfTheCallbackLink)
{
    RawListener agent(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    RawLink main = agent.accept();
    {
        const RawLink callback = agent.accept();
        run_ready_sources();
        EXPECT_EQ(0, proxy.connected + proxy.rejected);
    }
    EXPECT_TRUE(run_until([&] { return proxy.rejected == 1; }));
    EXPECT_EQ(-5, proxy.last_result);
    EXPECT_TRUE(contains(log(), "the agent closed the link during the handshake")) << log();
}

TEST_F(ProxyHandshakeTest, ReadsARefusalBeforeTheEndOfTheLinks)
{
    RawListener agent(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    {
        RawLink main = agent.accept();
        const RawLink callback = agent.accept();
        main.send(handshake_reply(-13));
    }
    EXPECT_TRUE(run_until([&] { return proxy.rejected == 1; }));
    EXPECT_EQ(-13, proxy.last_result);
}

TEST_F(ProxyHandshakeTest, IsRejectedByAnotherProtocol)
{
    for (const std::string &bad :
         {std::string("HTTP/1.1 400 Bad\r\n"), u32(0x7fffffff), frame(std::string(12, 'x')), handshake_reply(0, 2)}) {
        RawListener agent(socket_path());
        Proxy proxy;
        ASSERT_EQ(0, proxy.connect());
        RawLink main = agent.accept();
        main.send(bad);
        EXPECT_TRUE(run_until([&] { return proxy.rejected == 1; }));
        EXPECT_EQ(-5, proxy.last_result);
        unlink(socket_path().c_str());
    }
    EXPECT_TRUE(contains(log(), "does not speak version 1 of the protocol")) << log();
}

TEST_F(ProxyHandshakeTest, AcceptsAReplyByteByByte)
{
    RawListener agent(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    RawLink main = agent.accept();
    RawLink callback = agent.accept();
    for (char byte : handshake_reply(0)) {
        EXPECT_EQ(0, proxy.connected);
        main.send({byte});
        run_ready_sources();
    }
    EXPECT_EQ(1, proxy.connected);
}

TEST_F(ProxyHandshakeTest, AllowsDestructionBeforeTheReply)
{
    RawListener agent(socket_path());
    Proxy proxy;
    ASSERT_EQ(0, proxy.connect());
    proxy.destroy();
    run_ready_sources();
    EXPECT_EQ(0, proxy.connected + proxy.rejected + proxy.disconnected);
}

TEST_F(ProxyHandshakeTest, AllowsDestructionInRejected)
{
    Stub stub;
    stub.connecting_result = -1;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    proxy.on_rejected = [&] { proxy.destroy(); };
    EXPECT_FALSE(proxy.connected_now());
    EXPECT_EQ(1, proxy.rejected);
    EXPECT_EQ(-13, proxy.last_result);
}

TEST_F(ProxyHandshakeTest, UsesTheDefaultForAnInvalidTimeout)
{
    Setting bad("KORVANE_CONNECT_TIMEOUT_MS", "soon");
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now());
    EXPECT_TRUE(contains(log(), "KORVANE_CONNECT_TIMEOUT_MS='soon' is not a number")) << log();
}

} // namespace
} // namespace kv::test
