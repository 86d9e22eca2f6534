// SPDX-License-Identifier: Apache-2.0
#include "library_fixture.hpp"

#include "common/agent_state.hpp"
namespace kv::test {

namespace {

void note_status(int result, korvane_h handle, int status, void *statuses)
{
    static_cast<std::vector<StatusNotice> *>(statuses)->push_back({result, handle, status});
}

} // namespace

void LibraryTest::begin_run()
{
    PlatformTest::begin_run();
    forget_the_agent();
    kv::agent.update = kv::AgentState::none;
    statuses.clear();
    handle = nullptr;
}

void LibraryTest::end_run()
{
    allocs::stop_failing();
    platform.faults.disarm();
    if (kv::api::live_session)
        korvane_deinitialize(kv::api::live_session);
    PlatformTest::end_run();
}

korvane_h LibraryTest::initialize()
{
    EXPECT_EQ(korvane_initialize(&handle, note_status, &statuses), KORVANE_ERROR_NONE);
    return handle;
}

korvane_h LibraryTest::connect()
{
    initialize();
    auto &port = platform.main_port();
    agent_answers();
    platform.proxy().fire_connected();
    port.on_sent = nullptr;
    EXPECT_EQ(statuses, (std::vector<StatusNotice>{{0, handle, 0}}));
    forget_the_past();
    return handle;
}

void LibraryTest::forget_the_past()
{
    statuses.clear();
    platform.log.clear();
    platform.calls.clear();
    platform.main_port().sent.clear();
}

void LibraryTest::agent_answers(int result, bool update_ready)
{
    platform.main_port().on_sent = [=](Port &port, const Bytes &request) {
        port.push(first(request, 4) == i32(2) ? reply(result, boolean(update_ready)) : reply(result));
    };
}

void LibraryTest::announce(const bundle_s &data)
{
    ASSERT_EQ(platform.event_handlers().size(), 1U);
    platform.event_handlers().front()->fire(update_event, data);
}

void LibraryTest::forget_the_agent()
{
    kv::agent.support = kv::AgentState::unknown;
    kv::agent.version = 0;
}

} // namespace kv::test
