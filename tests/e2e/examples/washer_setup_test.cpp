// SPDX-License-Identifier: Apache-2.0
// The example washer: its setup, with events that the test emits one by one.
#include "washer_fixture.hpp"

#include <map>

using namespace kv::test;

namespace {

INSTANTIATE_TEST_SUITE_P(EveryVersion, WasherWithAgent, agent_versions, version_in_name);

TEST_P(WasherWithAgent, RegistersForEveryEventOfTheAgent)
{
    const std::map<std::string, int> events = {{"1.0", 9},  {"1.1", 11}, {"1.2", 11}, {"1.3", 16},
                                               {"1.4", 22}, {"1.5", 22}, {"1.6", 22}, {"2.0", 22},
                                               {"2.1", 22}, {"2.2", 23}, {"2.3", 23}};
    AgentProcess agent{home, {"--agent-version", version}};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    EXPECT_EQ(home.count_in_journal({R"("method":"set_)", "_cb", R"("result":0)"}), events.at(version));
    EXPECT_EQ(program.count_in_output("_cb: AGENT_VERSION_LOWER, this agent is too old for it"),
              23 - events.at(version));
    EXPECT_EQ(home.count_in_journal({R"("problem")"}), 0) << "no request is unknown to the agent";
    EXPECT_EQ(requests("set_language_list"), version < "1.3" ? 0 : 1);
    EXPECT_EQ(requests("set_platform_info"), version == "1.1" ? 1 : 0);
    EXPECT_EQ(requests("set_device_property"), version < "2.2" ? 1 : 0);
    EXPECT_EQ(requests("start"), 1);
    expect_clean_end(program);
    EXPECT_EQ(requests("stop"), 1);
}

TEST_P(WasherWithAgent, JoinsWithTheRightPasswordAfterAWrongOne)
{
    AgentProcess agent{home, {"--agent-version", version}};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command(choice_of(version, "home", "not the laundry day"));
    program.wait_for_output("join: failed: the password is wrong");
    agent.run_command(choice_of(version, "elsewhere", "laundry day"));
    program.wait_for_output("join: failed: there is no such network");
    agent.run_command(choice_of(version, "home", "laundry day"));
    program.wait_for_output("join: joined home on channel 6"); // the stronger of two
    EXPECT_EQ(home.count_in_journal({"set_wifi_connection_error_code", R"({"error_code":2})"}),
              version < "1.3" ? 0 : 1);
    EXPECT_EQ(home.count_in_journal({"set_wifi_connection_error_code", R"({"error_code":1})"}),
              version < "1.3" ? 0 : 1);
    EXPECT_EQ(requests("set_wifi_connection_error_code"), version < "1.3" ? 0 : 2);
    expect_clean_end(program);
    EXPECT_EQ(program.count_in_output("laundry day"), 0) << "passwords are not printed";
}

TEST_P(WasherWithAgent, AnswersAScanWithTheNetworksOfThatMoment)
{
    AgentProcess agent{home, {"--agent-version", version}};
    const std::string radio = file("radio", R"([{"ssid":"weak","signal_level":-80},
        {"ssid":"left","gone":true},
        {"ssid":"attic","bssid":"02:00:00:00:00:09","authtype":4,"enctype":3,"channel":1,"signal_level":-40,
         "max_rate":54,"frequency":2412}])");
    Program program{washer, with_short_join({"--radio", radio})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit scan_ap_cb [7]");
    ASSERT_TRUE(program.wait_for_output("send_ap_list: NONE"));
    file("radio", R"([{"ssid":"left"}])");
    agent.run_command("emit scan_ap_cb [8]");
    ASSERT_TRUE(program.wait_for_output("send_ap_list: NONE", 2));

    if (version == "2.3") {
        expect_in_journal({R"("method":"common_interface")",
                           R"({"ap_list_array":[{"ssid":"attic","bssid":"02:00:00:00:00:09","authtype":4,"enctype":3,)"
                           R"("channel":1,"signal_level":-40,"max_rate":54,"frequency":2412},)"
                           R"({"ssid":"weak","authtype":0,"enctype":0,"channel":0,"signal_level":-80,"max_rate":0,)"
                           R"("frequency":0}],"common_interface":6,"req_id":7})"});
        expect_in_journal({R"("method":"common_interface")",
                           R"({"ap_list_array":[{"ssid":"left","authtype":0,"enctype":0,"channel":0,"signal_level":0,)"
                           R"("max_rate":0,"frequency":0}],"common_interface":6,"req_id":8})"});
    } else {
        const std::string rest =
            R"("channel":1,"bssid":"02:00:00:00:00:09","signal_level":-40,"max_rate":54},{"ssid":"weak")";
        expect_in_journal({R"("method":"send_ap_list")", R"("req_id":7,"ap_list":[{"ssid":"attic")", rest});
        expect_in_journal({R"("method":"send_ap_list")", R"("req_id":8,"ap_list":[{"ssid":"left")"});
    }
    expect_clean_end(program);
}

TEST_P(WasherWithAgent, ShowsThePinAndStoresTheValuesOfThePhone)
{
    AgentProcess agent{home, {"--agent-version", version}};
    Program program{washer, with_short_join({"--state", path("state")})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit user_confirm_cb");
    program.wait_for_output("user confirm: the user says yes");
    agent.run_command(R"(emit pin_generate_cb ["12345678",0])");
    program.wait_for_output("display: PIN 12345678");
    agent.run_command("emit pin_display_close_cb");
    program.wait_for_output("display: dark");
    agent.run_command(R"(emit device_provisioning_cb [{"language":"de-DE","country":"AT","rmd":"phone-1"}])");
    program.wait_for_output("provisioning: taken");
    agent.run_command("emit softap_stop_cb");
    program.wait_for_output("soft access point: stopped");
    EXPECT_EQ(program.count_in_output("registering phone: phone-1"), version < "1.1" ? 0 : 1);
    EXPECT_EQ(content("state"), "[washer]\nlanguage=de-DE\ncountry=AT\n");
    EXPECT_EQ(home.count_in_journal({"send_user_confirm", R"({"confirm":true})"}), 1);
    expect_clean_end(program);
}

TEST_F(Washer, AcceptsOnlyLanguagesThatItSupports)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({"--state", path("state")})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command(R"(emit provisioning_language_cb [4,"bcp47","fr-FR"])");
    agent.run_command(R"(emit provisioning_language_cb [5,"bcp47","tlh"])");
    program.wait_for_output("send_provisioning_language_setting_result: NONE", 2);
    expect_in_journal({"send_provisioning_language_setting_result", R"({"req_id":4,"result":true})"});
    expect_in_journal({"send_provisioning_language_setting_result", R"({"req_id":5,"result":false})"});
    EXPECT_EQ(content("state"), "[washer]\nlanguage=fr-FR\n");
    expect_clean_end(program);
}

TEST_F(Washer, RefusesOnBehalfOfItsUser)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({"--refuse-confirm"})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit user_confirm_cb");
    agent.run_command("emit reset_confirm_cb");
    program.wait_for_output("the user says no", 2);
    expect_in_journal({R"("method":"send_user_confirm")", R"({"confirm":false})"});
    expect_in_journal({R"("method":"send_reset_confirm")", R"({"confirm":false})"});
    expect_clean_end(program);
}

TEST_F(Washer, DeletesTheUsersValuesOnReset)
{
    AgentProcess agent{home};
    file("state", "[washer]\nlanguage=de-DE\nnick name=Cellar\n");
    Program program{washer, with_short_join({"--state", path("state")})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit reset_result_cb [false]");
    program.wait_for_output("reset: did not happen");
    EXPECT_NE(content("state").find("Cellar"), std::string::npos);
    agent.run_command("emit reset_result_cb [true]");
    program.wait_for_output("reset: done");
    EXPECT_EQ(content("state").find("Cellar"), std::string::npos);
    expect_clean_end(program);
}

TEST_F(Washer, KeepsItsNickNameAcrossRestarts)
{
    AgentProcess agent{home};
    for (const std::string name : {"Washer", "C\xc3\xa4llar"}) {
        Program program{washer, with_short_join({"--state", path("state")})};
        ASSERT_TRUE(program.wait_for_output("washer: ready"));
        expect_in_journal({R"("method":"set_device_profile")", R"("nick":")" + name + R"(")"});
        agent.run_command("emit nick_changed_cb [0,\"C\xc3\xa4llar\"]");
        program.wait_for_output("nick name: C\xc3\xa4llar (device 0)");
        expect_clean_end(program);
    }
}

TEST_F(Washer, EscapesControlCharactersInItsOutput)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit nick_changed_cb [0,\"a\\nb\\u001b[31m\xff\"]");
    program.wait_for_output(R"(nick name: a\x0ab\x1b[31m\xff (device 0))");
    expect_clean_end(program);
}

TEST_F(Washer, TreatsNetworkNamesAsBytes)
{
    AgentProcess agent{home, {"--agent-version", "1.2"}};
    const std::string bytes{"\xff\x01\"\\\x1b\xc3 32 bytes, no UTF-8 text!\x80", 32};
    std::string hex;
    for (const char byte : bytes) {
        constexpr const char *digits = "0123456789abcdef";
        hex += digits[static_cast<unsigned char>(byte) >> 4];
        hex += digits[static_cast<unsigned char>(byte) & 15];
    }
    const std::string radio = file("radio", R"([{"ssid_hex":")" + hex + R"(","channel":9},{"ssid_hex":"610062"}])");
    Program program{washer, with_short_join({"--radio", radio})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit scan_ap_cb [1]");
    program.wait_for_output("scan: 2 access points, 1 with a name that can be sent");
    program.wait_for_output("send_ap_list: NONE");
    const std::string in_json{"\xff\\u0001\\\"\\\\\\u001b\xc3 32 bytes, no UTF-8 text!\x80"};
    // The journal shows invalid UTF-8 as replacement characters.
    const std::string shown{"\xef\xbf\xbd\\u0001\\\"\\\\\\u001b\xef\xbf\xbd 32 bytes, no UTF-8 text!\xef\xbf\xbd"};
    expect_in_journal({"send_ap_list", R"([{"ssid":")" + shown + R"(",)"});
    agent.run_command(R"(emit wifi_ap_provisioning_cb [{"ssid":")" + in_json + R"("}])");
    program.wait_for_output(R"(join: joined \xff\x01"\\x1b\xc3 32 bytes, no UTF-8 text!\x80 on channel 9)");
    expect_clean_end(program);
}

TEST_F(Washer, SendsNoListForAnEmptyScan)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({"--radio", file("radio", "[]")})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit scan_ap_cb [1]");
    program.wait_for_output("send_ap_list: left out");
    file("radio", "[{]");
    agent.run_command("emit scan_ap_cb [2]");
    program.wait_for_output("radio: " + path("radio") + ": not a JSON array of access points");
    expect_clean_end(program);
    EXPECT_EQ(home.count_in_journal({R"("ap_list")"}), 0);
}

TEST_F(Washer, JoinsTheAccessPointWithTheGivenAddress)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command(R"(emit wifi_ap_prov_with_candidates_cb [{"ap_ssid":"home","ap_pwd":"laundry day",)"
                      R"("ap_bssid":"02:00:00:00:00:02","ap_candidates":"[{},{}]"}])");
    program.wait_for_output("candidates: 2");
    program.wait_for_output("join: joined home on channel 44");
    expect_clean_end(program);
}

TEST_F(Washer, ReportsAMalformedChoice)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command(R"(emit wifi_ap_prov_with_candidates_cb ["{"])");
    agent.run_command(R"(emit wifi_ap_prov_with_candidates_cb [{"ap_ssid":17}])");
    program.wait_for_output("join: failed: the phone's choice cannot be read", 2);
    expect_in_journal({"set_wifi_connection_error_code", R"({"error_code":3})"}, 2);
    expect_clean_end(program);
}

} // namespace
