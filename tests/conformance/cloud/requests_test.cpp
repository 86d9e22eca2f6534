// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

#include <algorithm>
#include <utility>

namespace kv::test {
namespace {

std::string version_text(int version)
{
    return std::to_string(version / 1000) + "." + std::to_string(version % 1000) + ".0";
}

/// All agent versions below the given one.
std::vector<int> versions_below(int version)
{
    std::vector<int> below;
    for (int v : {1000, 1001, 1002, 1003, 1004, 1005, 1006, 2000, 2001, 2002, 2003})
        if (v < version)
            below.push_back(v);
    return below;
}

/// Rules for every cloud function that asks the agent.
class CloudRequestTest : public CloudTest, public ::testing::WithParamInterface<CloudRequest> {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        prepare();
    }

    void prepare()
    {
        connect_to("2.3.1");
        objects.create();
        clear_records();
    }

    void end_run() override
    {
        allocs::stop_failing();
        platform.faults.disarm();
        if (objects.cloud_info) {
            agent_returns("2.3.1");
            objects.destroy();
        }
        CloudTest::end_run();
    }

    int call() { return row.call(handle, objects); }
    void queue_good_reply() { arrives(bytes(i32(0), row.outs, i32(0))); }

    Bytes expected_request()
    {
        Bytes request = bytes(i32(row.method), row.arguments);
        if (row.delegate)
            request = bytes(request, delegate(row.delegate, last_seq_id(platform.log), row.once));
        return request;
    }

    LogLine entry() { return api_info(row.name, ">>> called"); }
    LogLine refusal(const std::string &reason) { return api_error(row.name, reason); }

    /// Makes a call that must fail unsent with this result. Returns the lines that the function logged.
    LogLines expect_refused(int code)
    {
        platform.log.clear();
        EXPECT_EQ(call(), code);
        EXPECT_TRUE(sent().empty());
        return lines_of(row.name);
    }

    const CloudRequest &row = GetParam();
    CloudObjects objects;
};

std::string name_of(const ::testing::TestParamInfo<CloudRequest> &request)
{
    return request.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, CloudRequestTest, ::testing::ValuesIn(cloud_requests), name_of);

TEST_P(CloudRequestTest, SendsTheRequestOfItsRow)
{
    queue_good_reply();
    EXPECT_EQ(call(), ok);
    EXPECT_EQ(only_request(), expected_request());
    ASSERT_FALSE(lines_of(row.name).empty());
    EXPECT_EQ(lines_of(row.name)[0], entry());
    if (!row.progress.empty()) {
        EXPECT_EQ(platform.log.has(api_info(row.name, row.progress)), true);
        EXPECT_EQ(platform.log.count(row.progress), 1U);
    }
    EXPECT_EQ(platform.log.errors(), LogLines{});
}

TEST_P(CloudRequestTest, IsNotSupportedWithoutTheAgent)
{
    agent_vanishes();
    EXPECT_EQ(expect_refused(absent), (LogLines{entry(), refusal("Not Supported")}));
    handle = nullptr;
    EXPECT_EQ(expect_refused(absent), (LogLines{entry(), refusal("Not Supported")}));
    handle = kv::api::live_session;
}

TEST_P(CloudRequestTest, RefusesEveryOlderAgent)
{
    for (int version : versions_below(row.minimum_version)) {
        agent_becomes(version_text(version));
        EXPECT_EQ(expect_refused(too_old), (LogLines{entry(), refusal("agent version is lower!!")})) << version;
    }
    // The version is checked before the handle.
    if (row.minimum_version > 1000) {
        korvane_h live = std::exchange(handle, nullptr);
        EXPECT_EQ(expect_refused(too_old), (LogLines{entry(), refusal("agent version is lower!!")}));
        handle = live;
    }
}

TEST_P(CloudRequestTest, RefusesAnAgentOfUnknownVersionUnlessItNeedsNone)
{
    agent_becomes("");
    if (row.minimum_version > 0) {
        EXPECT_EQ(expect_refused(too_old), (LogLines{entry(), refusal("agent version is lower!!")}));
    } else {
        handle = nullptr;
        EXPECT_EQ(expect_refused(bad_argument), (LogLines{entry(), refusal("handle is NULL")}));
        handle = kv::api::live_session;
    }
}

TEST_P(CloudRequestTest, WorksWithTheLowestAgentOfThisWireFormat)
{
    agent_becomes(version_text(std::max(row.minimum_version, row.same_form_since)));
    queue_good_reply();
    EXPECT_EQ(call(), ok);
    EXPECT_EQ(only_request(), expected_request());
}

TEST_P(CloudRequestTest, RefusesANullHandleEvenDuringInstallation)
{
    install_starts();
    korvane_h live = std::exchange(handle, nullptr);
    EXPECT_EQ(expect_refused(bad_argument), (LogLines{entry(), refusal("handle is NULL")}));
    handle = live;
}

TEST_P(CloudRequestTest, RefusesAnUnknownHandle)
{
    korvane_h live = std::exchange(handle, reinterpret_cast<korvane_h>(8));
    EXPECT_EQ(expect_refused(bad_argument), (LogLines{entry(), refusal("handle is not the live one")}));
    handle = live;
}

TEST_P(CloudRequestTest, IsUnavailableOnlyDuringInstallation)
{
    install_starts();
    EXPECT_EQ(expect_refused(installing), (LogLines{entry(), refusal("Agent is being installing")}));
    update_completes();
    update_starts();
    queue_good_reply();
    EXPECT_EQ(call(), ok);
}

TEST_P(CloudRequestTest, MapsTheReplyToAResult)
{
    arrives(bytes(i32(0), row.outs, i32(-13)));
    EXPECT_EQ(call(), KORVANE_ERROR_PERMISSION_DENIED);
    EXPECT_TRUE(platform.log.has(refusal(row.name + "() is failed, err=[-13] r=[0]")));
    arrives(bytes(i32(0), row.outs, i32(7)));
    EXPECT_EQ(call(), failed);
    EXPECT_TRUE(platform.log.has(refusal(row.name + "() is failed, err=[7] r=[0]")));
    EXPECT_EQ(call(), KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(platform.log.has(refusal(row.name + "() is failed, err=[-1] r=[-5]")));
}

TEST_P(CloudRequestTest, FailsWithATruncatedReply)
{
    const Bytes whole = bytes(i32(0), row.outs, i32(0));
    for (std::size_t size = 4; size < whole.size(); ++size) {
        arrives(first(whole, size));
        EXPECT_EQ(call(), failed) << size;
    }
    arrives(whole);
    EXPECT_EQ(call(), ok);
}

TEST_P(CloudRequestTest, FailsIfAPlatformCallFailsAndWorksAfterwards)
{
    unsigned runs = 0;
    fail_each_platform_call(
        [&] {
            prepare();
            queue_good_reply();
        },
        [&] { return call(); },
        [&](const std::string &what, int result) {
            ++runs;
            const bool harmless = what.empty() || what.starts_with("rpc_port_parcel_destroy");
            const bool link =
                what == "rpc_port_parcel_send 1" || what == "rpc_port_parcel_create_from_port 1" ||
                what == "rpc_port_parcel_read_int32 1"; // a parcel of unknown kind: the library waits for the next one
            EXPECT_EQ(result, harmless ? ok : link ? KORVANE_ERROR_IO_ERROR : failed);
            platform.main_port().incoming.clear();
            platform.main_port().sent.clear();
            queue_good_reply();
            EXPECT_EQ(call(), ok);
            EXPECT_FALSE(sent().empty());
        });
    EXPECT_GT(runs, 5U);
}

TEST_P(CloudRequestTest, FailsOrOmitsAMemberWithoutMemoryAndWorksAfterwards)
{
    const bool registers = row.delegate && !row.once;
    const bool parses_its_text = row.name == "korvane_send_custom_push_msg";
    const bool goes_without_a_member = row.name == "korvane_disable_signin";
    const bool takes_an_answer = !row.outs.empty();
    fail_each_allocation(
        [&] {
            prepare();
            queue_good_reply();
        },
        [&] { return call(); },
        [&](int before, int result) {
            if (before < 0) {
                EXPECT_EQ(result, ok);
                return;
            }
            if (registers || row.name == "korvane_set_last_status_info") {
                EXPECT_EQ(result, failed);
            } else if (result == bad_argument) {
                EXPECT_TRUE(parses_its_text && platform.log.count("cJSON_Parse() failed") == 1);
            } else if (result == ok) {
                EXPECT_TRUE(goes_without_a_member);
            } else if (result == failed) {
                EXPECT_TRUE(takes_an_answer || platform.log.count("json_str is NULL") == 1 ||
                            platform.log.count("input_str is NULL") == 1);
            } else {
                EXPECT_EQ(result, no_memory);
            }
            if (result != ok) {
                EXPECT_FALSE(platform.log.errors().empty());
            }
            // Every sign-up, also a failed one, adds its command to the credentials.
            if (row.name == "korvane_sign_up_cloud")
                return;
            platform.main_port().incoming.clear();
            platform.main_port().sent.clear();
            queue_good_reply();
            EXPECT_EQ(call(), ok);
            EXPECT_EQ(only_request(), expected_request());
        });
}

} // namespace
} // namespace kv::test
