// SPDX-License-Identifier: Apache-2.0
#include "proxy_fixture.hpp"

namespace kv::test {

namespace {

using Told = std::vector<std::string>;

void on_connected(ProxyHandle, void *seen)
{
    static_cast<Told *>(seen)->push_back("connected");
}

void on_disconnected(ProxyHandle, void *seen)
{
    static_cast<Told *>(seen)->push_back("disconnected");
}

void on_rejected(ProxyHandle, void *seen)
{
    static_cast<Told *>(seen)->push_back("rejected");
}

constexpr rpc_port_proxy_kv_master_callback_s callbacks = {on_connected, on_disconnected, on_rejected};

} // namespace

ProxyHandle ProxyTest::create()
{
    EXPECT_EQ(rpc_port_proxy_kv_master_create(agent_appid, &callbacks, &seen, &proxy), 0);
    return proxy;
}

ProxyHandle ProxyTest::connect()
{
    create();
    EXPECT_EQ(rpc_port_proxy_kv_master_connect(proxy), 0);
    platform.proxy().fire_connected();
    platform.log.clear();
    platform.calls.clear();
    return proxy;
}

void ProxyTest::destroy()
{
    EXPECT_EQ(rpc_port_proxy_kv_master_destroy(proxy), 0);
    proxy = nullptr;
}

void ProxyTest::end_run()
{
    allocs::stop_failing();
    platform.faults.disarm();
    if (proxy)
        destroy();
    seen.clear();
    PlatformTest::end_run();
}

} // namespace kv::test
