// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include "common/agent_state.hpp"

#include <last_result.h>

namespace kv::test {
namespace {

constexpr const char *initialize_name = "korvane_initialize";
const LogLine entered = api_info(initialize_name, ">>> called");
const LogLine api_version = api_info(initialize_name, "API version : [2.3.3]");
const LogLine agent_2_3 = common_info("_get_agent_version", "agent version [2.3.1]");

LogLine refused(const std::string &reason)
{
    return api_error(initialize_name, reason);
}

class Initialize : public LibraryTest {
protected:
    /// The value of the out argument before a call; a failed call must not change it.
    korvane_h untouched() { return reinterpret_cast<korvane_h>(&platform); }

    int refused_initialize(korvane_h expected)
    {
        korvane_h out = untouched();
        const int result = korvane_initialize(&out, nullptr, nullptr);
        EXPECT_EQ(out, expected);
        return result;
    }
};

TEST_F(Initialize, CreatesAHandleAndBeginsToConnect)
{
    initialize();
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(platform.proxy().appid, agent_appid);
    EXPECT_EQ(platform.proxy().port_name, "kv_master");
    EXPECT_EQ(platform.proxy().connects, 1);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(statuses.empty());
    EXPECT_EQ(platform.log.lines(), (LogLines{entered, api_version, agent_2_3}));
    EXPECT_EQ(platform.calls, (std::vector<std::string>{
                                  "package_info_create", "package_info_destroy", "package_info_create",
                                  "package_info_get_version", "package_info_destroy", "rpc_port_proxy_create",
                                  "rpc_port_proxy_add_connected_event_cb", "rpc_port_proxy_add_disconnected_event_cb",
                                  "rpc_port_proxy_add_rejected_event_cb", "rpc_port_proxy_add_received_event_cb",
                                  "set_last_result", "rpc_port_proxy_connect", "event_add_event_handler"}));
}

TEST_F(Initialize, RefusesANullOutPointerAfterTheChecksOfSupportAndVersion)
{
    EXPECT_EQ(korvane_initialize(nullptr, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{entered, api_version, agent_2_3, refused("handle is NULL")}));
    EXPECT_TRUE(platform.proxies().empty());
}

TEST_F(Initialize, IsNotSupportedWithoutAnAgentEvenWithANullOutPointer)
{
    platform.results["package_info_create"] = -18153359;
    EXPECT_EQ(korvane_initialize(nullptr, nullptr, nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(refused_initialize(untouched()), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(platform.log.lines(), (LogLines{entered, api_version, refused("Not Supported"), entered, api_version,
                                              refused("Not Supported")}));
}

TEST_F(Initialize, RefusesANegativeAgentVersionEvenWithANullOutPointer)
{
    platform.agent_version = "-2.3";
    EXPECT_EQ(korvane_initialize(nullptr, nullptr, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(refused_initialize(untouched()), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.count("agent version is lower!!"), 2U);
}

TEST_F(Initialize, AsksThePackageManagerInEveryCall)
{
    platform.results["package_info_create"] = -18153359;
    EXPECT_EQ(refused_initialize(untouched()), KORVANE_ERROR_NOT_SUPPORTED);
    platform.results.clear();
    initialize();
    EXPECT_EQ(kv::agent.support, 1);
    ASSERT_EQ(korvane_deinitialize(handle), 0);
    platform.agent_version = "1.0.0";
    initialize();
    EXPECT_EQ(kv::agent.version, 1000);
}

TEST_F(Initialize, ClearsTheLastResultOfEarlierCalls)
{
    set_last_result(4711);
    initialize();
    EXPECT_EQ(get_last_result(), 0);
}

TEST_F(Initialize, IsServiceUnavailableAfterTheStartOfAnUpdateAlthoughStartWorks)
{
    connect();
    agent_answers();
    update_starts();
    platform.log.clear();
    EXPECT_EQ(refused_initialize(untouched()), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(platform.log.lines(), (LogLines{entered, api_version, agent_2_3,
                                              refused("Started to update agent, so service is unavailable")}));
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
}

TEST_F(Initialize, IsServiceUnavailableDuringInstallation)
{
    kv::agent.update = 2;
    EXPECT_EQ(refused_initialize(untouched()), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_TRUE(platform.log.has(refused("Started to update agent, so service is unavailable")));
    EXPECT_TRUE(platform.proxies().empty());
}

TEST_F(Initialize, ChecksTheOutPointerBeforeTheUpdate)
{
    kv::agent.update = 1;
    EXPECT_EQ(korvane_initialize(nullptr, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_F(Initialize, FailsASecondTimeAndKeepsTheFirstHandleUsable)
{
    connect();
    agent_answers();
    EXPECT_EQ(refused_initialize(untouched()), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(platform.log.lines(), (LogLines{entered, api_version, agent_2_3, refused("Already initialized")}));
    EXPECT_EQ(platform.proxies().size(), 1U);
    EXPECT_EQ(platform.event_handlers().size(), 1U);
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_stop(handle), KORVANE_ERROR_NONE);
}

TEST_F(Initialize, DoesNotOverwriteTheHandleIfItIsCalledTwice)
{
    connect();
    korvane_h same = handle;
    EXPECT_EQ(korvane_initialize(&same, nullptr, nullptr), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(same, handle);
}

TEST_F(Initialize, WorksWithoutACallback)
{
    ASSERT_EQ(korvane_initialize(&handle, nullptr, nullptr), KORVANE_ERROR_NONE);
    agent_answers();
    platform.proxy().fire_connected();
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
    platform.proxy().fire_disconnected();
    platform.proxy().fire_rejected(-13);
    EXPECT_EQ(platform.log.count("RPC connected callback to app"), 0U);
    EXPECT_EQ(platform.log.count("RPC disconnected callback to app"), 0U);
    EXPECT_EQ(platform.log.count("RPC rejected callback to app"), 0U);
}

TEST_F(Initialize, SucceedsWithAnUnreadableVersion)
{
    platform.agent_version = std::nullopt;
    initialize();
    EXPECT_EQ(
        platform.log.lines(),
        (LogLines{entered, api_version, common_error("_get_agent_version", "package_info_get_version() failed")}));
}

TEST_F(Initialize, SucceedsWithoutTheUpdateEvent)
{
    platform.results["event_add_event_handler"] = -71;
    initialize();
    EXPECT_EQ(platform.log.lines(),
              (LogLines{entered, api_version, agent_2_3,
                        api_info(initialize_name, "event_add_event_handler() is failed, err=[-71]")}));
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(platform.calls_to("event_remove_event_handler"), 0U);
}

struct ProxyStep {
    std::string function;
    std::string complaint_of;
    std::string complaint;
};

class InitializeWithoutProxy : public Initialize, public ::testing::WithParamInterface<ProxyStep> {};

INSTANTIATE_TEST_SUITE_P(Because, InitializeWithoutProxy,
                         ::testing::Values(ProxyStep{.function = "rpc_port_proxy_create",
                                                     .complaint_of = "__create_kv_master",
                                                     .complaint = "Failed to create proxy"},
                                           ProxyStep{.function = "rpc_port_proxy_add_connected_event_cb",
                                                     .complaint_of = "rpc_port_proxy_kv_master_create",
                                                     .complaint = "Failed to add connected event cb. err = -71"},
                                           ProxyStep{.function = "rpc_port_proxy_add_disconnected_event_cb",
                                                     .complaint_of = "rpc_port_proxy_kv_master_create",
                                                     .complaint = "Failed to add disconnected event cb. err = -71"},
                                           ProxyStep{.function = "rpc_port_proxy_add_rejected_event_cb",
                                                     .complaint_of = "rpc_port_proxy_kv_master_create",
                                                     .complaint = "Failed to add rejected event cb. err = -71"},
                                           ProxyStep{.function = "rpc_port_proxy_add_received_event_cb",
                                                     .complaint_of = "rpc_port_proxy_kv_master_create",
                                                     .complaint = "Failed to add received event cb. err = -71"}),
                         [](const auto &row) { return row.param.function; });

TEST_P(InitializeWithoutProxy, FailsAndCanBeCalledAgain)
{
    const ProxyStep &step = GetParam();
    platform.results[step.function] = -71;
    EXPECT_EQ(refused_initialize(nullptr), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{entered, api_version, agent_2_3, proxy_error(step.complaint_of, step.complaint),
                        refused("rpc_port_proxy_kv_master_create() is failed, err=[-1]")}));
    EXPECT_EQ(platform.alive(), std::vector<std::string>{});
    EXPECT_EQ(kv::api::live_session, nullptr);
    EXPECT_EQ(platform.calls_to("rpc_port_proxy_connect"), 0U);

    platform.results.clear();
    initialize();
}

struct ConnectOutcome {
    std::string name;
    int code;
    int result;
};

class InitializeWithoutConnection : public Initialize, public ::testing::WithParamInterface<ConnectOutcome> {};

INSTANTIATE_TEST_SUITE_P(
    Because, InitializeWithoutConnection,
    ::testing::Values(ConnectOutcome{.name = "Forbidden", .code = -13, .result = KORVANE_ERROR_PERMISSION_DENIED},
                      ConnectOutcome{.name = "IoError", .code = -5, .result = KORVANE_ERROR_SERVICE_UNAVAILABLE},
                      ConnectOutcome{.name = "NoMemory", .code = -12, .result = KORVANE_ERROR_OPERATION_FAILED},
                      ConnectOutcome{.name = "Minus1", .code = -1, .result = KORVANE_ERROR_OPERATION_FAILED},
                      ConnectOutcome{.name = "InvalidParameter", .code = -22, .result = KORVANE_ERROR_OPERATION_FAILED},
                      ConnectOutcome{.name = "PositiveCode", .code = 5, .result = KORVANE_ERROR_OPERATION_FAILED}),
    [](const auto &row) { return row.param.name; });

TEST_P(InitializeWithoutConnection, ReturnsNoHandleAndCanBeCalledAgain)
{
    const std::string code = std::to_string(GetParam().code);
    platform.results["rpc_port_proxy_connect"] = GetParam().code;
    EXPECT_EQ(refused_initialize(nullptr), GetParam().result);
    EXPECT_EQ(
        platform.log.lines(),
        (LogLines{entered, api_version, agent_2_3,
                  proxy_error("rpc_port_proxy_kv_master_connect", "Failed to connect kv_master(org.korvane.agent)"),
                  refused("rpc_port_proxy_kv_master_connect() is failed, err=[" + code + "]")}));
    EXPECT_EQ(platform.alive(), std::vector<std::string>{});
    EXPECT_EQ(kv::api::live_session, nullptr);
    EXPECT_EQ(platform.calls_to("event_add_event_handler"), 0U);

    platform.results.clear();
    initialize();
}

class Deinitialize : public LibraryTest {};

TEST_F(Deinitialize, DestroysTheProxyAndUnregistersTheEvent)
{
    connect();
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_deinitialize", ">>> called")}));
    EXPECT_EQ(platform.calls, (std::vector<std::string>{"rpc_port_proxy_destroy", "event_remove_event_handler"}));
    EXPECT_EQ(platform.alive(), std::vector<std::string>{});
    EXPECT_EQ(kv::api::live_session, nullptr);
}

TEST_F(Deinitialize, WorksBeforeTheConnectionIsEstablished)
{
    initialize();
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
}

TEST_F(Deinitialize, WorksAfterDisconnectionAndAfterRejection)
{
    connect();
    platform.proxy().fire_disconnected();
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    initialize();
    platform.proxy().fire_rejected(-13);
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
}

TEST_F(Deinitialize, IsAnInvalidParameterTheSecondTime)
{
    connect();
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_F(Deinitialize, AllowsInitialisingRepeatedly)
{
    for (int round = 0; round < 3; ++round) {
        connect();
        agent_answers();
        EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
        EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
        statuses.clear();
    }
    EXPECT_EQ(platform.proxies().size(), 3U);
}

TEST_F(Deinitialize, ReleasesOutstandingOneShotRequestsWithoutCallingThem)
{
    connect();
    agent_answers();
    int called = 0;
    auto count_call = [](korvane_h, int, void *calls) { ++*static_cast<int *>(calls); };
    ASSERT_EQ(korvane_start_async(handle, count_call, &called), KORVANE_ERROR_NONE);
    ASSERT_EQ(korvane_start_async(handle, count_call, &called), KORVANE_ERROR_NONE);
    platform.log.clear();
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(called, 0);
    EXPECT_TRUE(platform.log.proxy().empty()) << "delegates are released without a log line";
}

} // namespace
} // namespace kv::test
