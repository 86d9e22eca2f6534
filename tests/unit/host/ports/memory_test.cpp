// SPDX-License-Identifier: Apache-2.0
//
// The memory of long parcels, measured as the process's resident pages.
#include <sys/socket.h>

#include <fstream>

#include "fixture.hpp"

namespace kv::test {
namespace {

using MemoryTest = PortsTest;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool has_address_sanitizer = true;
#elif defined(__has_feature)
constexpr bool has_address_sanitizer = __has_feature(address_sanitizer);
#else
constexpr bool has_address_sanitizer = false;
#endif

constexpr size_t mib = size_t{1} << 20;

/// A line of /proc/self/status, in bytes: VmRSS is what is resident now, VmHWM the maximum.
size_t memory(const std::string &line)
{
    std::ifstream file("/proc/self/status");
    for (std::string text; std::getline(file, text);)
        if (text.starts_with(line + ":"))
            return std::stoul(text.substr(line.size() + 1)) << 10;
    ADD_FAILURE() << line;
    return 0;
}

/// Sends an event of that size from another process, and reads it.
void receive_event(Proxy &proxy, const RawAgent &agent, size_t size)
{
    proxy.received = 0;
    Child sender([&](const auto &ready, const auto &) {
        ready();
        agent.callback->send(frame(std::string(size, 'x')));
    });
    EXPECT_TRUE(run_until([&] { return proxy.received == 1; }));
}

TEST_F(MemoryTest, IsReturnedToTheSystemAfterALongEvent)
{
    if (has_address_sanitizer)
        GTEST_SKIP() << "the sanitizer keeps released memory";
    Proxy proxy;
    RawAgent agent(socket_path(), proxy);
    proxy.on_received = [&] { EXPECT_EQ(0, proxy.read_code(proxy.callback_port())); };
    receive_event(proxy, agent, 1000);
    const size_t before = memory("VmRSS");
    for (const size_t size : {16 * mib, 8 * mib, 4 * mib, 2 * mib, 1 * mib, 16 * mib, 3 * mib})
        receive_event(proxy, agent, size);
    EXPECT_GT(before + mib / 2, memory("VmRSS"));
}

TEST_F(MemoryTest, HoldsALongEventOnce)
{
    if (has_address_sanitizer)
        GTEST_SKIP() << "the sanitizer uses memory itself";
    // The maximum of a child begins with what is resident at the fork.
    const ChildResult result = in_child({}, [this] {
        Proxy proxy;
        RawAgent agent(socket_path(), proxy);
        proxy.on_received = [&] { EXPECT_EQ(0, proxy.read_code(proxy.callback_port())); };
        receive_event(proxy, agent, 1000);
        const size_t before = memory("VmHWM");
        receive_event(proxy, agent, 16 * mib);
        EXPECT_GT(before + 18 * mib, memory("VmHWM"));
    });
    EXPECT_EQ(0, result.status) << result.text();
}

} // namespace
} // namespace kv::test
