// SPDX-License-Identifier: Apache-2.0
// The fake platform raises events at every moment at which a platform may, and detects a misuse of handles there.
#include "support/alloc_injector.hpp"
#include "support/fake_platform.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kv::test {
namespace {

using Strings = std::vector<std::string>;

/// One proxy, and a record of its events and requests.
class RaisedEvents : public ::testing::Test {
protected:
    void SetUp() override
    {
        platform.reset();
        rpc_port_proxy_create(&proxy);
        rpc_port_proxy_get_port(proxy, RPC_PORT_PORT_MAIN, &port);
        rpc_port_proxy_get_port(proxy, RPC_PORT_PORT_CALLBACK, &callback_port);
        rpc_port_proxy_add_received_event_cb(proxy, on_received, this);
        rpc_port_proxy_add_disconnected_event_cb(proxy, on_disconnected, this);
        link().main_port.on_sent = [this](Port &, const Bytes &) { record.emplace_back("sent"); };
    }
    void TearDown() override { platform.reset(); }

    static void on_received(const char *, const char *, void *test)
    {
        auto &self = *static_cast<RaisedEvents *>(test);
        self.record.emplace_back("received");
        if (self.act)
            self.act();
    }
    static void on_disconnected(const char *, const char *, void *test)
    {
        auto &self = *static_cast<RaisedEvents *>(test);
        self.record.emplace_back("disconnected");
        if (self.act)
            self.act();
    }

    Proxy &link() { return platform.proxy(); }
    int send()
    {
        rpc_port_parcel_h parcel = platform.parcel_of(i32(4));
        const int result = rpc_port_parcel_send(parcel, port);
        rpc_port_parcel_destroy(parcel);
        return result;
    }
    /// Returns the parcel of one read; empty if the read fails.
    Bytes read(rpc_port_h from)
    {
        rpc_port_parcel_h parcel = nullptr;
        if (rpc_port_parcel_create_from_port(&parcel, from) != 0)
            return {};
        const Bytes content = platform.content_of(parcel);
        rpc_port_parcel_destroy(parcel);
        return content;
    }

    FakePlatform &platform = FakePlatform::instance();
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h port = nullptr;
    rpc_port_h callback_port = nullptr;
    Strings record;
    std::function<void()> act;
};

TEST_F(RaisedEvents, InsideASendPrecedeTheRequest)
{
    link().raise_inside(Moment::send, received(i32(7)), 2);
    EXPECT_EQ(send(), 0);
    EXPECT_EQ(record, (Strings{"sent"}));
    EXPECT_EQ(send(), 0);
    EXPECT_EQ(record, (Strings{"sent", "received", "sent"}));
    EXPECT_EQ(read(callback_port), i32(7));
    EXPECT_EQ(platform.take_misuses(), Strings{});
}

TEST_F(RaisedEvents, InsideAWaitPrecedeTheParcel)
{
    Bytes taken;
    act = [&] { taken = read(port); };
    link().main_port.push(i32(1));
    link().main_port.push(i32(2));
    link().raise_inside(Moment::wait, received(i32(7)));
    EXPECT_EQ(read(port), i32(2));
    EXPECT_EQ(taken, i32(1));
}

TEST_F(RaisedEvents, InsideAWaitAreRaisedOnTheMainPortOnly)
{
    link().raise_inside(Moment::wait, received(i32(7)));
    link().callback_port.push(i32(1));
    EXPECT_EQ(read(callback_port), i32(1));
    EXPECT_EQ(link().unraised(), 1U);
    EXPECT_EQ(read(port), Bytes{}); // no parcel has arrived: the read fails after its event
    EXPECT_EQ(record, (Strings{"received"}));
}

TEST_F(RaisedEvents, CountNestedSendsFromTheirBeginning)
{
    act = [&] {
        act = nullptr;
        send();
    };
    link().raise_inside(Moment::send, received(i32(7)), 1);
    link().raise_inside(Moment::send, received(i32(8)), 2); // inside the send of the callback
    EXPECT_EQ(send(), 0);
    EXPECT_EQ(record, (Strings{"received", "received", "sent", "sent"}));
}

TEST_F(RaisedEvents, DisconnectedInsideASendFailsItAndTheNextRead)
{
    link().main_port.push(i32(1));
    link().raise_inside(Moment::send, disconnected());
    EXPECT_LT(send(), 0);
    EXPECT_EQ(record, (Strings{"disconnected"}));
    EXPECT_EQ(read(port), Bytes{});
    EXPECT_LT(send(), 0);
    EXPECT_EQ(record, (Strings{"disconnected"}));
}

TEST_F(RaisedEvents, DisconnectedInsideAWaitFailsTheRead)
{
    link().main_port.push(i32(1));
    link().raise_inside(Moment::wait, disconnected());
    EXPECT_EQ(read(port), Bytes{});
    EXPECT_EQ(record, (Strings{"disconnected"}));
}

TEST_F(RaisedEvents, InsideDestroyCannotUseTheProxy)
{
    act = [&] { read(callback_port); };
    link().raise_inside(Moment::destroy, received(i32(7)));
    link().raise_inside(Moment::destroy, disconnected());
    EXPECT_EQ(rpc_port_proxy_destroy(proxy), 0);
    EXPECT_EQ(record, (Strings{"received", "disconnected"}));
    EXPECT_EQ(platform.take_misuses(), (Strings{"rpc_port_parcel_create_from_port of a dead port",
                                                "rpc_port_parcel_create_from_port of a dead port"}));
}

TEST_F(RaisedEvents, EndIfOneOfThemDestroysTheProxy)
{
    act = [&] { rpc_port_proxy_destroy(proxy); };
    link().raise_inside(Moment::wait, received(i32(7)));
    link().raise_inside(Moment::wait, received(i32(8)));
    link().main_port.push(i32(1));
    EXPECT_EQ(read(port), Bytes{});
    EXPECT_EQ(record, (Strings{"received"}));
    EXPECT_EQ(platform.take_misuses(), Strings{});
}

TEST_F(RaisedEvents, LetACallSucceedAlthoughItsProxyWasDestroyed)
{
    platform.finishes_after_destroy = true;
    act = [&] { rpc_port_proxy_destroy(proxy); };
    link().raise_inside(Moment::wait, received(i32(7)));
    link().main_port.push(i32(1));
    EXPECT_EQ(read(port), i32(1));
    EXPECT_EQ(platform.take_misuses(), Strings{});
    EXPECT_LT(send(), 0);
    EXPECT_EQ(platform.take_misuses(), (Strings{"rpc_port_parcel_send of a dead port"}));
}

TEST_F(RaisedEvents, ThatAreNeverRaisedAreDetected)
{
    link().raise_inside(Moment::send, disconnected());
    EXPECT_EQ(platform.take_misuses(), (Strings{"a scheduled event was never raised"}));
}

TEST_F(RaisedEvents, DetectARequestThatIsDestroyedInsideItsSend)
{
    rpc_port_parcel_h parcel = platform.parcel_of(i32(4));
    act = [&] { rpc_port_parcel_destroy(parcel); };
    link().raise_inside(Moment::send, received(i32(7)));
    rpc_port_parcel_send(parcel, port);
    EXPECT_EQ(platform.take_misuses(), (Strings{"the parcel was destroyed inside its own send"}));
}

TEST(ReusedBlocks, AreTheLastFreedOfTheirSize)
{
    const std::size_t before = allocs::live_blocks();
    {
        allocs::ReuseBlocks reuse;
        void *first = malloc(72);
        void *second = malloc(72);
        const auto address = reinterpret_cast<std::uintptr_t>(second);
        static_cast<unsigned char *>(second)[5] = 9;
        free(first);
        free(second);
        auto *other = static_cast<unsigned char *>(calloc(1, 73));
        auto *again = static_cast<unsigned char *>(calloc(9, 8));
        EXPECT_NE(reinterpret_cast<std::uintptr_t>(other), address);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(again), address);
        EXPECT_EQ(again[5], 0);
        free(other);
        free(again);
    }
    EXPECT_EQ(allocs::live_blocks(), before);
}

} // namespace
} // namespace kv::test
