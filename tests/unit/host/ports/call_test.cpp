// SPDX-License-Identifier: Apache-2.0
//
// Requests and replies on the main link, and every way in which a call fails.
#include <malloc.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "fixture.hpp"

namespace kv::test {
namespace {

using CallTest = PortsTest;
using ReplyTest = PortsTest;
using RequestTest = PortsTest;
using std::chrono::milliseconds;

milliseconds time_of(const std::function<void()> &action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

// Less than half of the default reply timeout of 10 s, and long enough for a busy machine.
constexpr milliseconds at_once{4000};

TEST_F(CallTest, ReturnsTheReplyOfTheAgent)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request * 2); });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    for (int i = 0; i < 1000; i++) {
        ASSERT_EQ(0, proxy.send(i));
        ASSERT_EQ(i * 2, proxy.read());
    }
}

// Sends a string and expects the same string back.
void expect_echo(Proxy &proxy, const std::string &text)
{
    rpc_port_parcel_h parcel = nullptr;
    ASSERT_EQ(0, rpc_port_parcel_create(&parcel));
    ASSERT_EQ(0, rpc_port_parcel_write_string(parcel, text.c_str()));
    ASSERT_EQ(0, rpc_port_parcel_send(parcel, proxy.main));
    rpc_port_parcel_destroy(parcel);
    ASSERT_EQ(0, rpc_port_parcel_create_from_port(&parcel, proxy.main));
    char *answered = nullptr;
    ASSERT_EQ(0, rpc_port_parcel_read_string(parcel, &answered));
    EXPECT_TRUE(text == answered) << "of " << text.size() << " bytes";
    free(answered);
    rpc_port_parcel_destroy(parcel);
}

TEST_F(CallTest, CarriesParcelsOfAllSizesUpToTheLimit)
{
    Child agent([](const auto &ready, const auto &serve) {
        rpc_port_stub_events_t events = {};
        events.received = [](const rpc_port_stub_peer_t *, rpc_port_h port, void *) {
            rpc_port_parcel_h parcel = nullptr;
            if (rpc_port_parcel_create_from_port(&parcel, port) != 0)
                _exit(3);
            rpc_port_parcel_send(parcel, port);
            rpc_port_parcel_destroy(parcel);
        };
        rpc_port_stub_h stub = nullptr;
        if (rpc_port_stub_create(&stub, appid, port_name, &events, nullptr) != 0 || rpc_port_stub_listen(stub) != 0)
            _exit(2);
        ready();
        serve();
    });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    for (size_t size = 1; size < (size_t{16} << 20) - 4; size = size * 3 + 1)
        expect_echo(proxy, std::string(size, static_cast<char>('a' + size % 26)));
    expect_echo(proxy, std::string((size_t{16} << 20) - 4, 'z'));
    expect_echo(proxy, "");
}

TEST_F(CallTest, RefusesAParcelOverTheLimitWithoutWaiting)
{
    Agent agent([](Stub &, rpc_port_h main, int request) { send_number(main, request); });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    rpc_port_parcel_h parcel = nullptr;
    ASSERT_EQ(0, rpc_port_parcel_create(&parcel));
    rpc_port_parcel_write_string(parcel, std::string((size_t{16} << 20) + 1, 'x').c_str());
    EXPECT_EQ(-EMSGSIZE, rpc_port_parcel_send(parcel, proxy.main));
    rpc_port_parcel_destroy(parcel);
    EXPECT_GT(at_once, time_of([&] { EXPECT_GT(0, proxy.read_code()); }));
    EXPECT_EQ(0, proxy.send(3)) << "the link still works";
    EXPECT_EQ(3, proxy.read());
}

TEST_F(CallTest, ReadsWhatHasArrivedAfterAFailedSend)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    agent.main->send(frame(u32(5)) + frame(u32(6)));
    agent.main->close_now();
    EXPECT_EQ(-EPIPE, proxy.send(1));
    EXPECT_EQ(5, proxy.read());
    EXPECT_EQ(6, proxy.read());
    EXPECT_GT(at_once, time_of([&] { EXPECT_GT(0, proxy.read_code()); }));
}

TEST_F(CallTest, RaisesNoSignalIfTheAgentIsDead)
{
    ASSERT_EQ(SIG_DFL, signal(SIGPIPE, SIG_DFL));
    Agent agent([](Stub &, rpc_port_h, int) {});
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    agent.kill_now();
    EXPECT_EQ(-EPIPE, proxy.send(1));
    EXPECT_EQ(-ENOTCONN, proxy.send(1));
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
    EXPECT_EQ(0, rpc_port_proxy_destroy(std::exchange(proxy.handle, nullptr)));
}

TEST_F(CallTest, IsRefusedOnTheCallbackPort)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    EXPECT_EQ(-EINVAL, proxy.send(1, proxy.callback_port()));
}

TEST_F(CallTest, SurvivesSignals)
{
    Agent agent([](Stub &, rpc_port_h main, int request) {
        const auto end = std::chrono::steady_clock::now() + milliseconds(30);
        while (std::chrono::steady_clock::now() < end) { // a slow agent
        }
        send_number(main, request);
    });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    static volatile sig_atomic_t alarms = 0;
    struct sigaction action = {};
    action.sa_handler = [](int) { alarms = alarms + 1; };
    sigaction(SIGALRM, &action, nullptr); // without SA_RESTART, so that it interrupts every system call
    const itimerval often = {{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(0, proxy.send(i));
        EXPECT_EQ(i, proxy.read());
    }
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    signal(SIGALRM, SIG_DFL);
    EXPECT_LT(10, alarms);
}

TEST_F(ReplyTest, EndsTheCallWhenTheAgentDies)
{
    Agent agent([](Stub &, rpc_port_h, int) { raise(SIGKILL); });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    ASSERT_EQ(0, proxy.send(1));
    EXPECT_GT(at_once, time_of([&] { EXPECT_EQ(-ECONNRESET, proxy.read_code()); }));
    EXPECT_EQ(0, proxy.disconnected) << "raised inside a call";
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
    run_ready_sources();
    EXPECT_EQ(1, proxy.disconnected);
    agent.wait();
}

TEST_F(ReplyTest, EndsTheCallAtOnceWhenCutAtAnyByte)
{
    const std::string whole = frame(u32(0) + u32(3) + "abc" + u32(7));
    for (size_t size = 0; size < whole.size(); size++) {
        Proxy proxy;
        {
            RawAgent agent(socket_path(), proxy);
            ASSERT_EQ(0, proxy.send(1));
            agent.main->send(whole.substr(0, size));
        }
        EXPECT_GT(at_once, time_of([&] { EXPECT_EQ(-ECONNRESET, proxy.read_code()) << "cut at " << size; }));
        EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
        unlink(socket_path().c_str());
    }
}

TEST_F(ReplyTest, IsAssembledFromPieces)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    for (size_t cut = 0; cut <= 8; cut++) {
        ASSERT_EQ(0, proxy.send(1));
        const std::string whole = frame(u32(42));
        Child rest([&](const auto &ready, const auto &) {
            agent.main->send(whole.substr(0, cut));
            ready();
            agent.main->send(whole.substr(cut));
        });
        EXPECT_EQ(42, proxy.read()) << "cut at " << cut;
    }
}

TEST_F(ReplyTest, IsReadSeparatelyFromOthersOfTheSameReceive)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    ASSERT_EQ(0, proxy.send(1));
    agent.main->send(frame(u32(1)) + frame("") + frame(u32(3)));
    EXPECT_EQ(1, proxy.read());
    EXPECT_EQ(std::nullopt, proxy.read());
    EXPECT_EQ(3, proxy.read());
    EXPECT_EQ(0, proxy.received);
}

TEST_F(ReplyTest, ClosesTheLinkAboveTheLimit)
{
    for (uint32_t size : {(uint32_t{16} << 20) + 1, uint32_t{0x7fffffff}, uint32_t{0xffffffff}}) {
        Proxy proxy;
        RawAgent agent(socket_path(), proxy);
        ASSERT_EQ(0, proxy.send(1));
        agent.main->send(u32(size) + "some");
        EXPECT_EQ(-EPROTO, proxy.read_code());
        EXPECT_TRUE(agent.main->is_closed_by_peer());
        EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
        EXPECT_TRUE(contains(log(), "announced a parcel of " + std::to_string(size) + " bytes")) << log();
        unlink(socket_path().c_str());
    }
}

TEST_F(ReplyTest, AllocatesForReceivedNotAnnouncedBytes)
{
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    ASSERT_EQ(0, proxy.send(1));
    agent.main->send(u32(uint32_t{16} << 20) + "some");
    agent.main->close_now();
    const struct mallinfo2 before = mallinfo2();
    EXPECT_EQ(-ECONNRESET, proxy.read_code());
    const struct mallinfo2 after = mallinfo2();
    EXPECT_LE(after.uordblks + after.hblkhd, before.uordblks + before.hblkhd + (size_t{80} << 10));
}

TEST_F(ReplyTest, ClosesTheLinkAtTheDeadline)
{
    Setting quick("KORVANE_REPLY_TIMEOUT_MS", "60");
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    ASSERT_EQ(0, proxy.send(1));
    const milliseconds waited = time_of([&] { EXPECT_EQ(-ETIMEDOUT, proxy.read_code()); });
    EXPECT_LE(milliseconds(50), waited);
    EXPECT_GT(at_once, waited);
    EXPECT_TRUE(contains(log(), "port kv_master: no reply within 60 ms")) << log();
    EXPECT_EQ(-ENOTCONN, proxy.send(2)) << "a late reply could be taken for the next one";
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
}

TEST_F(ReplyTest, KeepsItsDeadlineWhileOtherParcelsArrive)
{
    Setting quick("KORVANE_REPLY_TIMEOUT_MS", "100");
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    const auto sent = std::chrono::steady_clock::now(); // the deadline counts from here, however long the child takes
    ASSERT_EQ(0, proxy.send(1));
    Child chatter([&](const auto &ready, const auto &) {
        ready();
        const std::string unrelated = frame(u32(9));
        while (send(agent.main->descriptor(), unrelated.data(), unrelated.size(), MSG_NOSIGNAL) > 0) {
        }
    });
    int code = 0;
    while (code == 0)
        code = proxy.read_code();
    EXPECT_EQ(-ETIMEDOUT, code);
    const auto waited = std::chrono::steady_clock::now() - sent;
    EXPECT_LE(milliseconds(50), waited);
    EXPECT_GT(at_once, waited);
}

TEST_F(ReplyTest, KeepsItsDeadlineWhileItArrivesByteByByte)
{
    Setting quick("KORVANE_REPLY_TIMEOUT_MS", "100");
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    ASSERT_EQ(0, proxy.send(1));
    Child dripping([&](const auto &ready, const auto &) {
        const std::string header = u32(uint32_t{16} << 20);
        agent.main->send(header);
        ready();
        while (send(agent.main->descriptor(), "x", 1, MSG_NOSIGNAL) > 0) {
        }
    });
    const milliseconds waited = time_of([&] { EXPECT_EQ(-ETIMEDOUT, proxy.read_code()); });
    EXPECT_GT(at_once, waited);
}

TEST_F(ReplyTest, HasNoDeadlineIfTheTimeoutIsZero)
{
    Setting never("KORVANE_REPLY_TIMEOUT_MS", "0");
    Agent agent([](Stub &, rpc_port_h main, int request) {
        const auto end = std::chrono::steady_clock::now() + milliseconds(50);
        while (std::chrono::steady_clock::now() < end) {
        }
        send_number(main, request);
    });
    Proxy proxy;
    ASSERT_TRUE(proxy.connected_now());
    EXPECT_EQ(0, proxy.send(1));
    EXPECT_EQ(1, proxy.read());
}

TEST_F(RequestTest, TimesOutIfTheAgentDoesNotAcceptIt)
{
    Setting quick("KORVANE_REPLY_TIMEOUT_MS", "60");
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    rpc_port_parcel_h parcel = nullptr;
    ASSERT_EQ(0, rpc_port_parcel_create(&parcel));
    rpc_port_parcel_write_string(parcel, std::string(size_t{8} << 20, 'x').c_str());
    const milliseconds waited = time_of([&] { EXPECT_EQ(-ETIMEDOUT, rpc_port_parcel_send(parcel, proxy.main)); });
    EXPECT_LE(milliseconds(50), waited);
    EXPECT_GT(at_once, waited);
    rpc_port_parcel_destroy(parcel);
    EXPECT_GT(0, proxy.read_code());
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
}

/// A child that reads some bytes of a link every 40 ms, and stops after a number of reads.
class SlowReader : public Child {
public:
    static constexpr size_t bytes_per_read = size_t{64} << 10;

    SlowReader(const SlowReader &) = delete;
    SlowReader &operator=(const SlowReader &) = delete;
    SlowReader(const RawLink &link, int max_reads)
        : Child([&link, max_reads](const auto &ready, const auto &) {
              ready();
              std::vector<char> bytes(bytes_per_read);
              for (int i = 0; i < max_reads && recv(link.descriptor(), bytes.data(), bytes.size(), MSG_WAITALL) > 0;
                   i++) {
                  pollfd end{link.descriptor(), POLLRDHUP, 0};
                  if (poll(&end, 1, 40) != 0)
                      break;
              }
              while (recv(link.descriptor(), bytes.data(), bytes.size(), 0) > 0) {
              }
          })
    {
    }
    ~SlowReader() { kill_now(); }
};

int send_text(rpc_port_h port, size_t size)
{
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_EQ(0, rpc_port_parcel_create(&parcel));
    rpc_port_parcel_write_string(parcel, std::string(size, 'x').c_str());
    const int result = rpc_port_parcel_send(parcel, port);
    rpc_port_parcel_destroy(parcel);
    return result;
}

TEST_F(RequestTest, KeepsItsDeadlineWhileTheAgentReadsSlowly)
{
    Setting quick("KORVANE_REPLY_TIMEOUT_MS", "200");
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    const SlowReader reader(*agent.main, 1000);
    // Accepting all of it would take 5 s.
    const milliseconds waited = time_of([&] { EXPECT_EQ(-ETIMEDOUT, send_text(proxy.main, size_t{8} << 20)); });
    EXPECT_LE(milliseconds(190), waited);
    EXPECT_GT(at_once, waited);
    EXPECT_TRUE(run_until([&] { return proxy.disconnected == 1; }));
}

/// A reply with a deadline of its own would be awaited for a whole timeout after each request. On a busy machine the request
/// alone can take longer than the timeout; the next attempt then has twice the time.
TEST_F(RequestTest, SharesItsDeadlineWithTheReply)
{
    bool is_shared = false;
    for (milliseconds timeout(1500); !is_shared && timeout <= milliseconds(12000); timeout *= 2) {
        Setting setting("KORVANE_REPLY_TIMEOUT_MS", std::to_string(timeout.count()));
        std::filesystem::remove(socket_path());
        Proxy proxy;
        RawAgent agent(socket_path(), proxy);
        const SlowReader reader(*agent.main, 25);
        int sent = 0;
        const milliseconds sending = time_of([&] { sent = send_text(proxy.main, size_t{8} << 20); });
        if (sent == -ETIMEDOUT)
            continue;
        ASSERT_EQ(0, sent);
        EXPECT_LE(milliseconds(900), sending) << "the request was accepted at once, so the test proves nothing";
        const milliseconds reading = time_of([&] { EXPECT_EQ(-ETIMEDOUT, proxy.read_code()); });
        EXPECT_LE(timeout - milliseconds(10), sending + reading);
        is_shared = reading < timeout - sending / 2;
    }
    EXPECT_TRUE(is_shared);
}

TEST_F(RequestTest, IsNotServedWhenCutAtAnyByte)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const std::string whole = frame(u32(10) + u32(2) + "ab");
    for (size_t size = 0; size < whole.size(); size++) {
        {
            RawProxy proxy(socket_path());
            proxy.main.send(whole.substr(0, size));
        }
        EXPECT_TRUE(run_until([&] { return stub.disconnected.size() == size + 1; })) << "cut at " << size;
    }
    EXPECT_TRUE(stub.requests.empty());
}

TEST_F(RequestTest, AboveTheLimitDisconnectsOnlyThatPeer)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    Proxy other;
    ASSERT_TRUE(other.connected_now());
    RawProxy proxy(socket_path());
    proxy.main.send(frame(u32(1)) + u32((uint32_t{16} << 20) + 1));
    EXPECT_EQ(frame(u32(1)), proxy.main.receive(8)) << "the request before it is complete";
    EXPECT_TRUE(proxy.main.is_closed_by_peer());
    EXPECT_TRUE(proxy.callback.is_closed_by_peer());
    EXPECT_EQ(1u, stub.disconnected.size());
    EXPECT_EQ(0, other.send(2));
    EXPECT_TRUE(run_until([&] { return stub.requests.size() == 2; }));
    EXPECT_EQ(2, other.read());
}

TEST_F(RequestTest, IsAssembledFromPieces)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    RawProxy proxy(socket_path());
    for (char byte : frame(u32(77)) + frame(u32(78))) {
        proxy.main.send({byte});
        run_ready_sources();
    }
    EXPECT_EQ((std::vector<int>{77, 78}), stub.requests);
}

} // namespace
} // namespace kv::test
