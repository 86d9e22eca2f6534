// SPDX-License-Identifier: Apache-2.0
#include "support/alloc_injector.hpp"
#include "support/fake_platform.hpp"

#include <dlog.h>
#include <last_result.h>
#include <package_info.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <thread>

/// The fakes detect the violations that the other tests rely on them to detect.
namespace kv::test {
namespace {

class Harness : public ::testing::Test {
protected:
    void SetUp() override { platform.reset(); }
    void TearDown() override { platform.reset(); }

    FakePlatform &platform = FakePlatform::instance();
};

using Strings = std::vector<std::string>;

TEST_F(Harness, EncodesBytesAsThePlatformDoes)
{
    EXPECT_EQ(i32(47), (Bytes{0x2f, 0, 0, 0}));
    EXPECT_EQ(i32(-2), (Bytes{0xfe, 0xff, 0xff, 0xff}));
    EXPECT_EQ(i32(0x01020304), (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(boolean(true), (Bytes{1}));
    EXPECT_EQ(boolean(false), (Bytes{0}));
    EXPECT_EQ(str("ab"), (Bytes{2, 0, 0, 0, 'a', 'b'}));
    EXPECT_EQ(str(""), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(reply(-13, boolean(true)), (Bytes{0, 0, 0, 0, 1, 0xf3, 0xff, 0xff, 0xff}));
    EXPECT_EQ(event(1, 71, false, i32(5)), (Bytes{1, 0, 0, 0, 1, 0, 0, 0, 71, 0, 0, 0, 0, 5, 0, 0, 0}));
}

TEST_F(Harness, ReadsBackWhatAParcelContains)
{
    rpc_port_parcel_h written = nullptr;
    ASSERT_EQ(rpc_port_parcel_create(&written), 0);
    ASSERT_EQ(rpc_port_parcel_write_int32(written, -5), 0);
    ASSERT_EQ(rpc_port_parcel_write_bool(written, true), 0);
    ASSERT_EQ(rpc_port_parcel_write_string(written, "attic"), 0);
    ASSERT_EQ(platform.content_of(written), bytes(i32(-5), boolean(true), str("attic")));

    int number = 0;
    bool flag = false;
    char *text = nullptr;
    EXPECT_EQ(rpc_port_parcel_read_int32(written, &number), 0);
    EXPECT_EQ(rpc_port_parcel_read_bool(written, &flag), 0);
    EXPECT_EQ(rpc_port_parcel_read_string(written, &text), 0);
    EXPECT_EQ(number, -5);
    EXPECT_TRUE(flag);
    EXPECT_STREQ(text, "attic");
    free(text);
    rpc_port_parcel_destroy(written);
    EXPECT_EQ(platform.take_misuses(), Strings{});
}

TEST_F(Harness, FailsToReadPastTheEndAndKeepsTheValue)
{
    rpc_port_parcel_h parcel = platform.parcel_of({1, 2, 3});
    int number = 99;
    char *text = nullptr;
    EXPECT_LT(rpc_port_parcel_read_int32(parcel, &number), 0);
    EXPECT_LT(rpc_port_parcel_read_string(parcel, &text), 0);
    EXPECT_EQ(number, 99);
    EXPECT_EQ(text, nullptr);
}

TEST_F(Harness, FailsToReadAnImpossibleArrayCount)
{
    int items = 99;
    EXPECT_LT(rpc_port_parcel_read_array_count(platform.parcel_of(count(-1)), &items), 0);
    EXPECT_LT(rpc_port_parcel_read_array_count(platform.parcel_of(bytes(count(2), boolean(true))), &items), 0);
    EXPECT_EQ(items, 99);
    EXPECT_EQ(rpc_port_parcel_read_array_count(platform.parcel_of(count(0)), &items), 0);
    EXPECT_EQ(items, 0);
}

TEST_F(Harness, DetectsAHandleThatIsNeverReleased)
{
    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_proxy_create(&proxy);
    EXPECT_EQ(platform.alive(), (Strings{"proxy", "parcel"}));
    rpc_port_parcel_destroy(parcel);
    rpc_port_proxy_destroy(proxy);
    EXPECT_EQ(platform.alive(), Strings{});
}

TEST_F(Harness, DetectsAHandleThatIsReleasedTwice)
{
    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    rpc_port_parcel_destroy(parcel);
    rpc_port_parcel_destroy(parcel);
    EXPECT_EQ(platform.take_misuses(), (Strings{"rpc_port_parcel_destroy of a dead parcel"}));
}

TEST_F(Harness, DetectsAHandleThatIsUsedAfterItsRelease)
{
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_proxy_create(&proxy);
    rpc_port_h port = nullptr;
    rpc_port_proxy_get_port(proxy, RPC_PORT_PORT_MAIN, &port);
    rpc_port_proxy_destroy(proxy);
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_LT(rpc_port_parcel_create_from_port(&parcel, port), 0);
    EXPECT_LT(rpc_port_proxy_connect(proxy, "a", "b"), 0);
    int not_a_handle = 0;
    event_remove_event_handler(&not_a_handle);
    EXPECT_EQ(platform.take_misuses(),
              (Strings{"rpc_port_parcel_create_from_port of a dead port", "rpc_port_proxy_connect of a dead proxy",
                       "event_remove_event_handler of a handle that is none"}));
}

TEST_F(Harness, FailsAtOnceOnAnEmptyPortAndDropsAFailedSend)
{
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_proxy_create(&proxy);
    rpc_port_h port = nullptr;
    rpc_port_proxy_get_port(proxy, RPC_PORT_PORT_MAIN, &port);
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_LT(rpc_port_parcel_create_from_port(&parcel, port), 0);

    rpc_port_parcel_h request = platform.parcel_of(i32(4));
    platform.main_port().send_results = {-32};
    EXPECT_EQ(rpc_port_parcel_send(request, port), -32);
    EXPECT_TRUE(platform.main_port().sent.empty());
    EXPECT_EQ(rpc_port_parcel_send(request, port), 0);
    EXPECT_EQ(platform.main_port().sent, (std::vector<Bytes>{i32(4)}));
}

TEST_F(Harness, RaisesNoEventsAfterTheEndOfTheProxy)
{
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_proxy_create(&proxy);
    auto destroy = [](const char *, const char *, void *handle) { rpc_port_proxy_destroy(handle); };
    rpc_port_proxy_add_disconnected_event_cb(proxy, destroy, proxy);
    rpc_port_proxy_add_disconnected_event_cb(proxy, destroy, proxy); // not called: the proxy no longer exists
    platform.proxy().fire_disconnected();
    EXPECT_EQ(platform.take_misuses(), Strings{});
    platform.proxy().fire_disconnected();
    EXPECT_EQ(platform.take_misuses(), (Strings{"an event of a dead proxy"}));
}

TEST_F(Harness, FailsOnlyTheNthPlatformCall)
{
    platform.faults.fail(2);
    rpc_port_parcel_h one = nullptr;
    rpc_port_parcel_h two = nullptr;
    EXPECT_EQ(rpc_port_parcel_create(&one), 0);
    EXPECT_LT(rpc_port_parcel_create(&two), 0);
    EXPECT_EQ(two, nullptr);
    EXPECT_EQ(rpc_port_parcel_create(&two), 0);
    EXPECT_EQ(platform.faults.function(), "rpc_port_parcel_create 2");

    platform.faults.fail(9);
    rpc_port_parcel_destroy(one);
    EXPECT_FALSE(platform.faults.injected());
}

TEST_F(Harness, KeepsALastResultPerThread)
{
    set_last_result(-5);
    int elsewhere = -1;
    std::thread([&] { elsewhere = get_last_result(); }).join();
    EXPECT_EQ(elsewhere, 0);
    EXPECT_EQ(get_last_result(), -5);
}

TEST_F(Harness, SplitsALogLine)
{
    dlog_print(6, "KORVANE-API", "%s : %s(%d) >[%d.%d.%d] handle is NULL\n", "korvane.cpp", "korvane_stop", 12, 2, 3,
               3);
    dlog_print(5, "RPC_PORT_PROXY", "%s: %s(%d) > id(%d)", "korvane_master_proxy.cpp", "f", 7, 9);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_error("korvane_stop", "handle is NULL"), proxy_warning("f", "id(9)")}));
    EXPECT_EQ(platform.log.malformed(), Strings{});
}

TEST_F(Harness, DetectsAMalformedLogLine)
{
    dlog_print(6, "KORVANE-API", "%s : %s(%d) >[2.3.3] no end of line", "korvane.cpp", "f", 12);
    dlog_print(6, "RPC_PORT_PROXY", "only text");
    dlog_print(6, "OTHER", "%s: %s(%d) > text", "a.cpp", "f", 7);
    EXPECT_EQ(platform.log.malformed().size(), 3U);
}

TEST_F(Harness, ReportsOtherPackagesAsNotInstalled)
{
    package_info_h package = nullptr;
    EXPECT_EQ(package_info_create("org.example.other", &package), -18153359);
    EXPECT_EQ(package, nullptr);
    EXPECT_EQ(package_info_destroy(nullptr), 0);
}

TEST_F(Harness, KeepsEachKindOfValueOfABundleSeparately)
{
    bundle_s data;
    data.text("t", "x").array("a", {"p", "q"}).data("d", {1, 2});
    char *text = nullptr;
    int length = 0;
    void *block = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(bundle_get_str(&data, "t", &text), 0);
    EXPECT_STREQ(text, "x");
    const char **array = bundle_get_str_array(&data, "a", &length);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(length, 2);
    EXPECT_STREQ(array[1], "q");
    EXPECT_EQ(bundle_get_byte(&data, "d", &block, &size), 0);
    EXPECT_EQ(size, 2U);
    EXPECT_LT(bundle_get_str(&data, "a", &text), 0);
    EXPECT_EQ(bundle_get_str_array(&data, "t", &length), nullptr);
    EXPECT_LT(bundle_get_byte(&data, "t", &block, &size), 0);
}

TEST_F(Harness, FailsTheNthAllocationAndCountsLeakedBlocks)
{
    const std::size_t before = allocs::live_blocks();
    allocs::fail_nth(3);
    void *first_block = malloc(10);
    char *second_block = strdup("text");
    void *third_block = calloc(2, 2);
    allocs::stop_failing();
    EXPECT_NE(first_block, nullptr);
    EXPECT_NE(second_block, nullptr);
    EXPECT_EQ(third_block, nullptr);
    EXPECT_TRUE(allocs::failed());
    EXPECT_EQ(allocs::live_blocks(), before + 2);

    first_block = realloc(first_block, 5000);
    EXPECT_EQ(allocs::live_blocks(), before + 2);
    EXPECT_GE(allocs::largest(), 5000U);
    free(first_block);
    free(second_block);
    EXPECT_EQ(allocs::live_blocks(), before);
}

TEST_F(Harness, KeepsTheOldBlockOfAFailedReallocation)
{
    const std::size_t before = allocs::live_blocks();
    void *block = malloc(10);
    void *(*const volatile resize)(void *, std::size_t) =
        realloc; // volatile, because the compiler rejects a use of the old block otherwise
    allocs::fail_nth(1);
    void *grown = resize(block, 20);
    allocs::stop_failing();
    EXPECT_EQ(grown, nullptr);
    EXPECT_EQ(allocs::live_blocks(), before + 1);
    free(block);
}

} // namespace
} // namespace kv::test
