// SPDX-License-Identifier: Apache-2.0
//
// The system calls of a call or an event. This program replaces the C library's functions and counts.
#include <dlfcn.h>
#include <glib.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "fixture.hpp"

namespace {

struct Counts {
    int sends;
    int receives;
    int blocking_receives;
    int polls;
    int nonblocking_polls;
    int writes; ///< the loop wakes itself by one
} counts;

/// The C library's function that a function of this program replaces. The numbers of system calls differ between processors.
template <class Function>
Function *replaced(Function * /* of this program */, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The dynamic linker finds these before those of the C library, for the platform library too.
extern "C" {

[[gnu::visibility("default")]] ssize_t send(int fd, const void *bytes, size_t size, int flags)
{
    counts.sends++;
    static auto *const original = replaced(send, "send");
    return original(fd, bytes, size, flags);
}

[[gnu::visibility("default")]] ssize_t recv(int fd, void *bytes, size_t size, int flags)
{
    counts.receives++;
    if ((flags & MSG_DONTWAIT) == 0)
        counts.blocking_receives++;
    static auto *const original = replaced(recv, "recv");
    return original(fd, bytes, size, flags);
}

[[gnu::visibility("default")]] int poll(pollfd *fds, nfds_t count, int timeout)
{
    counts.polls++;
    if (timeout == 0)
        counts.nonblocking_polls++;
    static auto *const original = replaced(poll, "poll");
    return original(fds, count, timeout);
}

[[gnu::visibility("default")]] ssize_t write(int fd, const void *bytes, size_t size)
{
    counts.writes++;
    static auto *const original = replaced(write, "write");
    return original(fd, bytes, size);
}

} // extern "C"

namespace kv::test {
namespace {

using CallCostTest = PortsTest;
using EventCostTest = PortsTest;

constexpr int calls = 100;

TEST_F(CallCostTest, IsOneSendAndOneReceiveForTheCaller)
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

TEST_F(CallCostTest, IsOneSendOneReceiveAndOnePollForTheAgent)
{
    // Every reply contains the costs up to now.
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

/// The cost of a call whose reply takes 50 ms, with KORVANE_POLL_US.
Counts cost_of_late_reply(const char *polling_us)
{
    setenv("KORVANE_POLL_US", polling_us, 1);
    Agent agent([](Stub &, rpc_port_h main, int request) {
        g_usleep(50'000);
        send_number(main, request);
    });
    Proxy proxy;
    EXPECT_TRUE(proxy.connected_now());
    counts = {};
    EXPECT_EQ(0, proxy.send(7));
    EXPECT_EQ(7, proxy.read());
    unsetenv("KORVANE_POLL_US");
    return counts;
}

/// How often the default context polls without blocking while it waits 50 ms for a timer.
int nonblocking_polls_of_a_wait()
{
    counts = {};
    bool done = false;
    g_timeout_add(
        50, [](void *flag) { return static_cast<gboolean>((*static_cast<bool *>(flag) = true, G_SOURCE_REMOVE)); },
        &done);
    while (!done)
        g_main_context_iteration(nullptr, TRUE);
    return counts.nonblocking_polls;
}

/// The scheduler may interrupt this process for longer than a reply or a timer takes, so several attempts are allowed.
bool in_some_attempt(const std::function<bool()> &holds)
{
    for (int attempt = 0; attempt < 20; attempt++)
        if (holds())
            return true;
    return false;
}

/// Resets the poll function of the default context, which a connection changes if KORVANE_POLL_US is set.
class PollingTest : public PortsTest {
protected:
    void SetUp() override
    {
        sched_getaffinity(0, sizeof processors, &processors);
        if (CPU_COUNT(&processors) == 1)
            GTEST_SKIP() << "polling needs a second processor";
    }
    ~PollingTest() override
    {
        sched_setaffinity(0, sizeof processors, &processors);
        g_main_context_set_poll_func(nullptr, nullptr);
    }

    cpu_set_t processors;
};

TEST_F(PollingTest, IsOffByDefault)
{
    const Counts cost = cost_of_late_reply("0");
    EXPECT_EQ(1, cost.receives);
    EXPECT_EQ(1, cost.blocking_receives);
    EXPECT_TRUE(in_some_attempt([] { return nonblocking_polls_of_a_wait() == 0; }));
}

TEST_F(PollingTest, ReceivesWithoutBlockingFirst)
{
    EXPECT_TRUE(in_some_attempt([] {
        const Counts cost = cost_of_late_reply("2000");
        return cost.receives > 2 && cost.blocking_receives == 1;
    }));
}

TEST_F(PollingTest, PollsTheLoopWithoutBlockingFirst)
{
    cost_of_late_reply("2000");
    EXPECT_TRUE(in_some_attempt([] { return nonblocking_polls_of_a_wait() > 1; }));
}

TEST_F(PollingTest, PollsTheLoopOfAnAgentWithoutBlockingFirst)
{
    setenv("KORVANE_POLL_US", "2000", 1);
    Stub stub;
    EXPECT_EQ(0, stub.listen());
    unsetenv("KORVANE_POLL_US");
    EXPECT_TRUE(in_some_attempt([] { return nonblocking_polls_of_a_wait() > 1; }));
}

TEST_F(PollingTest, KeepsAPollFunctionOfTheProgram)
{
    const GPollFunc own = [](GPollFD *descriptors, guint count, gint timeout) {
        return g_poll(descriptors, count, timeout);
    };
    g_main_context_set_poll_func(nullptr, own);
    cost_of_late_reply("2000");
    EXPECT_EQ(own, g_main_context_get_poll_func(nullptr));
}

TEST_F(PollingTest, IsOffOnASingleProcessor)
{
    int first = 0;
    while (!CPU_ISSET(first, &processors))
        ++first;
    cpu_set_t single;
    CPU_ZERO(&single);
    CPU_SET(first, &single);
    ASSERT_EQ(0, sched_setaffinity(0, sizeof single, &single));
    EXPECT_EQ(1, cost_of_late_reply("2000").receives);
}

TEST_F(PollingTest, IsLimitedAndReportsAWrongValue)
{
    EXPECT_EQ(1, cost_of_late_reply("10001").receives);
    EXPECT_NE(std::string::npos,
              log().find("KORVANE_POLL_US='10001' is not a number of microseconds up to 10000; using the default, 0"));
}

/// A proxy that reads the events of a raw agent.
struct Reading {
    explicit Reading(const std::string &socket_path) : agent(socket_path, proxy)
    {
        proxy.on_received = [this] { proxy.read(proxy.callback_port()); };
    }
    /// The cost of events that arrive together.
    Counts take(uint32_t count)
    {
        std::string many;
        for (uint32_t i = 0; i < count; i++)
            many += frame(u32(i));
        agent.callback->send(many);
        proxy.received = 0;
        counts = {};
        EXPECT_TRUE(run_until([&] { return proxy.received == static_cast<int>(count); }));
        return counts;
    }

    Proxy proxy;
    RawAgent agent;
};

TEST_F(EventCostTest, IsOneReceiveAndOnePollForABatch)
{
    Reading reading(socket_path());
    Counts cost = reading.take(3000);
    // The scheduler may interrupt a turn, which then ends early, so several attempts are allowed.
    for (int attempt = 0; attempt < 100 && cost.polls > 1; attempt++)
        cost = reading.take(3000);
    EXPECT_EQ(1, cost.receives);
    EXPECT_EQ(1, cost.polls);
    EXPECT_EQ(0, cost.writes);
}

TEST_F(EventCostTest, IsNoWakeUpForTheNextTurn)
{
    Reading reading(socket_path());
    const Counts cost = reading.take(7000);
    EXPECT_LT(1, cost.polls) << "one turn delivered all events, so the test proves nothing";
    EXPECT_EQ(0, cost.writes);
}

TEST_F(EventCostTest, IsOneSendForHeldParcels)
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

/// A raw peer that does not read, and a way to push more than its link holds.
struct Unread {
    explicit Unread(const std::string &socket_path)
    {
        EXPECT_EQ(0, stub.listen());
        proxy.emplace(socket_path);
        EXPECT_TRUE(run_until([this] { return stub.peers.size() == 1; }));
        port = stub.port(RPC_PORT_PORT_CALLBACK);
    }
    void push_all() const
    {
        for (int i = 0; i < events; i++)
            ASSERT_EQ(0, stub.push(i));
    }
    /// Whether all events arrive in order once the peer reads.
    bool arrives() const
    {
        std::string all;
        std::string expected;
        for (uint32_t i = 0; i < events; i++)
            expected += frame(u32(i));
        while (all.size() < expected.size()) {
            run_ready_sources();
            const std::string more = proxy->callback.receive(std::min(expected.size() - all.size(), size_t{4096}));
            if (more.empty())
                return false;
            all += more;
        }
        return all == expected;
    }

    static constexpr int events = 100'000;
    Stub stub;
    std::optional<RawProxy> proxy;
    rpc_port_h port = nullptr;
};

TEST_F(EventCostTest, IsOneWakeUpForAPeerThatDoesNotRead)
{
    const Unread peer(socket_path());
    counts = {};
    peer.push_all();
    EXPECT_EQ(1, counts.writes);
    EXPECT_TRUE(peer.arrives());
}

TEST_F(EventCostTest, IsFewSendsForHeldParcelsThatWait)
{
    const Unread peer(socket_path());
    counts = {};
    EXPECT_EQ(0, rpc_port_stub_hold(peer.port));
    peer.push_all();
    EXPECT_EQ(0, rpc_port_stub_flush(peer.port));
    // 800 kB: one send for each 64 KiB more that wait, and one for the flush.
    EXPECT_GE(13, counts.sends);
    EXPECT_TRUE(peer.arrives());
}

TEST_F(EventCostTest, IsNoBusyLoopForHeldParcels)
{
    const Unread peer(socket_path());
    peer.push_all();
    EXPECT_EQ(0, rpc_port_stub_hold(peer.port));
    char taken[4096];
    while (recv(peer.proxy->callback.descriptor(), taken, sizeof taken, MSG_DONTWAIT) > 0) {
    }
    constexpr int turns = 100;
    int busy = 0;
    for (int i = 0; i < turns; i++)
        busy += g_main_context_iteration(nullptr, FALSE) ? 1 : 0;
    EXPECT_GT(turns, busy);
}

} // namespace
} // namespace kv::test
