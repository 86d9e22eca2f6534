// SPDX-License-Identifier: Apache-2.0
#include "handle_functions.hpp"

#include <map>

namespace kv::test {
namespace {

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int io_error = KORVANE_ERROR_IO_ERROR;
constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

/// The expected result of a call by the platform call that fails. With any other failure the call succeeds.
using Outcomes = std::map<std::string, int>;

int outcome_in(const Outcomes &outcomes, const std::string &failure)
{
    const auto found = outcomes.find(failure);
    return found == outcomes.end() ? ok : found->second;
}

class Failures : public LibraryTest {
protected:
    /// Fails if a platform call of the table was never made to fail, because its row would then check nothing.
    void expect_all_seen(const Outcomes &outcomes)
    {
        for (const auto &[call, code] : outcomes)
            EXPECT_TRUE(seen.contains(call)) << call << " was never made to fail";
    }

    std::map<std::string, int> seen;
};

TEST_F(Failures, OfAPlatformCallUndoesInitialize)
{
    const Outcomes outcomes = {
        {"rpc_port_proxy_create 1", failed},
        {"rpc_port_proxy_add_connected_event_cb 1", failed},
        {"rpc_port_proxy_add_disconnected_event_cb 1", failed},
        {"rpc_port_proxy_add_rejected_event_cb 1", failed},
        {"rpc_port_proxy_add_received_event_cb 1", failed},
        {"rpc_port_proxy_connect 1", KORVANE_ERROR_SERVICE_UNAVAILABLE},
        // The library works without the version and without the update event.
        {"package_info_create 1", ok},
        {"package_info_create 2", ok},
        {"package_info_get_version 1", ok},
        {"package_info_destroy 1", ok},
        {"event_add_event_handler 1", ok},
    };
    fail_each_platform_call([] {}, [&] { return korvane_initialize(&handle, nullptr, nullptr); },
                            [&](const std::string &failure, int result) {
                                seen[failure] = result;
                                EXPECT_EQ(result, outcome_in(outcomes, failure));
                                EXPECT_EQ(handle != nullptr, result == ok);
                                EXPECT_EQ(kv::api::live_session, handle);
                                if (result != ok) {
                                    EXPECT_EQ(platform.alive(), std::vector<std::string>{});
                                }
                            });
    expect_all_seen(outcomes);
}

TEST_F(Failures, OfAnAllocationUndoesInitialize)
{
    // Allocations in their order: the platform's copy of the version, the handle, the proxy, its copy of the agent's id.
    const std::vector<int> outcomes = {ok, KORVANE_ERROR_OUT_OF_MEMORY, failed, failed};
    int runs = 0;
    fail_each_allocation([] {}, [&] { return korvane_initialize(&handle, nullptr, nullptr); },
                         [&](int before, int result) {
                             ++runs;
                             const int expected = before < 0 ? ok : outcomes.at(static_cast<std::size_t>(before));
                             EXPECT_EQ(result, expected);
                             EXPECT_EQ(handle != nullptr, result == ok);
                             EXPECT_EQ(kv::api::live_session, handle);
                             EXPECT_EQ(platform.log.count("Memory allocation is failed"), before == 1 ? 1U : 0U);
                             EXPECT_EQ(platform.log.count("Out of memory"), before == 2 || before == 3 ? 1U : 0U);
                         });
    EXPECT_EQ(runs, 5);
}

/// Failures of each function that takes a live handle.
class FailuresOf : public Failures, public ::testing::WithParamInterface<Function> {
protected:
    void prepare()
    {
        connect();
        if (GetParam().asks_agent)
            arrives(reply(0));
    }

    /// The platform calls of a request, with the result if one fails.
    Outcomes outcomes()
    {
        if (!GetParam().asks_agent)
            return {};
        Outcomes of_any_request = {
            {"rpc_port_parcel_create 1", failed},       {"rpc_port_parcel_write_int32 1", failed},
            {"rpc_port_parcel_send 1", io_error},       {"rpc_port_parcel_create_from_port 1", io_error},
            {"rpc_port_parcel_read_int32 1", io_error}, // the parcel is discarded, and no other arrives
            {"rpc_port_parcel_read_int32 2", failed},   {"rpc_port_parcel_destroy 1", ok},
            {"rpc_port_parcel_destroy 2", ok},
        };
        if (GetParam().method != 4)
            of_any_request.merge(Outcomes{{"rpc_port_parcel_write_string 1", failed},
                                          {"rpc_port_parcel_write_int32 2", failed},
                                          {"rpc_port_parcel_write_int32 3", failed}});
        if (GetParam().method == 101)
            of_any_request.merge(Outcomes{{"rpc_port_parcel_write 1", failed},
                                          {"rpc_port_parcel_write_int32 4", failed},
                                          {"rpc_port_parcel_write_int32 5", failed},
                                          {"rpc_port_parcel_write_bool 1", failed}});
        return of_any_request;
    }
};

INSTANTIATE_TEST_SUITE_P(Call, FailuresOf, ::testing::ValuesIn(functions), name_of);

TEST_P(FailuresOf, OfAPlatformCallGivesItsCodeAndKeepsTheLibraryUsable)
{
    std::size_t blocks = 0;
    const auto ready = [&] {
        prepare();
        blocks = allocs::live_blocks();
    };
    fail_each_platform_call(
        ready, [&] { return GetParam().call(handle); },
        [&](const std::string &failure, int result) {
            seen[failure] = result;
            EXPECT_EQ(result, outcome_in(outcomes(), failure));
            if (GetParam().name == "korvane_deinitialize")
                return;
            EXPECT_EQ(platform.alive(), (std::vector<std::string>{"proxy", "event handler"}));
            if (result != ok) {
                EXPECT_EQ(allocs::live_blocks(), blocks) << "the failed call leaked memory";
            }
            agent_answers();
            EXPECT_EQ(korvane_start(handle), ok);
        });
    expect_all_seen(outcomes());
}

TEST_P(FailuresOf, OfAnAllocationGivesItsCodeAndKeepsTheLibraryUsable)
{
    int runs = 0;
    std::size_t blocks = 0;
    const auto ready = [&] {
        prepare();
        blocks = allocs::live_blocks();
    };
    fail_each_allocation(
        ready, [&] { return GetParam().call(handle); },
        [&](int before, int result) {
            ++runs;
            EXPECT_EQ(result, before < 0 ? ok : KORVANE_ERROR_OUT_OF_MEMORY);
            if (GetParam().name == "korvane_deinitialize")
                return;
            if (before >= 0) {
                EXPECT_EQ(allocs::live_blocks(), blocks);
                EXPECT_TRUE(sent().empty());
            }
            platform.main_port().incoming.clear();
            agent_answers();
            EXPECT_EQ(korvane_start(handle), ok);
        });
    // Only a one-shot request allocates: its record and its delegate.
    EXPECT_EQ(runs, GetParam().method == 101 ? 3 : 1);
}

TEST_F(Failures, OfTheStartAsyncDelegateLogsItsOwnText)
{
    connect();
    allocs::fail_nth(2);
    EXPECT_EQ(start_async(handle), KORVANE_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_info("korvane_start_async", ">>> called"),
                        proxy_error("rpc_port_kv_master_start_async_cb_create", "Out of memory"),
                        api_error("korvane_start_async", "rpc_port_kv_master_start_async_cb_create() failed")}));
}

TEST_F(Failures, OfAPlatformCallInTheConnectedHandlerStillReportsTheConnection)
{
    unsigned runs = 0;
    const auto ready = [&] {
        initialize();
        agent_answers();
    };
    const auto connected = [&] {
        platform.proxy().fire_connected();
        return 0;
    };
    fail_each_platform_call(ready, connected, [&](const std::string &, int) {
        ++runs;
        EXPECT_EQ(statuses, (std::vector<StatusNotice>{{ok, handle, 0}}));
    });
    EXPECT_GT(runs, 15U);
}

TEST_F(Failures, OfAPlatformCallDuringAnEventDropsItOrDeliversItOnce)
{
    static int callbacks = 0;
    Bytes answer;
    const auto ready = [&] {
        callbacks = 0;
        connect();
        arrives(reply(0));
        ASSERT_EQ(korvane_start_async(
                      handle, [](korvane_h, int, void *) { ++callbacks; }, nullptr),
                  ok);
        answer = event(27, last_seq_id(platform.log), true, i32(0));
    };
    const auto arrive = [&] {
        platform.proxy().push_event(answer);
        return 0;
    };
    const Outcomes dropped = {{"rpc_port_parcel_create_from_port 1", 0}, {"rpc_port_parcel_read_int32 1", 0},
                              {"rpc_port_parcel_read_int32 2", 0},       {"rpc_port_parcel_read_int32 3", 0},
                              {"rpc_port_parcel_read_bool 1", 0},        {"rpc_port_parcel_read_int32 4", 0}};
    fail_each_platform_call(ready, arrive, [&](const std::string &failure, int) {
        seen[failure] = callbacks;
        EXPECT_EQ(callbacks, dropped.contains(failure) ? 0 : 1);
        EXPECT_EQ(platform.log.errors().size(), dropped.contains(failure) ? 1U : 0U);
        arrive();
        EXPECT_EQ(callbacks, 1) << "a dropped event leaves the request waiting, a delivered one ends it";
    });
    expect_all_seen(dropped);
}

TEST_F(Failures, OfABundleCallReadsAsAMissingKey)
{
    fail_each_platform_call([&] { connect(); }, [&] { return update_starts(), 0; },
                            [&](const std::string &failure, int) {
                                EXPECT_EQ(platform.log.count(">>>> Agent update is started"),
                                          failure == "bundle_get_str_array 1" ? 0U : 1U);
                            });
}

} // namespace
} // namespace kv::test
