// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/proxy_fixture.hpp"

#include "src/korvane_master_proxy/connection.hpp"

namespace kv::test {
namespace {

using Strings = std::vector<std::string>;

constexpr rpc_port_proxy_kv_master_callback_s no_callbacks{};
const std::string endpoint_message = "[__RPC_PORT__] endpoint(org.korvane.agent), port_name(kv_master)";

class ProxyConnection : public ProxyTest {};

TEST_F(ProxyConnection, CreateRegistersTheEventsInOrderWithoutConnecting)
{
    create();
    EXPECT_EQ(platform.calls,
              (Strings{"rpc_port_proxy_create", "rpc_port_proxy_add_connected_event_cb",
                       "rpc_port_proxy_add_disconnected_event_cb", "rpc_port_proxy_add_rejected_event_cb",
                       "rpc_port_proxy_add_received_event_cb"}));
    EXPECT_TRUE(platform.log.lines().empty());
    EXPECT_EQ(proxy->port, nullptr);
}

TEST_F(ProxyConnection, CreateWithANullArgumentFailsWithInvalidParameterAndAllocatesNothing)
{
    const std::size_t blocks = allocs::live_blocks();
    const LogLine line = proxy_error("rpc_port_proxy_kv_master_create", "Invalid parameter");
    EXPECT_EQ(rpc_port_proxy_kv_master_create(nullptr, &no_callbacks, nullptr, &proxy), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_create(agent_appid, nullptr, nullptr, &proxy), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_create(agent_appid, &no_callbacks, nullptr, nullptr), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{line, line, line}));
    EXPECT_EQ(allocs::live_blocks(), blocks);
    EXPECT_TRUE(platform.calls.empty());
    EXPECT_EQ(proxy, nullptr);
}

TEST_F(ProxyConnection, ConnectRequestsTheAgentsPort)
{
    create();
    EXPECT_EQ(rpc_port_proxy_kv_master_connect(proxy), 0);
    EXPECT_EQ(platform.proxy().appid, agent_appid);
    EXPECT_EQ(platform.proxy().port_name, "kv_master");
    EXPECT_TRUE(seen.empty());
}

TEST_F(ProxyConnection, ConnectReturnsThePlatformsCodeAndKeepsTheProxy)
{
    create();
    for (int code : {-13, -5, -4711, 3}) {
        platform.log.clear();
        platform.results["rpc_port_proxy_connect"] = code;
        EXPECT_EQ(rpc_port_proxy_kv_master_connect(proxy), code);
        EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error("rpc_port_proxy_kv_master_connect",
                                                              "Failed to connect kv_master(org.korvane.agent)")}));
    }
    platform.results.clear();
    EXPECT_EQ(rpc_port_proxy_kv_master_connect(proxy), 0);
}

TEST_F(ProxyConnection, ConnectWithoutAProxyFailsWithInvalidParameter)
{
    EXPECT_EQ(rpc_port_proxy_kv_master_connect(nullptr), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error("rpc_port_proxy_kv_master_connect", "Invalid parameter")}));
}

/// A callback that destroys the proxy inside a call may still have its address.
TEST_F(ProxyConnection, ConnectOfAProxyThatWasDestroyedInsideACallFailsWithInvalidParameter)
{
    connect();
    platform.proxy().raise_inside(Moment::send, [this](Proxy &) {
        const ProxyHandle destroyed = proxy;
        destroy();
        EXPECT_EQ(rpc_port_proxy_kv_master_connect(destroyed), -1);
    });
    EXPECT_EQ(rpc_port_proxy_kv_master_invoke_stop(proxy), -1);
    EXPECT_TRUE(platform.log.has(proxy_error("rpc_port_proxy_kv_master_connect", "Invalid parameter")));
    EXPECT_EQ(platform.calls_to("rpc_port_proxy_connect"), 0U);
}

TEST_F(ProxyConnection, DestroyOfNullFailsWithInvalidParameter)
{
    EXPECT_EQ(rpc_port_proxy_kv_master_destroy(nullptr), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error("rpc_port_proxy_kv_master_destroy", "Invalid parameter")}));
}

TEST_F(ProxyConnection, EventsSetAndClearThePortAndCallAndLog)
{
    create();
    rpc_port_proxy_kv_master_connect(proxy);
    Proxy &link = platform.proxy();
    link.fire_connected();
    EXPECT_EQ(proxy->port, static_cast<Handle *>(&link.main_port));
    EXPECT_EQ(proxy->callback_port, static_cast<Handle *>(&link.callback_port));
    link.fire_disconnected();
    EXPECT_EQ(proxy->port, nullptr);
    EXPECT_EQ(proxy->callback_port, static_cast<Handle *>(&link.callback_port));
    link.fire_connected();
    link.fire_rejected(-13);
    EXPECT_EQ(proxy->port, nullptr);
    EXPECT_EQ(seen, (Strings{"connected", "disconnected", "connected", "rejected"}));
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_info("__kv_master_on_connected", endpoint_message),
                                              proxy_info("__kv_master_on_disconnected", endpoint_message),
                                              proxy_info("__kv_master_on_connected", endpoint_message),
                                              proxy_info("__kv_master_on_rejected", endpoint_message)}));
}

TEST_F(ProxyConnection, LogsEventsWithoutCallbacks)
{
    ASSERT_EQ(rpc_port_proxy_kv_master_create(agent_appid, &no_callbacks, nullptr, &proxy), 0);
    platform.proxy().fire_connected();
    platform.proxy().fire_disconnected();
    platform.proxy().fire_rejected(-5);
    EXPECT_EQ(platform.log.lines().size(), 3U);
}

TEST_F(ProxyConnection, CopiesTheCallbackRecord)
{
    auto record = std::make_unique<rpc_port_proxy_kv_master_callback_s>();
    static bool called;
    called = false;
    record->disconnected = [](ProxyHandle, void *) { called = true; };
    ASSERT_EQ(rpc_port_proxy_kv_master_create(agent_appid, record.get(), nullptr, &proxy), 0);
    record.reset();
    platform.proxy().fire_disconnected();
    EXPECT_TRUE(called);
}

TEST_F(ProxyConnection, CanBeDestroyedInsideEachOfItsCallbacks)
{
    constexpr auto destroy_it = [](ProxyHandle h, void *) { rpc_port_proxy_kv_master_destroy(h); };
    const rpc_port_proxy_kv_master_callback_s destroying = {destroy_it, destroy_it, destroy_it};
    for (int event = 0; event < 3; ++event) {
        ProxyHandle doomed = nullptr;
        ASSERT_EQ(rpc_port_proxy_kv_master_create(agent_appid, &destroying, nullptr, &doomed), 0);
        Proxy &link = platform.proxy();
        if (event == 0)
            link.fire_connected();
        else if (event == 1)
            link.fire_disconnected();
        else
            link.fire_rejected(-13);
        EXPECT_FALSE(link.alive);
    }
    EXPECT_EQ(platform.log.lines().size(), 3U);
}

TEST_F(ProxyConnection, IgnoresEventsInsideItsDestruction)
{
    connect();
    seen.clear();
    platform.proxy().raise_inside(Moment::destroy, [](Proxy &link) { link.fire_connected(); });
    platform.proxy().raise_inside(Moment::destroy, disconnected());
    platform.proxy().raise_inside(Moment::destroy, [](Proxy &link) { link.fire_rejected(-5); });
    destroy();
    EXPECT_EQ(seen, Strings{});
    EXPECT_EQ(platform.log.lines(), LogLines{});
}

TEST_F(ProxyConnection, DestroyFreesEveryDelegateWithoutCallingOrLogging)
{
    connect();
    static bool called;
    called = false;
    for (int i = 0; i < 3; ++i) {
        auto *delegate = rpc_port_kv_master_user_confirm_cb_create([](void *) { called = true; }, false, nullptr);
        arrives(reply(0));
        ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), 0);
    }
    platform.log.clear();
    destroy();
    EXPECT_FALSE(called);
    EXPECT_TRUE(platform.log.lines().empty());
}

TEST_F(ProxyConnection, LogsAndDropsAnEventWithoutACallbackPort)
{
    create();
    rpc_port_proxy_kv_master_connect(proxy);
    platform.results["rpc_port_proxy_get_port"] = -5;
    platform.proxy().fire_connected();
    EXPECT_EQ(seen, (Strings{"connected"}));
    platform.log.clear();
    platform.proxy().fire_received();
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("__kv_master_on_received", "Failed to create parcel from port(kv_master)")}));
}

TEST_F(ProxyConnection, FailedCreateLeaksNothing)
{
    const auto create_it = [&] { return rpc_port_proxy_kv_master_create(agent_appid, &no_callbacks, nullptr, &proxy); };
    int runs = 0;
    fail_each_platform_call([] {}, create_it,
                            [&](const std::string &failed, int result) {
                                ++runs;
                                EXPECT_EQ(result, failed.empty() ? 0 : -1);
                                EXPECT_EQ(proxy != nullptr, failed.empty());
                                EXPECT_EQ(platform.log.errors().size(), failed.empty() ? 0U : 1U);
                            });
    EXPECT_EQ(runs, 6);

    runs = 0;
    fail_each_allocation([] {}, create_it,
                         [&](int before, int result) {
                             ++runs;
                             EXPECT_EQ(result, before < 0 ? 0 : -1);
                             if (before >= 0) {
                                 EXPECT_EQ(platform.log.lines(),
                                           (LogLines{proxy_error("__create_kv_master", "Out of memory")}));
                             }
                         });
    EXPECT_EQ(runs, 3);
}

} // namespace
} // namespace kv::test
