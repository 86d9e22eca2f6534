// SPDX-License-Identifier: Apache-2.0
//
// The events of a proxy, and what its callbacks may do.
#include <glib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "fixture.hpp"

namespace kv::test {
namespace {

using ConnectedEventTest = PortsTest;
using DisconnectedEventTest = PortsTest;
using ReceivedEventTest = PortsTest;

struct Connection {
    Connection()
    {
        EXPECT_EQ(0, stub.listen());
        EXPECT_TRUE(proxy.connected_now());
        EXPECT_TRUE(run_until([this] { return stub.peers.size() == 1; }));
    }

    Stub stub;
    Proxy proxy;
};

TEST_F(ReceivedEventTest, IsRaisedOncePerParcelInOrder)
{
    Connection link;
    std::vector<int> values;
    link.proxy.on_received = [&] { values.push_back(link.proxy.read(link.proxy.callback_port()).value_or(-1)); };
    for (int i = 0; i < 10; i++)
        ASSERT_EQ(0, link.stub.push(i));
    EXPECT_TRUE(values.empty()) << "raised outside the loop";
    EXPECT_TRUE(run_until([&] { return values.size() == 10; }));
    run_ready_sources();
    EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), values);
    EXPECT_EQ(10, link.proxy.received);
}

TEST_F(ReceivedEventTest, IsRaisedForWholeParcelsOnly)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    int value = 0;
    proxy.on_received = [&] { value = proxy.read(proxy.callback_port()).value_or(-1); };
    const std::string whole = frame(u32(5));
    for (char byte : whole.substr(0, 7)) {
        agent.callback->send({byte});
        run_ready_sources();
        EXPECT_EQ(0, proxy.received);
    }
    agent.callback->send(whole.substr(7));
    run_ready_sources();
    EXPECT_EQ(5, value);
}

TEST_F(ReceivedEventTest, IsNotRaisedForTheMainPort)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    agent.main->send(frame(u32(1)));
    run_ready_sources();
    EXPECT_EQ(0, proxy.received);
}

TEST_F(ReceivedEventTest, IsNotRepeatedForAnUnreadParcel)
{
    Connection link;
    link.stub.push(1);
    link.stub.push(2);
    EXPECT_TRUE(run_until([&] { return link.proxy.received == 2; }));
    link.stub.push(3);
    EXPECT_TRUE(run_until([&] { return link.proxy.received == 3; }));
    run_ready_sources();
    EXPECT_EQ(3, link.proxy.received);
    EXPECT_EQ(1, link.proxy.read(link.proxy.callback_port()));
    EXPECT_EQ(2, link.proxy.read(link.proxy.callback_port()));
}

TEST_F(ReceivedEventTest, IsNotRaisedForAParcelReadAhead)
{
    Connection link;
    link.proxy.on_received = [&] {
        EXPECT_EQ(1, link.proxy.read(link.proxy.callback_port()));
        EXPECT_EQ(2, link.proxy.read(link.proxy.callback_port()));
    };
    rpc_port_h port = link.stub.port(RPC_PORT_PORT_CALLBACK);
    rpc_port_stub_hold(port);
    link.stub.push(1);
    link.stub.push(2);
    rpc_port_stub_flush(port);
    EXPECT_TRUE(run_until([&] { return link.proxy.received == 1; }));
    run_ready_sources();
    EXPECT_EQ(1, link.proxy.received);
}

TEST_F(ReceivedEventTest, IsRaisedInALoopThatACallbackRuns)
{
    Connection link;
    link.proxy.on_received = [&] {
        link.proxy.read(link.proxy.callback_port());
        if (link.proxy.received == 1) {
            link.stub.push(2);
            EXPECT_TRUE(run_until([&] { return link.proxy.received == 2; }));
        }
    };
    link.stub.push(1);
    EXPECT_TRUE(run_until([&] { return link.proxy.received == 2; }));
}

TEST_F(ReceivedEventTest, AllowsDestructionOfTheProxy)
{
    Connection link;
    link.proxy.on_received = [&] { link.proxy.destroy(); };
    for (int i = 0; i < 5; i++)
        link.stub.push(i);
    EXPECT_TRUE(run_until([&] { return link.stub.disconnected.size() == 1; }));
    EXPECT_EQ(1, link.proxy.received) << "an event was raised for a destroyed proxy";
    EXPECT_EQ(0, link.proxy.disconnected);
}

TEST_F(ReceivedEventTest, AllowsDestructionInANestedLoop)
{
    Connection link;
    link.proxy.on_received = [&] {
        if (link.proxy.received == 2)
            return link.proxy.destroy();
        EXPECT_TRUE(run_until([&] { return link.proxy.handle == nullptr; }));
    };
    for (int i = 0; i < 5; i++)
        link.stub.push(i);
    EXPECT_TRUE(run_until([&] { return link.stub.disconnected.size() == 1; }));
    EXPECT_EQ(2, link.proxy.received);
}

TEST_F(DisconnectedEventTest, AllowsANewConnection)
{
    Connection link;
    link.proxy.on_disconnected = [&] { EXPECT_EQ(0, link.proxy.connect()); };
    rpc_port_stub_disconnect(link.stub.handle, link.stub.peers.front().c_str());
    EXPECT_TRUE(run_until([&] { return link.proxy.connected == 2; }));
    EXPECT_EQ(1, link.proxy.disconnected);
}

TEST_F(ConnectedEventTest, AllowsDestructionOfTheProxy)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    proxy.on_connected = [&] { proxy.destroy(); };
    ASSERT_EQ(0, proxy.connect());
    EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == 1; }));
    EXPECT_EQ(1, proxy.connected);
    EXPECT_EQ(0, proxy.disconnected);
}

TEST_F(ConnectedEventTest, AllowsACall)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request + 1); });
    Proxy proxy;
    std::optional<int> reply;
    proxy.on_connected = [&] {
        EXPECT_EQ(0, proxy.send(1));
        reply = proxy.read();
    };
    ASSERT_TRUE(proxy.connected_now());
    EXPECT_EQ(2, reply);
}

TEST_F(ReceivedEventTest, AllowsCallsDuringAFlood)
{
    // Before it replies the agent pushes more than a socket holds. Neither side may block.
    Agent agent([](Stub &stub, rpc_port_h main, int request) {
        if (request == 1)
            for (int i = 0; i < 20000; i++)
                stub.push(i);
        send_number(main, request);
    });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    EXPECT_EQ(0, proxy.send(1));
    EXPECT_EQ(1, proxy.read());
    proxy.on_received = [&] {
        proxy.read(proxy.callback_port());
        if (proxy.received % 1000 == 0) {
            EXPECT_EQ(0, proxy.send(2));
            EXPECT_EQ(2, proxy.read());
        }
    };
    EXPECT_TRUE(run_until([&] { return proxy.received == 20000; }));
}

TEST_F(ReceivedEventTest, EndsTheConnectionAboveTheLimit)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    proxy.on_received = [&] { EXPECT_EQ(4, proxy.read(proxy.callback_port())); };
    agent.callback->send(frame(u32(4)) + u32(0x7fffffff));
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
    EXPECT_EQ(1, proxy.received) << "the parcel before it is complete";
    EXPECT_TRUE(agent.main->is_closed_by_peer());
    EXPECT_TRUE(contains(log(), "announced a parcel of 2147483647 bytes")) << log();
}

TEST_F(ReceivedEventTest, IsNotRaisedWhenCutAtAnyByte)
{
    const std::string whole = frame(u32(4) + u32(5));
    for (size_t size = 0; size < whole.size(); size++) {
        Proxy proxy;
        {
            RawAgent agent(socket_path(), proxy);
            agent.callback->send(whole.substr(0, size));
        }
        EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; })) << "cut at " << size;
        EXPECT_EQ(0, proxy.received);
        unlink(socket_path().c_str());
    }
}

TEST_F(DisconnectedEventTest, FollowsTheEventsThatArrivedBefore)
{
    Proxy proxy;
    std::vector<int> values;
    {
        RawAgent agent(socket_path(), proxy);
        std::string many;
        for (uint32_t i = 0; i < 1000; i++)
            many += frame(u32(i));
        agent.callback->send(many);
    }
    proxy.on_received = [&] {
        EXPECT_EQ(0, proxy.disconnected);
        values.push_back(proxy.read(proxy.callback_port()).value_or(-1));
    };
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
    EXPECT_EQ(1000u, values.size());
}

TEST_F(DisconnectedEventTest, IsRaisedOnceForEitherLink)
{
    for (const bool main : {false, true}) {
        Proxy proxy;
        RawAgent agent(socket_path(), proxy);
        (main ? agent.main : agent.callback)->close_now();
        EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
        EXPECT_TRUE((main ? agent.callback : agent.main)->is_closed_by_peer());
        run_ready_sources();
        EXPECT_EQ(1, proxy.disconnected);
        EXPECT_GT(0, proxy.send(1));
        EXPECT_GT(0, proxy.read_code());
        unlink(socket_path().c_str());
    }
}

TEST_F(DisconnectedEventTest, AllowsDestructionOfTheProxy)
{
    Connection link;
    link.proxy.on_disconnected = [&] { link.proxy.destroy(); };
    link.stub.destroy();
    EXPECT_TRUE(run_until([&] { return link.proxy.disconnected == 1; }));
}

TEST_F(DisconnectedEventTest, IsNotRaisedForADestroyedProxy)
{
    Connection link;
    link.stub.destroy();
    link.proxy.destroy();
    run_ready_sources();
    EXPECT_EQ(0, link.proxy.disconnected);
}

} // namespace
} // namespace kv::test
