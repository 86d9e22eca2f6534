// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include <last_result.h>

#include "common/agent_state.hpp"
#include "src/korvane/connection_events.hpp"
#include "src/korvane_master_proxy/connection.hpp"

namespace kv::test {
namespace {

const std::string endpoint_message = "[__RPC_PORT__] endpoint(org.korvane.agent), port_name(kv_master)";

using Statuses = std::vector<StatusNotice>;

class Connected : public LibraryTest {
protected:
    /// Initialises with an agent of this version, clears the log and raises `connected`.
    void connect_to(const std::optional<std::string> &version)
    {
        platform.agent_version = version;
        initialize();
        platform.log.clear();
        if (answers)
            agent_answers(result, update_ready);
        platform.proxy().fire_connected();
    }

    bool answers = true;
    int result = 0;
    bool update_ready = false;

    const Bytes api_version_request = bytes(i32(39), i32(2), i32(3), i32(3));
    const Bytes update_ready_request = i32(2);
};

TEST_F(Connected, SendsTheApiVersionAsksForAnUpdateAndReportsTheStatus)
{
    connect_to("2.3.1");
    EXPECT_EQ(sent(), (std::vector<Bytes>{api_version_request, update_ready_request}));
    EXPECT_EQ(statuses, (Statuses{{KORVANE_ERROR_NONE, handle, 0}}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("_rpc_connected_cb", ">>> called"),
                                              api_info("_rpc_connected_cb", "RPC connected callback to app"),
                                              proxy_info("__kv_master_on_connected", endpoint_message)}));
}

TEST_F(Connected, SendsTheApiVersionToAgent1001AndLater)
{
    connect_to("1.1");
    EXPECT_EQ(sent(), (std::vector<Bytes>{api_version_request, update_ready_request}));
}

TEST_F(Connected, DoesNotSendTheApiVersionToAgent1000)
{
    connect_to("1.0.9");
    EXPECT_EQ(sent(), (std::vector<Bytes>{update_ready_request}));
    EXPECT_EQ(statuses, (Statuses{{0, handle, 0}}));
}

TEST_F(Connected, DoesNotSendTheApiVersionToAnAgentOfUnreadableVersion)
{
    connect_to(std::nullopt);
    EXPECT_EQ(sent(), (std::vector<Bytes>{update_ready_request}));
    EXPECT_EQ(statuses, (Statuses{{0, handle, 0}}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("_rpc_connected_cb", ">>> called"),
                                              common_error("_get_agent_version", "package_info_get_version() failed"),
                                              api_info("_rpc_connected_cb", "RPC connected callback to app"),
                                              proxy_info("__kv_master_on_connected", endpoint_message)}));
}

TEST_F(Connected, ReadsTheVersionIfItIsNotCached)
{
    platform.agent_version = std::nullopt;
    initialize();
    platform.agent_version = "1.1";
    agent_answers();
    platform.proxy().fire_connected();
    EXPECT_EQ(sent(), (std::vector<Bytes>{api_version_request, update_ready_request}));
    EXPECT_EQ(kv::agent.version, 1001);
}

TEST_F(Connected, ReportsServiceUnavailableWithStatus2InUpdateReadyMode)
{
    update_ready = true;
    connect_to("2.3.1");
    EXPECT_EQ(statuses, (Statuses{{KORVANE_ERROR_SERVICE_UNAVAILABLE, handle, 2}}));
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_info("_rpc_connected_cb", ">>> called"),
                        api_info("_rpc_connected_cb", "Now update ready mode, connection will be destroyed"),
                        proxy_info("__kv_master_on_connected", endpoint_message)}));
}

TEST_F(Connected, LogsUpdateReadyModeWithoutACallback)
{
    ASSERT_EQ(korvane_initialize(&handle, nullptr, nullptr), 0);
    agent_answers(0, true);
    platform.proxy().fire_connected();
    EXPECT_TRUE(platform.log.has(api_info("_rpc_connected_cb", "Now update ready mode, connection will be destroyed")));
}

TEST_F(Connected, ReportsTheConnectionIfTheAgentRefusesBothRequests)
{
    result = -13;
    connect_to("2.3.1");
    EXPECT_EQ(sent().size(), 2U);
    EXPECT_EQ(statuses, (Statuses{{0, handle, 0}}));
    EXPECT_TRUE(platform.log.errors().empty());
}

TEST_F(Connected, DoesNotReportTheConnectionIfItEndsDuringTheRequests)
{
    for (const Moment moment : {Moment::send, Moment::wait})
        for (const unsigned request : {1U, 2U}) {
            SCOPED_TRACE(request);
            platform.agent_version = "2.3.1";
            initialize();
            agent_answers();
            platform.log.clear();
            platform.proxy().raise_inside(moment, disconnected(), request);
            platform.proxy().fire_connected();
            EXPECT_EQ(statuses, (Statuses{{0, handle, 1}}));
            EXPECT_EQ(platform.log.count("RPC connected callback to app"), 0U);
            statuses.clear();
            ASSERT_EQ(korvane_deinitialize(handle), 0);
        }
}

TEST_F(Connected, ClearsTheLastResultBeforeEachRequest)
{
    initialize();
    agent_answers();
    std::vector<int> last_results;
    for (const unsigned request : {1U, 2U})
        platform.proxy().raise_inside(
            Moment::send,
            [&](Proxy &) {
                last_results.push_back(get_last_result());
                set_last_result(-5);
            },
            request);
    set_last_result(-5);
    platform.proxy().fire_connected();
    EXPECT_EQ(last_results, (std::vector<int>{0, 0}));
}

TEST_F(Connected, AsksForAnUpdateIfTheAgentRefusesTheApiVersion)
{
    initialize();
    platform.main_port().incoming = {reply(-1), reply(0, boolean(true))};
    platform.proxy().fire_connected();
    EXPECT_EQ(statuses, (Statuses{{KORVANE_ERROR_SERVICE_UNAVAILABLE, handle, 2}}));
}

TEST_F(Connected, ReportsTheConnectionIfTheAgentDoesNotReply)
{
    answers = false;
    connect_to("2.3.1");
    EXPECT_EQ(statuses, (Statuses{{0, handle, 0}}));
    EXPECT_EQ(platform.log.errors(),
              (LogLines{proxy_error("rpc_port_proxy_kv_master_invoke_set_api_version", "Invalid protocol"),
                        proxy_error("rpc_port_proxy_kv_master_invoke_is_update_ready", "Invalid protocol")}));
    EXPECT_EQ(run_main_loop(), 0U) << "no call of the application failed, so no notice is due";
}

TEST_F(Connected, ReportsTheConnectionIfTheReplyIsIncomplete)
{
    initialize();
    platform.main_port().incoming = {reply(0), first(reply(0, boolean(true)), 6)};
    platform.proxy().fire_connected();
    EXPECT_EQ(statuses, (Statuses{{0, handle, 0}}));
}

TEST_F(Connected, RequestsTheCallbackPort)
{
    connect_to("2.3.1");
    EXPECT_EQ(platform.calls_to("rpc_port_proxy_get_port"), 1U);
    platform.log.clear();
    platform.proxy().push_event(event(99, 1, false));
    EXPECT_EQ(platform.log.count("Unknown id(99)"), 1U);
}

class Disconnected : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        connect();
    }
};

TEST_F(Disconnected, ReportsStatus1)
{
    platform.proxy().fire_disconnected();
    EXPECT_EQ(statuses, (Statuses{{0, handle, 1}}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("_rpc_disconnected_cb", ">>> called"),
                                              api_info("_rpc_disconnected_cb", "RPC disconnected callback to app"),
                                              proxy_info("__kv_master_on_disconnected", endpoint_message)}));
}

TEST_F(Disconnected, ReportsServiceUnavailableWithStatus1DuringAnUpdate)
{
    for (bool installing : {false, true}) {
        installing ? install_starts() : update_starts();
        clear_records();
        platform.proxy().fire_disconnected();
        EXPECT_EQ(statuses, (Statuses{{KORVANE_ERROR_SERVICE_UNAVAILABLE, handle, 1}}));
        EXPECT_EQ(platform.log.lines(), (LogLines{api_info("_rpc_disconnected_cb", ">>> called"),
                                                  api_info("_rpc_disconnected_cb", "RPC disconnected-by-update"),
                                                  proxy_info("__kv_master_on_disconnected", endpoint_message)}));
    }
}

TEST_F(Disconnected, ReportsStatus1AfterTheEndOfAnUpdate)
{
    install_starts();
    update_completes();
    platform.proxy().fire_disconnected();
    EXPECT_EQ(statuses, (Statuses{{0, handle, 1}}));
}

TEST_F(Disconnected, KeepsTheHandleValid)
{
    platform.proxy().fire_disconnected();
    EXPECT_EQ(korvane_unset_rpc_io_error_cb(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_OPERATION_FAILED);
    agent_answers();
    platform.proxy().fire_connected();
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
}

struct Rejection {
    std::string name;
    int last_result;
    int result;
};

class Rejected : public LibraryTest, public ::testing::WithParamInterface<Rejection> {};

INSTANTIATE_TEST_SUITE_P(
    WithLastResult, Rejected,
    ::testing::Values(
        Rejection{.name = "IoError", .last_result = -5, .result = KORVANE_ERROR_IO_ERROR},
        Rejection{.name = "Refused", .last_result = -13, .result = KORVANE_ERROR_PERMISSION_DENIED},
        Rejection{.name = "NoneIsNeverReportedAsSuccess", .last_result = 0, .result = KORVANE_ERROR_PERMISSION_DENIED},
        Rejection{.name = "Other", .last_result = -22, .result = KORVANE_ERROR_PERMISSION_DENIED}),
    [](const auto &row) { return row.param.name; });

TEST_P(Rejected, ReportsTheReasonWithStatus2)
{
    initialize();
    platform.log.clear();
    platform.proxy().fire_rejected(GetParam().last_result);
    EXPECT_EQ(statuses, (Statuses{{GetParam().result, handle, 2}}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("_rpc_rejected_cb", ">>> called"),
                                              api_info("_rpc_rejected_cb", "RPC rejected callback to app"),
                                              proxy_info("__kv_master_on_rejected", endpoint_message)}));
    EXPECT_EQ(korvane_deinitialize(handle), KORVANE_ERROR_NONE);
}

class WithoutUserData : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        ASSERT_EQ(rpc_port_proxy_kv_master_create(agent_appid, &kv::api::connection_handlers, nullptr, &proxy), 0);
        ASSERT_EQ(rpc_port_proxy_kv_master_connect(proxy), 0);
    }
    void TearDown() override
    {
        rpc_port_proxy_kv_master_destroy(proxy);
        LibraryTest::TearDown();
    }

    void expect_no_user_data(const std::string &handler)
    {
        EXPECT_EQ(platform.log.api(), (LogLines{api_info(handler, ">>> called"), api_error(handler, "No user data")}));
        EXPECT_TRUE(sent().empty());
    }

    rpc_port_proxy_kv_master_h proxy = nullptr;
};

TEST_F(WithoutUserData, ConnectedIsIgnored)
{
    platform.proxy().fire_connected();
    expect_no_user_data("_rpc_connected_cb");
}

TEST_F(WithoutUserData, DisconnectedIsIgnored)
{
    platform.proxy().fire_disconnected();
    expect_no_user_data("_rpc_disconnected_cb");
}

TEST_F(WithoutUserData, RejectedIsIgnored)
{
    platform.proxy().fire_rejected(-13);
    expect_no_user_data("_rpc_rejected_cb");
}

} // namespace
} // namespace kv::test
