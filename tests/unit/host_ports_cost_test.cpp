// SPDX-License-Identifier: Apache-2.0
//
// What a call costs in system calls: the platform's sends, receives and polls are counted on their way.
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "unit/host_ports_fixture.hpp"

namespace {

struct Counts {
    int sends;
    int receives;
    int polls;
} counts;

} // namespace

// The program's own definitions come before the C library's, for the platform's library, too.
extern "C" {

[[gnu::visibility("default")]] ssize_t send(int fd, const void *bytes, size_t size, int flags)
{
    counts.sends++;
    return syscall(SYS_sendto, fd, bytes, size, flags, nullptr, 0);
}

[[gnu::visibility("default")]] ssize_t recv(int fd, void *bytes, size_t size, int flags)
{
    counts.receives++;
    return syscall(SYS_recvfrom, fd, bytes, size, flags, nullptr, nullptr);
}

[[gnu::visibility("default")]] int poll(pollfd *fds, nfds_t count, int timeout)
{
    counts.polls++;
    return static_cast<int>(syscall(SYS_poll, fds, count, timeout));
}

} // extern "C"

namespace host_ports {
namespace {

using ACall = PortsTest;
using Events = PortsTest;

constexpr int calls = 100;

TEST_F(ACall, CostsTheCallerOneSendAndOneReceive)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request); });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    counts = {};
    for (int i = 0; i < calls; i++) {
        ASSERT_EQ(0, proxy.send(i));
        ASSERT_EQ(i, proxy.read());
    }
    EXPECT_EQ(calls, counts.sends);
    EXPECT_EQ(calls, counts.receives);
    EXPECT_EQ(0, counts.polls);
}

TEST_F(ACall, CostsTheAgentOneSendAndOneReceiveAndItsLoopsPoll)
{
    // Every reply says what it has cost so far.
    Agent agent([](Stub &, rpc_port_h main, int request) {
        send_number(main, request == 0 ? counts.sends : request == 1 ? counts.receives : counts.polls);
    });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    const auto ask = [&](int what) {
        EXPECT_EQ(0, proxy.send(what));
        return proxy.read().value_or(-1);
    };
    for (int what = 0; what < 3; what++) {
        const int before = ask(what);
        for (int i = 1; i < calls; i++)
            ask(what);
        EXPECT_EQ(calls, ask(what) - before) << what;
    }
}

TEST_F(Events, ThatArriveTogetherCostOneReceive)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    proxy.on_received = [&] { proxy.read(proxy.callback_port()); };
    std::string many;
    for (uint32_t i = 0; i < 100; i++)
        many += frame(u32(i));
    agent.callback->send(many);
    counts = {};
    ASSERT_TRUE(run_until([&] { return proxy.received == 100; }));
    EXPECT_EQ(1, counts.receives);
}

TEST_F(Events, ThatWereHeldLeaveInOneSend)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    const rpc_port_h port = stub.port(RPC_PORT_PORT_CALLBACK);
    counts = {};
    EXPECT_EQ(0, rpc_port_stub_hold(port));
    for (int i = 0; i < 100; i++)
        ASSERT_EQ(0, stub.push(i));
    EXPECT_EQ(0, counts.sends);
    EXPECT_EQ(0, rpc_port_stub_flush(port));
    EXPECT_EQ(1, counts.sends);
}

} // namespace
} // namespace host_ports
