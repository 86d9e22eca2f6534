// SPDX-License-Identifier: Apache-2.0
//
// Peers of a stub: many, slow ones, and what the callbacks may do.
#include <glib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>

#include "fixture.hpp"

namespace kv::test {
namespace {

using PeerTest = PortsTest;
using StubTest = PortsTest;

std::string token(int number)
{
    std::string bytes = std::to_string(number);
    return bytes + std::string(16 - bytes.size(), '.');
}

TEST_F(PeerTest, IsServedDuringTheFloodOfAnother)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    setrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_LE(1000u, limit.rlim_cur);
    Stub stub;
    stub.on_request = [](rpc_port_h, int) {};
    ASSERT_EQ(0, stub.listen());
    constexpr size_t count = 220;
    std::vector<std::unique_ptr<RawProxy>> proxies;
    for (size_t i = 0; i < count; i++)
        proxies.push_back(std::make_unique<RawProxy>(socket_path(), token(static_cast<int>(i))));
    ASSERT_EQ(count, stub.peers.size());
    // One peer sends a flood, the others one request each. They are served before the flood ends.
    std::string flood;
    for (uint32_t i = 0; i < 10000; i++)
        flood += frame(u32(i));
    proxies.front()->main.send(flood);
    for (size_t i = 1; i < count; i++)
        proxies[i]->main.send(frame(u32(1)));
    EXPECT_TRUE(run_until([&] { return stub.requests.size() == 10000 + count - 1; }));
    std::map<std::string, size_t> last_served;
    for (size_t i = 0; i < stub.requested_by.size(); i++)
        last_served[stub.requested_by[i]] = i;
    last_served.erase(stub.peers.front());
    EXPECT_EQ(count - 1, last_served.size());
    for (const auto &[peer, place] : last_served)
        EXPECT_GT(256u + count, place) << peer;
}

TEST_F(PeerTest, HasAUniqueInstance)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    for (int i = 0; i < 5; i++)
        RawProxy proxy(socket_path(), token(1));
    ASSERT_EQ(5u, stub.peers.size());
    std::sort(stub.peers.begin(), stub.peers.end());
    EXPECT_EQ(stub.peers.end(), std::unique(stub.peers.begin(), stub.peers.end()));
}

TEST_F(PeerTest, IsDisconnectedIfItDoesNotRead)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy other;
    ASSERT_TRUE(other.connected_now());
    RawProxy lazy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 2; }));
    int code = 0;
    int sent = 0;
    const rpc_port_h port = stub.port(RPC_PORT_PORT_CALLBACK);
    for (; code == 0 && sent < 10000000; sent++)
        code = send_number(port, sent);
    EXPECT_EQ(-ENOBUFS, code);
    EXPECT_TRUE(stub.disconnected.empty()) << "raised inside a send";
    EXPECT_EQ(-ENOTCONN, send_number(port, 1));
    EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == 1; }));
    EXPECT_TRUE(contains(log(), "does not read")) << log();
    EXPECT_EQ(0, other.send(2));
    EXPECT_TRUE(run_until([&] { return stub.requests.size() == 1; }));
    EXPECT_EQ(2, other.read());
}

TEST_F(PeerTest, ReceivesEverythingInOrderIfItReadsLate)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy late(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    std::string expected;
    for (uint32_t i = 0; i < 200000; i++) {
        ASSERT_EQ(0, stub.push(static_cast<int>(i)));
        expected += frame(u32(i));
    }
    EXPECT_TRUE(expected == late.callback.receive(expected.size()));
    ASSERT_EQ(0, stub.push(7));
    EXPECT_EQ(frame(u32(7)), late.callback.receive(8));
}

TEST_F(PeerTest, ReceivesHeldParcelsAtTheFlush)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    const rpc_port_h port = stub.port(RPC_PORT_PORT_CALLBACK);
    EXPECT_EQ(0, rpc_port_stub_hold(port));
    std::string expected;
    for (uint32_t i = 0; i < 100; i++) {
        ASSERT_EQ(0, stub.push(static_cast<int>(i)));
        expected += frame(u32(i));
    }
    run_ready_sources();
    char byte = 0;
    EXPECT_EQ(-1, recv(proxy.callback.descriptor(), &byte, 1, MSG_DONTWAIT | MSG_PEEK));
    EXPECT_EQ(0, rpc_port_stub_flush(port));
    EXPECT_EQ(expected, proxy.callback.receive(expected.size()));
}

TEST_F(PeerTest, ReceivesHeldParcelsAtTheLimit)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    rpc_port_stub_hold(stub.port(RPC_PORT_PORT_CALLBACK));
    for (int i = 0; i < 10000; i++)
        ASSERT_EQ(0, stub.push(i));
    EXPECT_EQ(size_t{64} << 10, proxy.callback.receive(size_t{64} << 10).size());
}

TEST_F(PeerTest, IsClosedAtOnceWhenTheAgentDisconnectsIt)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now() && run_until([&] { return stub.peers.size() == 1; }));
    EXPECT_EQ(0, rpc_port_stub_disconnect(stub.handle, stub.peers.front().c_str()));
    EXPECT_TRUE(stub.disconnected.empty());
    EXPECT_EQ(-EPIPE, proxy.send(1));
    EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == 1 && proxy.disconnected == 1; }));
    rpc_port_h port = nullptr;
    EXPECT_EQ(-ENOENT, rpc_port_stub_get_port(stub.handle, stub.peers.front().c_str(), RPC_PORT_PORT_MAIN, &port));
    EXPECT_EQ(nullptr, port);
    EXPECT_EQ(-ENOENT, rpc_port_stub_disconnect(stub.handle, stub.peers.front().c_str()));
}

TEST_F(PeerTest, AllowsDisconnectionInItsRequest)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    stub.on_request = [&](rpc_port_h, int) { rpc_port_stub_disconnect(stub.handle, stub.peers.front().c_str()); };
    proxy.main.send(frame(u32(1)) + frame(u32(2)));
    EXPECT_TRUE(proxy.main.is_closed_by_peer());
    EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == 1; }));
    EXPECT_EQ(std::vector<int>{1}, stub.requests);
}

TEST_F(PeerTest, HasItsLastRequestsServedAfterItCloses)
{
    Stub stub;
    stub.on_request = [](rpc_port_h, int) {};
    ASSERT_EQ(0, stub.listen());
    std::string many;
    for (uint32_t i = 0; i < 1000; i++)
        many += frame(u32(i));
    {
        RawProxy proxy(socket_path());
        proxy.main.send(many);
    }
    EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == 1; }));
    EXPECT_EQ(1000u, stub.requests.size());
}

TEST_F(PeerTest, ReceivesRawBytesUnchanged)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    EXPECT_EQ(0, rpc_port_stub_send_raw(stub.port(RPC_PORT_PORT_MAIN), "garbage", 7));
    EXPECT_EQ("garbage", proxy.main.receive(7));
}

TEST_F(PeerTest, HasNothingToReadWithoutARequest)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_EQ(-EAGAIN, rpc_port_parcel_create_from_port(&parcel, stub.port(RPC_PORT_PORT_MAIN)));
    EXPECT_GT(0, rpc_port_parcel_create_from_port(&parcel, stub.port(RPC_PORT_PORT_CALLBACK)));
}

TEST_F(StubTest, RaisesDisconnectedAndRemovesItsSocketOnDestruction)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy one(socket_path(), token(1));
    RawProxy two(socket_path(), token(2));
    ASSERT_EQ(2u, stub.peers.size());
    stub.destroy();
    EXPECT_EQ(2u, stub.disconnected.size());
    EXPECT_NE(0, access(socket_path().c_str(), F_OK));
    EXPECT_TRUE(one.main.is_closed_by_peer());
    EXPECT_TRUE(two.callback.is_closed_by_peer());
}

TEST_F(StubTest, AllowsDestructionInARequest)
{
    Stub stub;
    stub.on_request = [&](rpc_port_h, int) { stub.destroy(); };
    ASSERT_EQ(0, stub.listen());
    RawProxy one(socket_path(), token(1));
    RawProxy two(socket_path(), token(2));
    one.main.send(frame(u32(1)) + frame(u32(2)));
    two.main.send(frame(u32(3)));
    EXPECT_TRUE(one.main.is_closed_by_peer());
    EXPECT_TRUE(two.main.is_closed_by_peer());
    EXPECT_EQ(1u, stub.requests.size());
    EXPECT_EQ(2u, stub.disconnected.size());
}

TEST_F(StubTest, AllowsDestructionInDisconnected)
{
    Stub stub;
    stub.on_disconnected = [&] { stub.destroy(); };
    ASSERT_EQ(0, stub.listen());
    auto one = std::make_unique<RawProxy>(socket_path(), token(1));
    RawProxy two(socket_path(), token(2));
    one.reset();
    EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == 2; }));
    EXPECT_EQ(nullptr, stub.handle);
}

TEST_F(StubTest, AcceptsAgainWhenDescriptorsAreFree)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawLink main(socket_path());
    RawLink callback(socket_path());
    main.send(handshake_request(0));
    callback.send(handshake_request(1));
    std::vector<RawLink> all;
    for (int fd = dup(main.descriptor()); fd >= 0; fd = dup(main.descriptor()))
        all.emplace_back(fd);
    int turns = 0;
    g_main_context_iteration(nullptr, TRUE); // fails once and then sleeps
    while (g_main_context_iteration(nullptr, FALSE))
        turns++;
    EXPECT_GE(2, turns);
    all.clear();
    EXPECT_EQ(handshake_reply(0), main.receive(handshake_reply(0).size()));
    EXPECT_TRUE(contains(log(), "Too many open files")) << log();
}

TEST_F(StubTest, RefusesInvalidArguments)
{
    Stub stub;
    rpc_port_stub_h none = nullptr;
    rpc_port_h port = nullptr;
    const rpc_port_stub_events_t events = {};
    EXPECT_EQ(-EINVAL, rpc_port_stub_create(nullptr, appid, port_name, &events, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_create(&none, nullptr, port_name, &events, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_create(&none, appid, nullptr, &events, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_create(&none, appid, port_name, nullptr, nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_listen(nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_destroy(nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_get_port(stub.handle, nullptr, RPC_PORT_PORT_MAIN, &port));
    EXPECT_EQ(-ENOENT, rpc_port_stub_get_port(stub.handle, "no-such-peer", RPC_PORT_PORT_MAIN, &port));
    EXPECT_EQ(-EINVAL, rpc_port_stub_hold(nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_flush(nullptr));
    EXPECT_EQ(-EINVAL, rpc_port_stub_send_raw(nullptr, "", 0));
    EXPECT_EQ(0, stub.listen());
    EXPECT_EQ(-EALREADY, stub.listen());
}

} // namespace
} // namespace kv::test
