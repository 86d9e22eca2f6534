// SPDX-License-Identifier: Apache-2.0
// Sign-up, sign-in and the owner, step by step.
#include "cloud_fixture.hpp"

using namespace kv;
using namespace kv::test;
using namespace kv::virtual_agent;

namespace {

TEST_F(AgentCloud, SignsADeviceUpAndThenIn)
{
    EXPECT_EQ(state.thing_status, 0);
    EXPECT_TRUE(sign_up());
    EXPECT_EQ(sent_events(), (Events{signed_up, signed_in}));
    EXPECT_TRUE(state.signed_up);
    EXPECT_TRUE(state.signed_in);
    EXPECT_EQ(state.thing_status, 2);
}

TEST_F(AgentCloud, RefusesASignUpWithoutAnAccessToken)
{
    EXPECT_FALSE(sign_up(""));
    rpc_port_korvane_cloud_info_s record{};
    EXPECT_EQ(ask(master::signup_cloud{}, &record), -1);
    for (const char *request : {R"({"common_interface":3})", R"({"common_interface":3,"access_token":""})",
                                R"({"common_interface":3,"access_token":7,"user_id":"ann"})"})
        EXPECT_EQ(common(request), -1) << request;
    EXPECT_EQ(sent_events(), Events{});
    EXPECT_FALSE(state.signed_up);
}

TEST_F(AgentCloud, AcceptsCredentialsAsARecord)
{
    be("1.6");
    rpc_port_korvane_cloud_info_s record{};
    record.access_token = CText::copy("very secret");
    record.refresh_token = CText::copy("secret too");
    record.region = CText::copy("eu");
    record.user_id = CText::copy("ann");
    EXPECT_EQ(ask(master::signup_cloud{}, &record), 0);
    EXPECT_TRUE(state.signed_up);
    EXPECT_TRUE(has(shown(),
                    R"("credentials":{"region":"eu","auth_provider":"","access_token":)"
                    R"("<secret, 11 bytes>","refresh_token":"<secret, 10 bytes>","user_id":"<secret, 3 bytes>")"));
}

TEST_F(AgentCloud, AcceptsCredentialsAsADocumentFromAgent20On)
{
    const char *request = R"({"common_interface":3,"access_token":"very secret","user_id":"ann","region":"eu",)"
                          R"("ci_server":"https://ci.example","deploy_env":"stage","iatt":3})";
    be("1.6");
    EXPECT_EQ(common(request), -1);
    be("2.0");
    EXPECT_EQ(common(request), 0);
    EXPECT_TRUE(state.signed_in);
    EXPECT_TRUE(has(shown(), R"("ci_server":"https://ci.example","deploy_env":"stage","iatt":3)"));
    for (const char *secret : {"very secret", "ann"})
        EXPECT_FALSE(has(shown(), secret)) << secret;
}

TEST_F(AgentCloud, MakesTheNextSignUpFail)
{
    step("next-sign-up", R"({"outcome":"fail"})");
    EXPECT_TRUE(sign_up()) << "the cloud reports the failure later, in an event";
    EXPECT_EQ(sent_events(), Events{not_signed_up});
    EXPECT_EQ(state.thing_status, 0);

    EXPECT_TRUE(sign_up());
    EXPECT_EQ(sent_events(), (Events{signed_up, signed_in})) << "only one sign-up fails";
}

TEST_F(AgentCloud, DelaysTheNextSignUp)
{
    step("next-sign-up", R"({"outcome":"succeed","after_ms":500})");
    EXPECT_TRUE(sign_up());
    EXPECT_FALSE(sign_up()) << "a sign-up is already pending";
    clock.advance(499);
    EXPECT_EQ(sent_events(), Events{});
    EXPECT_TRUE(has(shown(), R"("signing_up":true)"));
    clock.advance(1);
    EXPECT_EQ(sent_events(), (Events{signed_up, signed_in}));
    EXPECT_TRUE(has(shown(), R"("signing_up":false)"));
    EXPECT_TRUE(sign_up());
}

TEST_F(AgentCloud, ReplacesAnEarlierSignUp)
{
    sign_up();
    sent_events();
    step("next-sign-up", R"({"outcome":"fail"})");
    EXPECT_TRUE(sign_up());
    EXPECT_EQ(sent_events(), (Events{signed_out, not_signed_up}));
    EXPECT_FALSE(cloud.tcp_header());
}

TEST_F(AgentCloud, DoesNotSignInWhileTheApplicationHasDisabledIt)
{
    EXPECT_EQ(common(R"({"common_interface":5,"disable_signin":true})"), 0);
    sign_up();
    EXPECT_EQ(sent_events(), Events{signed_up});
    EXPECT_EQ(state.thing_status, 1);
    EXPECT_TRUE(has(refusal("sign-in"), "disabled signing in"));

    EXPECT_EQ(common(R"({"common_interface":5,"disable_signin":false})"), 0);
    EXPECT_EQ(sent_events(), Events{signed_in});
    EXPECT_EQ(common(R"({"common_interface":5,"disable_signin":true})"), 0);
    EXPECT_EQ(sent_events(), Events{signed_out});
    EXPECT_EQ(common(R"({"common_interface":5})"), -1) << "the flag is missing";
    EXPECT_EQ(sent_events(), Events{});
}

TEST_F(AgentCloud, SignsOutAndInAgain)
{
    EXPECT_TRUE(has(refusal("sign-out"), "is not signed in"));
    EXPECT_TRUE(has(refusal("sign-in"), "is not signed up"));
    sign_up();
    sent_events();
    EXPECT_TRUE(has(refusal("sign-in"), "signed in already"));
    step("sign-out");
    EXPECT_EQ(sent_events(), Events{signed_out});
    EXPECT_EQ(state.thing_status, 1);
    step("sign-in");
    EXPECT_EQ(sent_events(), Events{signed_in});
}

TEST_F(AgentCloud, RestoresABrokenSessionAfterTheGivenTime)
{
    EXPECT_TRUE(has(refusal("drop-session"), "must be signed in"));
    sign_up();
    sent_events();
    step("drop-session", R"({"code":-32,"after_ms":700})");
    EXPECT_EQ(sent_events(), (Events{session_lost(-32), signed_out}));
    EXPECT_TRUE(state.signed_up);
    EXPECT_EQ(state.thing_status, 1);
    clock.advance(699);
    EXPECT_EQ(sent_events(), Events{});
    clock.advance(1);
    EXPECT_EQ(sent_events(), Events{signed_in});
}

TEST_F(AgentCloud, RestoresABrokenSessionOnCommand)
{
    sign_up();
    step("drop-session");
    EXPECT_EQ(sent_events(), (Events{signed_up, signed_in, session_lost(-104), signed_out}));
    clock.advance(86'400'000);
    EXPECT_EQ(sent_events(), Events{}) << "the session is restored only on command";
    step("restore-session");
    EXPECT_EQ(sent_events(), Events{signed_in});
}

TEST_F(AgentCloud, RestoresABrokenSessionOnce)
{
    sign_up();
    step("drop-session", R"({"after_ms":700})");
    step("restore-session");
    sent_events();
    clock.advance(10'000);
    EXPECT_EQ(sent_events(), Events{});
}

TEST_F(AgentCloud, EndsTheSessionOnRequest)
{
    EXPECT_EQ(ask(master::disconnect_cloud_session{}), -1) << "there is no session";
    sign_up();
    sent_events();
    EXPECT_EQ(ask(master::disconnect_cloud_session{}), 0);
    EXPECT_EQ(sent_events(), (Events{session_lost(0), signed_out}));
    step("sign-in");
    EXPECT_TRUE(state.signed_in);
}

// ---- the owner -------------------------------------------------------------------------------------------------------

TEST_F(AgentCloud, GivesEachOwnerAGroup)
{
    EXPECT_EQ(cloud.group_id(), std::nullopt);
    EXPECT_EQ(ask(master::get_group_id{}, DelegateOf<master::get_group_id_cb>{}), -1) << "the device has no owner";
    const auto group_of = [this](const char *owner) {
        step("own", owner);
        const std::string group = cloud.group_id().value_or("");
        EXPECT_TRUE(g_uuid_string_is_valid(group.c_str())) << group;
        step("disown");
        return group;
    };
    const std::string ann = group_of(R"({"owner":"ann"})");
    EXPECT_EQ(ann, group_of(R"({"owner":"ann"})"));
    EXPECT_NE(ann, group_of(R"({"owner":"bob"})"));
    EXPECT_NE(ann, group_of("null"));
}

TEST_F(AgentCloud, ReportsWhetherTheDeviceIsOwned)
{
    EXPECT_TRUE(has(refusal("disown"), "has no owner"));
    step("own");
    EXPECT_TRUE(state.owned);
    EXPECT_TRUE(has(refusal("own", R"({"owner":"bob"})"), "has an owner already"));
    EXPECT_EQ(ask(master::get_group_id{}, DelegateOf<master::get_group_id_cb>{}), 0);
    ASSERT_EQ(call.events.size(), 1U);
    EXPECT_EQ(call.events[0].values->text(), R"({"group_id":")" + *cloud.group_id() + R"("})");
}

TEST_F(AgentCloud, SignsOutADeviceWhoseOwnerGivesItUp)
{
    step("own");
    sign_up();
    sent_events();
    step("disown");
    EXPECT_EQ(sent_events(), (Events{signed_out, not_signed_up}));
    EXPECT_FALSE(state.owned);
    EXPECT_EQ(state.thing_status, 0);
    EXPECT_TRUE(has(shown(), R"("credentials":null)"));
}

TEST_F(AgentCloud, SignsOutADeviceThatIsReset)
{
    step("own");
    sign_up();
    sent_events();
    EXPECT_EQ(ask(master::reset{}), 0);
    EXPECT_EQ(sent_events(), (Events{signed_out, not_signed_up, R"(reset_result_cb {"result":true})"}));
    EXPECT_FALSE(state.owned);

    sign_up();
    sent_events();
    EXPECT_EQ(ask(master::send_reset_confirm{}, false), 0);
    EXPECT_TRUE(state.signed_in) << "the user refused the reset";
    EXPECT_EQ(ask(master::send_reset_confirm{}, true), 0);
    EXPECT_FALSE(state.signed_up);
}

TEST_F(AgentCloud, CancelsAPendingSignUpWhenTheDeviceIsReset)
{
    step("next-sign-up", R"({"outcome":"succeed","after_ms":500})");
    sign_up();
    ask(master::reset{});
    sent_events();
    clock.advance(1000);
    EXPECT_EQ(sent_events(), Events{});
    EXPECT_FALSE(state.signed_up);
}

// ---- steps -----------------------------------------------------------------------------------------------------------

TEST_F(AgentCloud, RefusesUnknownStepsAndWrongArguments)
{
    EXPECT_TRUE(has(refusal("rain"), "no step 'rain'"));
    EXPECT_TRUE(has(refusal("next-sign-up"), "'outcome' is missing"));
    EXPECT_TRUE(has(refusal("next-sign-up", R"({"outcome":"perhaps"})"), "succeed or fail, not 'perhaps'"));
    EXPECT_TRUE(has(refusal("next-sign-up", R"({"outcome":"fail","after_ms":-1})"), "cannot be negative"));
    EXPECT_TRUE(has(refusal("next-sign-up", R"({"outcome":"fail","in":1})"), "there is no 'in' here"));
    EXPECT_TRUE(has(refusal("next-sign-up", "[]"), "must be a JSON object"));
    EXPECT_TRUE(has(refusal("own", R"({"owner":7})"), "'owner' must be a text"));
    EXPECT_TRUE(has(refusal("keepalive"), "'result' is missing"));
    EXPECT_TRUE(has(shown(), R"("next_sign_up":{"outcome":"succeed","after_ms":0})"))
        << "a refused step changes nothing";
}

TEST_F(AgentCloud, RefusesStepsOfNewerAgents)
{
    const std::pair<const char *, std::vector<const char *>> first_unknown[] = {
        {"1.0", {"device-list", "keepalive", "last-status", "authority", "diagnostics"}},
        {"1.2", {"keepalive", "last-status"}},
        {"1.3", {"last-status"}},
        {"2.0", {"authority", "diagnostics"}},
        {"2.1", {"diagnostics"}},
    };
    for (const auto &[version, unknown] : first_unknown) {
        be(version);
        for (const char *name : unknown)
            EXPECT_TRUE(has(refusal(name), std::string{"agent "} + version + " does not know '" + name + "'"));
    }
    be("1.1");
    EXPECT_EQ(refusal("device-list"), "");
    be("2.1");
    EXPECT_EQ(refusal("authority"), "");
}

TEST_F(AgentCloud, RefusesEventsWithoutARegisteredApplication)
{
    device.events.disconnect_all();
    EXPECT_TRUE(has(refusal("device-list"), "no application is registered for cloud_device_list_cb"));
    EXPECT_TRUE(
        has(refusal("last-status", R"({"text":"x"})"), "no application is registered for last_status_changed_cb"));
    EXPECT_TRUE(has(refusal("diagnostics"), "no application is registered for diagnostics_cb"));
    EXPECT_TRUE(sign_up()) << "a sign-up succeeds without a registered callback";
    EXPECT_TRUE(state.signed_in);
}

TEST_F(AgentCloud, SendsTheListOfDevices)
{
    ask(master::register_sub_device{}, 1, "lamp");
    ask(master::register_sub_device{}, 2, "fan");
    step("device-list");
    step("device-list", R"({"devices":["door"]})");
    EXPECT_EQ(sent_events(), (Events{R"(cloud_device_list_cb {"devices":[{"device_id":"lamp"},{"device_id":"fan"}]})",
                                     R"(cloud_device_list_cb {"devices":[{"device_id":"door"}]})"}));
    EXPECT_TRUE(has(refusal("device-list", R"({"devices":"door"})"), "must be an array"));
    EXPECT_TRUE(has(refusal("device-list", R"({"devices":[7]})"), "device_id must be a text"));
    EXPECT_EQ(sent_events(), Events{});
}

} // namespace
