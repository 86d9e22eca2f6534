// SPDX-License-Identifier: Apache-2.0
#include "examples.h"

#include "header_fixture.hpp"

#include <glib.h>

namespace kv::test::header {
namespace {

/// The examples of the header, run against the fake platform.
class Example : public HeaderTest {
protected:
    void end_run() override
    {
        example_end();
        HeaderTest::end_run();
    }

    /// The method ids of all requests since the connection.
    std::vector<int> requested()
    {
        std::vector<int> methods;
        for (const Bytes &request : platform.main_port().sent)
            methods.push_back(request.at(0));
        return methods;
    }
    const Bytes &last_request() { return platform.main_port().sent.back(); }
};

TEST_F(Example, PrintsTheDeviceId)
{
    connect();
    agent_replies(reply(0, str("0b1c")));
    example_print_device_id(world.handle);
    EXPECT_STREQ(example_output(), "device id: 0b1c\n");
    agent_replies(reply(-1));
    example_print_device_id(world.handle);
    EXPECT_STREQ(example_output(), "");
}

TEST_F(Example, StartsTheServiceWhenConnected)
{
    example_connect_to_agent();
    ASSERT_NE(example_device(), nullptr);
    agent_replies(reply(0, boolean(false)));
    platform.proxy().fire_connected();
    EXPECT_EQ(last_request(), bytes(i32(3), str(""), i32(0), i32(0)));
    EXPECT_FALSE(example_retry_is_pending());
}

TEST_F(Example, ConnectsAgainAfterADisconnection)
{
    example_connect_to_agent();
    agent_replies(reply(0, boolean(false)));
    platform.proxy().fire_connected();
    platform.proxy().fire_disconnected();
    platform.proxy().fire_disconnected();
    ASSERT_TRUE(example_retry_is_pending());
    const gint64 deadline = g_get_monotonic_time() + 10 * G_USEC_PER_SEC;
    while (platform.proxies().size() < 2 && g_get_monotonic_time() < deadline)
        g_main_context_iteration(nullptr, TRUE);
    ASSERT_EQ(platform.proxies().size(), 2U);
    EXPECT_FALSE(example_retry_is_pending());
    agent_replies(reply(0, boolean(false)));
    platform.proxy().fire_connected();
    EXPECT_EQ(last_request(), bytes(i32(3), str(""), i32(0), i32(0)));
}

TEST_F(Example, TriesAgainWhenTheAgentCannotBeReached)
{
    platform.results["rpc_port_proxy_connect"] = -5;
    example_connect_to_agent();
    EXPECT_EQ(example_device(), nullptr);
    EXPECT_TRUE(example_retry_is_pending());
}

TEST_F(Example, DoesNotTryAgainWhenTheAgentRefusesTheApplication)
{
    example_connect_to_agent();
    platform.proxy().fire_rejected(-13);
    EXPECT_FALSE(example_retry_is_pending());
}

TEST_F(Example, FollowsTheStatusUntilTheRegistrationHasEnded)
{
    connect();
    void *display = example_watch_status(world.handle);
    ASSERT_NE(display, nullptr);
    agent_is_being_installed();
    EXPECT_FALSE(example_unwatch_status(world.handle, display));
    last_delegate_fires(1, false, i32(4));
    EXPECT_EQ(example_status_of(display), 4);
    agent_is_installed();
    agent_replies(reply(-1));
    EXPECT_TRUE(example_unwatch_status(world.handle, display));
}

TEST_F(Example, HasNoStatusWithoutARegistration)
{
    connect();
    agent_replies(reply(-1));
    EXPECT_EQ(example_watch_status(world.handle), nullptr);
}

TEST_F(Example, ReceivesTheGroupIdOnce)
{
    connect();
    bool answered = true;
    ASSERT_EQ(example_request_group_id(world.handle, &answered), KORVANE_ERROR_NONE);
    EXPECT_FALSE(answered);
    last_delegate_fires(26, true, str("group-1"));
    EXPECT_TRUE(answered);
    EXPECT_STREQ(example_output(), "group: group-1\n");
}

TEST_F(Example, FreesAGroupRequestThatFailed)
{
    connect();
    agent_replies(reply(-1));
    bool answered = true;
    EXPECT_EQ(example_request_group_id(world.handle, &answered), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_FALSE(answered);
}

TEST_F(Example, JoinsTheAccessPoint)
{
    connect();
    ASSERT_EQ(example_follow_access_point(world.handle), KORVANE_ERROR_NONE);
    last_delegate_fires(18, false, str(R"({"ap_ssid":"home","ap_pwd":"secret"})"));
    EXPECT_STREQ(example_output(), "join home with secret\n");
    last_delegate_fires(18, false, str(R"({"ap_ssid":"home","ap_pwd":null})"));
    EXPECT_STREQ(example_output(), "");
}

TEST_F(Example, AnswersAScan)
{
    connect();
    ASSERT_EQ(example_answer_scans(world.handle), KORVANE_ERROR_NONE);
    last_delegate_fires(9, false, i32(77));
    EXPECT_EQ(last_request(), bytes(i32(102), str(R"({"ap_list_array":[{"ssid":"home","bssid":"02:00:00:00:00:01",)"
                                                  R"("channel":6,"signal_level":-48}],"common_interface":6,)"
                                                  R"("req_id":77})")));
}

TEST_F(Example, StoresTheLanguageOfTheProvisioningData)
{
    connect();
    ASSERT_EQ(example_follow_provisioning_data(world.handle), KORVANE_ERROR_NONE);
    last_delegate_fires(8, false, str("en"), str("GB"), str("2026-01-02"), str("phone"), str("account"));
    EXPECT_STREQ(example_output(), "language en\n");
}

TEST_F(Example, DisplaysThePin)
{
    connect();
    ASSERT_EQ(example_follow_pins(world.handle), KORVANE_ERROR_NONE);
    const int closed = last_seq_id(platform.log);
    world.arrives(event(5, closed - 1, false, str("0815"), i32(3)));
    world.arrives(event(6, closed, false));
    EXPECT_STREQ(example_output(), "display 0815\ndisplay cleared\n");
}

TEST_F(Example, OffersLanguagesAndRepliesToARequest)
{
    connect();
    ASSERT_EQ(example_offer_languages(world.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(requested(), (std::vector{56, 59}));
    EXPECT_EQ(last_request(), bytes(i32(59), count(2), str("en-GB"), str("ko-KR")));
    last_delegate_fires(16, false, i32(9), str("ui"), str("ko-KR"));
    EXPECT_STREQ(example_output(), "use ko-KR\n");
    EXPECT_EQ(last_request(), bytes(i32(58), i32(9), boolean(true)));
}

TEST_F(Example, SignsUp)
{
    connect();
    ASSERT_EQ(example_sign_up(world.handle, "t-1", "user"), KORVANE_ERROR_NONE);
    EXPECT_EQ(last_request(), bytes(i32(102), str(R"({"access_token":"t-1","user_id":"user","common_interface":3})")));
}

TEST_F(Example, DescribesTheDevice)
{
    connect();
    ASSERT_EQ(example_describe_device(world.handle), KORVANE_ERROR_NONE);
    ASSERT_EQ(requested(), (std::vector{46, 47}));
    EXPECT_EQ(platform.main_port().sent.front(),
              bytes(i32(46), i32(0), str(R"({"model_number":"WM-7","p_ver":"4.1"})")));
    EXPECT_EQ(last_request(), bytes(i32(47), i32(0), str("Washer in the cellar")));
}

TEST_F(Example, ReadsTheSourcePort)
{
    connect();
    agent_replies(reply(0, str(R"({"tcp_header_info_src_port":40000})")));
    int port = 0;
    EXPECT_EQ(example_read_source_port(world.handle, &port), KORVANE_ERROR_NONE);
    EXPECT_EQ(port, 40000);
}

TEST_F(Example, ChoosesIntervals)
{
    connect();
    ASSERT_EQ(example_choose_intervals(world.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(platform.main_port().sent.front(), bytes(i32(68), count(3), i32(30), i32(60), i32(120)));
    EXPECT_EQ(last_request(), bytes(i32(69), count(2), i32(1), i32(2)));
}

TEST_F(Example, RegistersASubDevice)
{
    connect();
    ASSERT_EQ(example_register_lamp(world.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(platform.main_port().sent.front(), bytes(i32(41), i32(1), str("lamp-0001")));
    EXPECT_EQ(last_request(), bytes(i32(98), count(1), i32(1), boolean(true)));
}

TEST_F(Example, PrintsTheSubDevices)
{
    connect();
    agent_replies(reply(0, str(R"([{"di":"lamp-0001","prs":1},{"di":"fan-0001","prs":0}])")));
    example_print_sub_devices(world.handle);
    EXPECT_STREQ(example_output(), "lamp-0001: 1\nfan-0001: 0\n");
}

TEST_F(Example, ReceivesATokenOnce)
{
    connect();
    bool answered = true;
    ASSERT_EQ(example_request_token(world.handle, &answered), KORVANE_ERROR_NONE);
    EXPECT_FALSE(answered);
    last_delegate_fires(28, true, i32(0), str(R"({"server_url":"https://cloud"})"));
    EXPECT_TRUE(answered);
    EXPECT_STREQ(example_output(), "log on at https://cloud\n");
}

TEST_F(Example, SurvivesATokenThatCannotBeParsed)
{
    connect();
    bool answered = true;
    ASSERT_EQ(example_request_token(world.handle, &answered), KORVANE_ERROR_NONE);
    last_delegate_fires(28, true, i32(0), str("no JSON"));
    EXPECT_TRUE(answered);
    EXPECT_STREQ(example_output(), "");
}

TEST_F(Example, SendsAPushMessage)
{
    connect();
    ASSERT_EQ(example_report_end(world.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(last_request(),
              bytes(i32(102), str(R"({"common_interface":2,"custom_push_msg":{"title":"The laundry is done"}})")));
}

TEST_F(Example, SendsTheTerms)
{
    connect();
    ASSERT_EQ(example_send_terms(world.handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(last_request(), bytes(i32(63), str(R"({"tnc_version":"2024-05","tnc_header":"Terms of use"})")));
}

TEST_F(Example, FindsTheCauseOfAResult)
{
    EXPECT_STREQ(example_cause_of(KORVANE_ERROR_NO_DATA), "no sub-device is registered");
    EXPECT_STREQ(example_cause_of(1), "another code");
}

} // namespace
} // namespace kv::test::header
