// SPDX-License-Identifier: Apache-2.0
#include "handle_functions.hpp"

#include "src/korvane/core/session/session.hpp"

#include <utility>

namespace kv::test {
namespace {

/// The result of a request by reply and failure, for every function that sends one.
class Request : public FunctionTest {
protected:
    void SetUp() override
    {
        FunctionTest::SetUp();
        connect();
    }

    std::string invoke_name() { return "rpc_port_proxy_kv_master_invoke_" + GetParam().name.substr(8); }

    LogLine failure(int err, int last_result)
    {
        return refusal(GetParam().name + "() is failed, err=[" + std::to_string(err) + "] r=[" +
                       std::to_string(last_result) + "]");
    }

    /// The lines of the call except those about the delegate that one of the functions sends.
    LogLines lines()
    {
        LogLines kept;
        for (const LogLine &line : platform.log.lines())
            if (line.message.rfind("id(27)", 0) != 0)
                kept.push_back(line);
        return kept;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, Request,
                         ::testing::ValuesIn(functions_where([](const Function &f) { return f.asks_agent; })), name_of);

TEST_P(Request, SucceedsWithReply0)
{
    arrives(reply(0));
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(lines(), (LogLines{entry()}));
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(first(sent()[0], 4), i32(GetParam().method));
    EXPECT_TRUE(platform.main_port().incoming.empty());
}

TEST_P(Request, ClearsTheLastResultBeforeTheSend)
{
    arrives(reply(0));
    call(handle);
    ASSERT_FALSE(platform.calls.empty());
    EXPECT_EQ(platform.calls.front(), "set_last_result");
}

TEST_P(Request, IsPermissionDeniedWithReplyMinus13)
{
    arrives(reply(-13));
    EXPECT_EQ(call(handle), KORVANE_ERROR_PERMISSION_DENIED);
    EXPECT_EQ(lines(), (LogLines{entry(), failure(-13, 0)}));
}

TEST_P(Request, IsOperationFailedWithAnyOtherReply)
{
    for (int answer : {1, -1, -5, -12, -22, 2147483647, -2147483647 - 1}) {
        platform.log.clear();
        arrives(reply(answer));
        EXPECT_EQ(call(handle), KORVANE_ERROR_OPERATION_FAILED) << answer;
        EXPECT_EQ(lines(), (LogLines{entry(), failure(answer, 0)}));
    }
}

TEST_P(Request, IsAnIoErrorWithoutAReply)
{
    EXPECT_EQ(call(handle), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(lines(), (LogLines{entry(), proxy_error(invoke_name(), "Invalid protocol"), failure(-1, -5)}));
    EXPECT_EQ(sent().size(), 1U);
}

TEST_P(Request, SucceedsAfterAFailedSendWithReply0)
{
    platform.main_port().send_results = {-32};
    arrives(reply(0));
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(lines(), (LogLines{entry(), proxy_error(invoke_name(), "Failed to send parcel. result(-32)")}));
}

TEST_P(Request, IsAnIoErrorAfterAFailedSendWithAnyOtherReply)
{
    platform.main_port().send_results = {-32};
    arrives(reply(-13));
    EXPECT_EQ(call(handle), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(lines(),
              (LogLines{entry(), proxy_error(invoke_name(), "Failed to send parcel. result(-32)"), failure(-13, -5)}));
}

TEST_P(Request, IsAnIoErrorAfterAFailedSendWithoutAReply)
{
    platform.main_port().send_results = {-32};
    EXPECT_EQ(call(handle), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(lines(), (LogLines{entry(), proxy_error(invoke_name(), "Failed to send parcel. result(-32)"),
                                 proxy_error(invoke_name(), "Invalid protocol"), failure(-1, -5)}));
}

TEST_P(Request, IgnoresAnEarlierIoError)
{
    EXPECT_EQ(call(handle), KORVANE_ERROR_IO_ERROR);
    arrives(reply(-2));
    EXPECT_EQ(call(handle), KORVANE_ERROR_OPERATION_FAILED);
}

TEST_P(Request, DiscardsParcelsOfOtherKindsBeforeTheReply)
{
    arrives(event(27, 1, true, i32(0)));
    arrives(bytes(i32(2), i32(99)));
    arrives(bytes(i32(-1)));
    arrives(Bytes{});
    arrives(reply(0));
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(lines(), (LogLines{entry()}));
}

TEST_P(Request, FailsWithATruncatedReplyAsWithReplyMinus1)
{
    for (std::size_t size = 4; size < 8; ++size) {
        platform.log.clear();
        arrives(first(reply(0), size));
        EXPECT_EQ(call(handle), KORVANE_ERROR_OPERATION_FAILED) << size;
        EXPECT_TRUE(platform.log.has(failure(-1, 0)));
    }
}

TEST_P(Request, WaitsForTheNextParcelIfAKindIsUnreadable)
{
    for (std::size_t size = 0; size < 4; ++size) {
        arrives(first(reply(0), size));
        EXPECT_EQ(call(handle), KORVANE_ERROR_IO_ERROR) << size;
    }
}

TEST_P(Request, FailsUnsentBeforeTheConnectionIsEstablished)
{
    ASSERT_EQ(korvane_deinitialize(handle), 0);
    initialize();
    platform.log.clear();
    EXPECT_EQ(call(handle), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(lines(), (LogLines{entry(), proxy_error(invoke_name(), "Not connected"), failure(-1, 0)}));
    EXPECT_TRUE(sent().empty());
}

TEST_P(Request, FailsAfterDisconnectionOrRejectionUntilANewProxyIsConnected)
{
    platform.proxy().fire_disconnected();
    EXPECT_EQ(call(handle), KORVANE_ERROR_OPERATION_FAILED);
    platform.proxy().fire_rejected(-13);
    EXPECT_EQ(call(handle), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(platform.log.count("Not connected"), 2U);
    EXPECT_TRUE(sent().empty());

    ASSERT_EQ(korvane_deinitialize(handle), 0);
    statuses.clear();
    connect();
    arrives(reply(0));
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
}

class StartAndStop : public LibraryTest {};

TEST_F(StartAndStop, StartSendsItsConstants)
{
    connect();
    arrives(reply(0));
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(sent(), (std::vector<Bytes>{bytes(i32(3), str(""), i32(0), i32(0))}));
}

/// A session always has its proxy. The check guards the case that a later change breaks this.
TEST_F(StartAndStop, StartWithoutAProxyIsRefusedWithItsOwnText)
{
    connect();
    rpc_port_proxy_kv_master_h proxy = std::exchange(*kv::api::live_session->proxy.out(), nullptr);
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_start", "agent is not ready yet")}));
    *kv::api::live_session->proxy.out() = proxy;
    EXPECT_EQ(sent(), std::vector<Bytes>{});
}

TEST_F(StartAndStop, StopSendsOnlyItsId)
{
    connect();
    arrives(reply(0));
    EXPECT_EQ(korvane_stop(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(sent(), (std::vector<Bytes>{i32(4)}));
}

/// The calls of the callback of start_async.
struct StartNotices {
    std::vector<int> results;
    korvane_h handle = nullptr;

    static void note(korvane_h seen, int result, void *notices)
    {
        static_cast<StartNotices *>(notices)->results.push_back(result);
        static_cast<StartNotices *>(notices)->handle = seen;
    }
};

class StartAsync : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        connect();
    }

    int start(int answer = 0)
    {
        arrives(reply(answer));
        const int result = korvane_start_async(handle, StartNotices::note, &notices);
        seq_id = last_seq_id(platform.log);
        return result;
    }

    Bytes started(int result) { return event(27, seq_id, true, i32(result)); }

    StartNotices notices;
    int seq_id = 0;
};

TEST_F(StartAsync, SendsItsConstantsAndAOnceDelegate)
{
    EXPECT_EQ(start(), KORVANE_ERROR_NONE);
    EXPECT_EQ(sent(),
              (std::vector<Bytes>{bytes(i32(101), str(""), i32(0), i32(0), i32(27), i32(seq_id), boolean(true))}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_start_async", ">>> called"),
                                              proxy_info("rpc_port_kv_master_start_async_cb_create",
                                                         "id(27), seq_id(" + std::to_string(seq_id) + ")")}));
    EXPECT_TRUE(notices.results.empty());
}

TEST_F(StartAsync, ReportsTheAgentsResultOnce)
{
    start();
    platform.log.clear();
    platform.proxy().push_event(started(-4));
    EXPECT_EQ(notices.results, (std::vector<int>{-4}));
    EXPECT_EQ(notices.handle, handle);
    const LogLines api = platform.log.api();
    ASSERT_EQ(api.size(), 2U);
    EXPECT_EQ(api[0], api_info("_start_async_result_cb", ">>> called"));
    EXPECT_EQ(api[1], api_info("_start_async_result_cb", api[1].message));

    platform.proxy().push_event(started(0));
    EXPECT_EQ(notices.results.size(), 1U);
}

TEST_F(StartAsync, GivesEveryRequestANewNumber)
{
    start();
    const int earlier = seq_id;
    start();
    EXPECT_EQ(seq_id, earlier + 1);
    platform.proxy().push_event(event(27, earlier, true, i32(1)));
    platform.proxy().push_event(event(27, seq_id, true, i32(2)));
    EXPECT_EQ(notices.results, (std::vector<int>{1, 2}));
}

TEST_F(StartAsync, ReleasesARequestThatTheAgentRefuses)
{
    const std::size_t blocks = allocs::live_blocks();
    for (int answer : {-13, 7}) {
        EXPECT_NE(start(answer), KORVANE_ERROR_NONE);
        EXPECT_EQ(allocs::live_blocks(), blocks);
        platform.proxy().push_event(started(0));
    }
    EXPECT_TRUE(notices.results.empty());
}

TEST_F(StartAsync, ReleasesARequestThatIsRefusedUnsent)
{
    platform.proxy().fire_disconnected();
    const std::size_t blocks = allocs::live_blocks();
    EXPECT_EQ(start(), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(allocs::live_blocks(), blocks);
    EXPECT_TRUE(sent().empty());
}

TEST_F(StartAsync, ReleasesARequestAfterAnIoError)
{
    const std::size_t blocks = allocs::live_blocks();
    EXPECT_EQ(korvane_start_async(handle, StartNotices::note, &notices), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(allocs::live_blocks(), blocks);
}

TEST_F(StartAsync, DropsATruncatedEventAndStillAcceptsTheReply)
{
    start();
    for (std::size_t size = 13; size < 17; ++size)
        platform.proxy().push_event(first(started(3), size));
    EXPECT_TRUE(notices.results.empty());
    platform.proxy().push_event(started(3));
    EXPECT_EQ(notices.results, (std::vector<int>{3}));
}

} // namespace
} // namespace kv::test
