// SPDX-License-Identifier: Apache-2.0
//
// Many parcels from one receive, delivered in one turn of the loop or in several.
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <numeric>

#include "fixture.hpp"

namespace kv::test {
namespace {

using EventBatchTest = PortsTest;
using EventFloodTest = PortsTest;
using RequestBatchTest = PortsTest;

std::string frames(uint32_t first, uint32_t count)
{
    std::string bytes;
    for (uint32_t i = 0; i < count; i++)
        bytes += frame(u32(first + i));
    return bytes;
}

std::vector<int> numbers(int count)
{
    std::vector<int> values(static_cast<size_t>(count));
    std::iota(values.begin(), values.end(), 0);
    return values;
}

/// A proxy that reads the number of each event, and a raw agent.
struct Listening {
    explicit Listening(const std::string &socket_path) : agent(socket_path, proxy)
    {
        proxy.on_received = [this] { read(); };
    }
    void read() { values.push_back(proxy.read(proxy.callback_port()).value_or(-1)); }

    Proxy proxy;
    RawAgent agent;
    std::vector<int> values;
};

/// Ticks with every turn of the loop and records how far a count advances between two ticks.
class Ticks {
public:
    explicit Ticks(const int &count) : count_(count), timer_(g_timeout_add(0, tick, this)) {}
    Ticks(const Ticks &) = delete;
    Ticks &operator=(const Ticks &) = delete;
    ~Ticks() { g_source_remove(timer_); }

    int last = 0; ///< the count at the last tick
    int largest_gap = 0;

private:
    static gboolean tick(gpointer self)
    {
        auto *ticks = static_cast<Ticks *>(self);
        ticks->largest_gap = std::max(ticks->largest_gap, ticks->count_ - ticks->last);
        ticks->last = ticks->count_;
        return G_SOURCE_CONTINUE;
    }

    const int &count_;
    guint timer_;
};

TEST_F(EventBatchTest, IsDeliveredInOneTurn)
{
    // The scheduler may interrupt a turn, which then ends early, so several attempts are allowed.
    Listening link(socket_path());
    size_t max_in_a_turn = 0;
    for (int attempt = 0; attempt < 100 && max_in_a_turn < 3000; attempt++) {
        link.values.clear();
        link.agent.callback->send(frames(0, 3000));
        EXPECT_TRUE(g_main_context_iteration(nullptr, FALSE));
        max_in_a_turn = std::max(max_in_a_turn, link.values.size());
        run_ready_sources();
        ASSERT_EQ(numbers(3000), link.values);
    }
    EXPECT_EQ(3000u, max_in_a_turn);
}

TEST_F(EventBatchTest, ArrivesWholeInPiecesOfAnySize)
{
    constexpr int count = 4000;
    const std::string bytes = frames(0, count);
    for (const size_t step : {size_t{7}, size_t{4093}, size_t{31999}}) {
        Listening link(socket_path());
        for (size_t sent = 0; sent < bytes.size(); sent += step) {
            link.agent.callback->send(bytes.substr(sent, step));
            run_ready_sources();
        }
        EXPECT_EQ(numbers(count), link.values) << "in steps of " << step;
        unlink(socket_path().c_str());
    }
}

TEST_F(EventBatchTest, KeepsItsOrderAroundALongParcel)
{
    Listening link(socket_path());
    const std::string bytes = frames(0, 100) + frame(u32(100) + std::string(100'000, 'x')) + frames(101, 100);
    link.agent.callback->send(bytes);
    EXPECT_TRUE(run_until([&] { return link.proxy.received == 201; }));
    EXPECT_EQ(numbers(201), link.values);
}

TEST_F(EventBatchTest, EndsWhenACallbackDestroysTheProxy)
{
    Listening link(socket_path());
    link.proxy.on_received = [&] {
        link.read();
        if (link.proxy.received == 500)
            link.proxy.destroy();
    };
    link.agent.callback->send(frames(0, 1000));
    EXPECT_TRUE(link.agent.main->is_closed_by_peer());
    run_ready_sources();
    EXPECT_EQ(numbers(500), link.values);
    EXPECT_EQ(0, link.proxy.disconnected);
}

TEST_F(EventBatchTest, ContinuesInALoopThatACallbackRuns)
{
    Listening link(socket_path());
    size_t in_the_nested_loop = 0;
    link.proxy.on_received = [&] {
        link.read();
        if (link.proxy.received == 500) {
            EXPECT_TRUE(run_until([&] { return link.proxy.received == 1000; }));
            in_the_nested_loop = link.values.size();
        }
    };
    link.agent.callback->send(frames(0, 1000));
    EXPECT_TRUE(run_until([&] { return link.proxy.received == 1000; }));
    EXPECT_EQ(1000u, in_the_nested_loop);
    EXPECT_EQ(numbers(1000), link.values) << "a parcel is repeated, lost or out of order";
}

TEST_F(EventBatchTest, RaisesNoEventForParcelsReadAhead)
{
    Listening link(socket_path());
    link.proxy.on_received = [&] {
        link.read();
        if (link.proxy.received == 500)
            for (int i = 0; i < 100; i++)
                link.read();
    };
    link.agent.callback->send(frames(0, 1000));
    EXPECT_TRUE(run_until([&] { return link.values.size() == 1000; }));
    run_ready_sources();
    EXPECT_EQ(numbers(1000), link.values);
    EXPECT_EQ(900, link.proxy.received) << "an event was raised for a parcel read ahead";
}

TEST_F(EventBatchTest, IsDeliveredUpToAMalformedFrame)
{
    Listening link(socket_path());
    link.agent.callback->send(frames(0, 500) + u32(0x7fffffff) + frames(500, 500));
    EXPECT_TRUE(run_until([&] { return link.proxy.disconnected == 1; }));
    run_ready_sources();
    EXPECT_EQ(numbers(500), link.values);
    EXPECT_EQ(1, link.proxy.disconnected);
    EXPECT_TRUE(link.agent.main->is_closed_by_peer());
    EXPECT_NE(std::string::npos, log().find("announced a parcel of 2147483647 bytes")) << log();
}

TEST_F(RequestBatchTest, IsServedOverSeveralTurns)
{
    Stub stub;
    ASSERT_EQ(0, stub.listen());
    const RawProxy proxy(socket_path());
    ASSERT_TRUE(run_until([&] { return stub.peers.size() == 1; }));
    proxy.main.send(frames(0, 7000));
    EXPECT_TRUE(run_until([&] { return stub.requests.size() == 7000; }));
    EXPECT_EQ(numbers(7000), stub.requests);
}

TEST_F(EventFloodTest, DoesNotStarveATimer)
{
    Listening link(socket_path());
    const Ticks ticks(link.proxy.received);
    std::string bytes;
    for (int i = 0; i < 20000; i++)
        bytes += frame("");
    link.agent.callback->send(bytes);
    EXPECT_TRUE(run_until([&] { return ticks.last == 20000; }));
    EXPECT_LT(0, ticks.largest_gap);
    EXPECT_GE(4096, ticks.largest_gap);
}

TEST_F(EventFloodTest, DoesNotStarveATimerWithLongCallbacks)
{
    using std::chrono::steady_clock;
    constexpr auto long_callback = std::chrono::milliseconds(2);
    Listening link(socket_path());
    link.proxy.on_received = [&] {
        link.read();
        const auto end = steady_clock::now() + long_callback;
        while (steady_clock::now() < end) {
        }
    };
    const Ticks ticks(link.proxy.received);
    link.agent.callback->send(frames(0, 40));
    EXPECT_TRUE(run_until([&] { return ticks.last == 40; }));
    EXPECT_LT(0, ticks.largest_gap);
    // A turn of 4 ms, measured with a clock that may tick every 10 ms.
    EXPECT_GE(6, ticks.largest_gap);
}

} // namespace
} // namespace kv::test
