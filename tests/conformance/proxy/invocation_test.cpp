// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/proxy_fixture.hpp"

#include <last_result.h>

#include <cstdlib>
#include <utility>

namespace kv::test {
namespace {

const std::string stop_name = "rpc_port_proxy_kv_master_invoke_stop";

class Invocation : public ProxyTest {
protected:
    void SetUp() override
    {
        ProxyTest::SetUp();
        connect();
        set_last_result(stale_last_result);
        platform.calls.clear();
    }

    static void destroy_proxy_of(void *test) { static_cast<Invocation *>(test)->destroy(); }

    int stop() { return rpc_port_proxy_kv_master_invoke_stop(proxy); }
};

TEST_F(Invocation, ReturnsTheAgentsResultAndSetsTheLastResultTo0)
{
    for (int result : {0, 1, -1, -13, 2147483647, -2147483647 - 1}) {
        set_last_result(stale_last_result);
        arrives(reply(result));
        EXPECT_EQ(stop(), result);
        EXPECT_EQ(get_last_result(), 0);
    }
    EXPECT_TRUE(platform.log.lines().empty());
}

TEST_F(Invocation, SendsOneParcelAndReadsOne)
{
    arrives(reply(0));
    arrives(reply(5));
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(platform.main_port().incoming.size(), 1U);
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_send"), 1U);
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_create_from_port"), 1U);
}

TEST_F(Invocation, RefusesANullHandleAndKeepsTheLastResult)
{
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_stop(nullptr), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(stop_name, "Invalid parameter")}));
    EXPECT_EQ(get_last_result(), stale_last_result);
}

TEST_F(Invocation, RefusesAMissingArgumentAndSendsNothing)
{
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_signup_cloud(proxy, nullptr), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_send_ap_list(proxy, 1, nullptr), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_sub_device_presence(proxy, nullptr, true), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_status_changed_cb(proxy, nullptr), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_get_device_id(proxy, nullptr), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_is_update_ready(proxy, nullptr), -1);
    EXPECT_EQ(platform.log.count("Invalid parameter"), 6U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(Invocation, RefusesAMissingDelegateAndLeavesTheOtherToTheCaller)
{
    auto *generated = rpc_port_kv_master_pin_generate_cb_create([](void *, const char *, int) {}, false, nullptr);
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_pin_cb(proxy, generated, nullptr), -1);
    EXPECT_EQ(proxy->delegates, nullptr);
    std::free(generated); // the caller still owns it
}

TEST_F(Invocation, FailsWithNotConnectedOnAnUnconnectedProxyAndSendsNothing)
{
    platform.proxy().fire_disconnected();
    platform.log.clear();
    EXPECT_EQ(stop(), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(stop_name, "Not connected")}));
    EXPECT_EQ(get_last_result(), stale_last_result);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_create"), 0U);
}

TEST_F(Invocation, FailsWithNotConnectedBeforeTheConnectedEvent)
{
    destroy();
    create();
    rpc_port_proxy_kv_master_connect(proxy);
    EXPECT_EQ(stop(), -1);
    EXPECT_EQ(platform.log.count("Not connected"), 1U);
}

TEST_F(Invocation, WaitsForAReplyAfterAFailedSendAndSetsTheLastResultToMinus5)
{
    platform.main_port().send_results = {-104};
    arrives(reply(3));
    EXPECT_EQ(stop(), 3);
    EXPECT_EQ(get_last_result(), -5);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(stop_name, "Failed to send parcel. result(-104)")}));
}

TEST_F(Invocation, FailsWithInvalidProtocolIfTheLinkClosesBeforeTheReply)
{
    arrives(event(1, 1, false, i32(1)));
    EXPECT_EQ(stop(), -1);
    EXPECT_EQ(get_last_result(), -5);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(stop_name, "Invalid protocol")}));
}

TEST_F(Invocation, DiscardsOtherParcelsWithoutALogLine)
{
    arrives(event(1, 1, false, i32(1)));
    arrives(bytes(i32(2147483647)));
    arrives(bytes(i32(-1), i32(0)));
    arrives({});
    arrives({0, 0, 0});
    arrives(reply(7));
    EXPECT_EQ(stop(), 7);
    EXPECT_TRUE(platform.log.lines().empty());
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_destroy"), 7U);
}

TEST_F(Invocation, SendsANullStringAsTheEmptyText)
{
    arrives(reply(0));
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_nick_name(proxy, 3, nullptr), 0);
    EXPECT_EQ(sent(), (std::vector<Bytes>{bytes(i32(47), i32(3), str(""))}));
}

TEST_F(Invocation, KeepsOutValuesIfTheAgentRefuses)
{
    bool ready = false;
    char *text = nullptr;
    int number = 99;
    arrives(reply(-13, boolean(true)));
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_is_update_ready(proxy, &ready), -13);
    arrives(reply(1, str("x")));
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_get_device_id(proxy, &text), 1);
    arrives(reply(-1, i32(5)));
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_get_thing_status(proxy, &number), -1);
    EXPECT_FALSE(ready);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(number, 99);
}

TEST_F(Invocation, FailsOnALengthBeyondTheEndOfTheReplyAndAllocatesNothing)
{
    char *text = nullptr;
    for (int length : {5, 1000, 2147483647, -1}) {
        allocs::reset_largest();
        arrives(bytes(i32(0), i32(length), Bytes{'a', 'b', 'c', 'd'}));
        EXPECT_EQ(rpc_port_proxy_kv_master_invoke_get_device_id(proxy, &text), -1) << length;
        EXPECT_EQ(get_last_result(), 0);
        EXPECT_LE(allocs::largest(), 65536U);
    }
    EXPECT_EQ(text, nullptr);
}

TEST_F(Invocation, TransfersADelegateToTheProxyOnceTheRequestContainsIt)
{
    for (const char *failure : {"rpc_port_parcel_send", "rpc_port_parcel_create_from_port"}) {
        auto *delegate = rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr);
        platform.results[failure] = -5;
        EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), -1);
        platform.results.clear();
        EXPECT_EQ(g_list_index(proxy->delegates, delegate), 0);
        EXPECT_EQ(rpc_port_proxy_kv_master_user_confirm_cb_dispose(proxy, delegate), 0);
    }
}

TEST_F(Invocation, LeavesADelegateToTheCallerIfTheRequestCannotContainIt)
{
    for (const char *failure : {"rpc_port_parcel_create", "rpc_port_parcel_write_int32", "rpc_port_parcel_write"}) {
        auto *delegate = rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr);
        platform.results[failure] = -12;
        EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), -1);
        platform.results.clear();
        EXPECT_EQ(proxy->delegates, nullptr);
        std::free(delegate);
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(Invocation, LogsWhatFailedBeforeTheSend)
{
    platform.results["rpc_port_parcel_create"] = -12;
    EXPECT_EQ(stop(), -1);
    platform.results = {{"rpc_port_parcel_write_int32", -12}};
    EXPECT_EQ(stop(), -1);
    platform.results.clear();
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(stop_name, "Failed to create parcel. result(-12)"),
                                              proxy_error(stop_name, "Failed to write request")}));
    EXPECT_EQ(get_last_result(), stale_last_result);
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_send"), 0U);
}

/// The library above the proxy reports only that the session has ended.
TEST_F(Invocation, FailsIfAnEventInsideItDestroysTheProxy)
{
    auto *delegate = numbered(rpc_port_kv_master_user_confirm_cb_create(destroy_proxy_of, false, this), 71);
    arrives(reply(0));
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), 0);
    set_last_result(stale_last_result);
    platform.log.clear();
    platform.proxy().raise_inside(Moment::send, received(event(2, 71, false)));
    EXPECT_EQ(stop(), -1);
    EXPECT_EQ(get_last_result(), 0);
    const LogLines errors = platform.log.errors();
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.back(), proxy_error(stop_name, "The proxy was destroyed inside the call"));
}

TEST_F(Invocation, WorksInsideAnEventOfTheSameProxy)
{
    auto call_again = [](void *proxy_handle) {
        EXPECT_EQ(rpc_port_proxy_kv_master_invoke_stop(static_cast<ProxyHandle>(proxy_handle)), 12);
    };
    arrives(reply(0));
    auto *delegate = numbered(rpc_port_kv_master_user_confirm_cb_create(call_again, false, proxy), 71);
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), 0);
    arrives(reply(12));
    platform.proxy().push_event(event(2, 71, false));
    EXPECT_EQ(sent().size(), 2U);
}

TEST_F(Invocation, LeaksNothingAndSendsNoPartialRequestIfAPlatformCallFails)
{
    char *text = nullptr;
    const auto call = [&] { return rpc_port_proxy_kv_master_invoke_common_interface(proxy, "{\"a\":1}", &text); };
    const auto prepare = [&] {
        connect();
        arrives(reply(0, str("{}")));
    };
    unsigned runs = 0;
    fail_each_platform_call(prepare, call, [&](const std::string &failed, int result) {
        ++runs;
        const bool harmless = failed.empty() || failed.starts_with("rpc_port_parcel_destroy");
        EXPECT_EQ(result, harmless ? 0 : -1);
        EXPECT_EQ(text != nullptr, harmless);
        std::free(std::exchange(text, nullptr));
        for (const Bytes &request : sent())
            EXPECT_EQ(request, bytes(i32(102), str("{\"a\":1}")));
        EXPECT_EQ(platform.alive(), (std::vector<std::string>{"proxy"}));
    });
    EXPECT_EQ(runs, 11U);
}

} // namespace
} // namespace kv::test
