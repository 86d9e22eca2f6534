// SPDX-License-Identifier: Apache-2.0
// The washer, set up by hand: the agent's events are emitted one by one.
#include "examples_fixture.hpp"

#include <cjson/cJSON.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <map>
#include <memory>

#include <sys/stat.h>

using namespace kv::test;

namespace {

class Washer : public Example {
protected:
    static std::vector<std::string> with(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"--join-ms", "1"});
        return arguments;
    }

    /// The phone chooses a network, in the form of the agent's version.
    static std::string chooses(const std::string &version, const std::string &ssid, const std::string &password)
    {
        if (version < "1.3")
            return R"(emit wifi_ap_provisioning_cb [{"ssid":")" + ssid + R"(","pwd":")" + password + R"("}])";
        return R"(emit wifi_ap_prov_with_candidates_cb [{"ap_ssid":")" + ssid + R"(","ap_pwd":")" + password + R"("}])";
    }

    const std::string washer = KORVANE_WASHER_PATH;
};

struct AWasherWithAgent : Washer, testing::WithParamInterface<const char *> {
    const std::string version = GetParam();
};
INSTANTIATE_TEST_SUITE_P(OfEveryVersion, AWasherWithAgent, agent_versions, version_in_name);

TEST_P(AWasherWithAgent, FollowsEveryEventThatTheAgentHas)
{
    const std::map<std::string, int> events = {{"1.0", 9},  {"1.1", 11}, {"1.2", 11}, {"1.3", 16},
                                               {"1.4", 22}, {"1.5", 22}, {"1.6", 22}, {"2.0", 22},
                                               {"2.1", 22}, {"2.2", 23}, {"2.3", 23}};
    AgentProcess agent{home, {"--agent-version", version}};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    EXPECT_EQ(home.journalled({R"("method":"set_)", "_cb", R"("result":0)"}), events.at(version));
    EXPECT_EQ(program.said("_cb: AGENT_VERSION_LOWER, this agent is too old for it"), 23 - events.at(version));
    EXPECT_EQ(home.journalled({R"("problem")"}), 0) << "nothing is asked that the agent does not know";
    EXPECT_EQ(requests("set_language_list"), version < "1.3" ? 0 : 1);
    EXPECT_EQ(requests("set_platform_info"), version == "1.1" ? 1 : 0);
    EXPECT_EQ(requests("set_device_property"), version < "2.2" ? 1 : 0);
    EXPECT_EQ(requests("start"), 1);
    stops(program);
    EXPECT_EQ(requests("stop"), 1);
}

TEST_P(AWasherWithAgent, JoinsWithTheRightPasswordAfterAWrongOne)
{
    AgentProcess agent{home, {"--agent-version", version}};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell(chooses(version, "home", "not the laundry day"));
    program.says("join: failed: the password is wrong");
    agent.tell(chooses(version, "elsewhere", "laundry day"));
    program.says("join: failed: there is no such network");
    agent.tell(chooses(version, "home", "laundry day"));
    program.says("join: joined home on channel 6"); // the stronger of two
    EXPECT_EQ(home.journalled({"set_wifi_connection_error_code", R"({"error_code":2})"}), version < "1.3" ? 0 : 1);
    EXPECT_EQ(home.journalled({"set_wifi_connection_error_code", R"({"error_code":1})"}), version < "1.3" ? 0 : 1);
    EXPECT_EQ(requests("set_wifi_connection_error_code"), version < "1.3" ? 0 : 2);
    stops(program);
    EXPECT_EQ(program.said("laundry day"), 0) << "passwords are not printed";
}

TEST_P(AWasherWithAgent, AnswersAScanWithWhatTheRadioReceivesAtThatMoment)
{
    AgentProcess agent{home, {"--agent-version", version}};
    const std::string radio = file("radio", R"([{"ssid":"weak","signal_level":-80},
        {"ssid":"left","gone":true},
        {"ssid":"attic","bssid":"02:00:00:00:00:09","authtype":4,"enctype":3,"channel":1,"signal_level":-40,
         "max_rate":54,"frequency":2412}])");
    Program program{washer, with({"--radio", radio})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit scan_ap_cb [7]");
    ASSERT_TRUE(program.says("send_ap_list: NONE"));
    file("radio", R"([{"ssid":"left"}])");
    agent.tell("emit scan_ap_cb [8]");
    ASSERT_TRUE(program.says("send_ap_list: NONE", 2));

    if (version == "2.3") {
        // The request is a secret to the journal, which tells its length.
        const auto length_of = [](const std::string &text) {
            return "<secret, " + std::to_string(text.size()) + " bytes>";
        };
        journal_has({R"("method":"common_interface")",
                     length_of(R"({"ap_list_array":[{"ssid":"attic","bssid":"02:00:00:00:00:09","authtype":4,)"
                               R"("enctype":3,"channel":1,"signal_level":-40,"max_rate":54,"frequency":2412},)"
                               R"({"ssid":"weak","authtype":0,"enctype":0,"channel":0,"signal_level":-80,"max_rate":0,)"
                               R"("frequency":0}],"common_interface":6,"req_id":7})")});
        journal_has({R"("method":"common_interface")",
                     length_of(R"({"ap_list_array":[{"ssid":"left","authtype":0,"enctype":0,"channel":0,)"
                               R"("signal_level":0,"max_rate":0,"frequency":0}],"common_interface":6,"req_id":8})")});
    } else {
        const std::string rest =
            R"("channel":1,"bssid":"02:00:00:00:00:09","signal_level":-40,"max_rate":54},{"ssid":"weak")";
        journal_has({R"("method":"send_ap_list")", R"("req_id":7,"ap_list":[{"ssid":"attic")", rest});
        journal_has({R"("method":"send_ap_list")", R"("req_id":8,"ap_list":[{"ssid":"left")"});
    }
    stops(program);
}

TEST_P(AWasherWithAgent, ShowsThePinAndKeepsWhatThePhoneTells)
{
    AgentProcess agent{home, {"--agent-version", version}};
    Program program{washer, with({"--state", path("state")})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit user_confirm_cb");
    program.says("user confirm: the user says yes");
    agent.tell(R"(emit pin_generate_cb ["12345678",0])");
    program.says("display: PIN 12345678");
    agent.tell("emit pin_display_close_cb");
    program.says("display: dark");
    agent.tell(R"(emit device_provisioning_cb [{"language":"de-DE","country":"AT","rmd":"phone-1"}])");
    program.says("provisioning: taken");
    agent.tell("emit softap_stop_cb");
    program.says("soft access point: stopped");
    EXPECT_EQ(program.said("registering phone: phone-1"), version < "1.1" ? 0 : 1);
    EXPECT_EQ(content("state"), "[washer]\nlanguage=de-DE\ncountry=AT\n");
    EXPECT_EQ(home.journalled({"send_user_confirm", R"({"confirm":true})"}), 1);
    stops(program);
}

TEST_F(Washer, AsksForAnotherLanguageOnlyWhereItIsSpoken)
{
    AgentProcess agent{home};
    Program program{washer, with({"--state", path("state")})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell(R"(emit provisioning_language_cb [4,"bcp47","fr-FR"])");
    agent.tell(R"(emit provisioning_language_cb [5,"bcp47","tlh"])");
    program.says("send_provisioning_language_setting_result: NONE", 2);
    journal_has({"send_provisioning_language_setting_result", R"({"req_id":4,"result":true})"});
    journal_has({"send_provisioning_language_setting_result", R"({"req_id":5,"result":false})"});
    EXPECT_EQ(content("state"), "[washer]\nlanguage=fr-FR\n");
    stops(program);
}

TEST_F(Washer, RefusesForItsUser)
{
    AgentProcess agent{home};
    Program program{washer, with({"--refuse-confirm"})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit user_confirm_cb");
    agent.tell("emit reset_confirm_cb");
    program.says("the user says no", 2);
    journal_has({R"("method":"send_user_confirm")", R"({"confirm":false})"});
    journal_has({R"("method":"send_reset_confirm")", R"({"confirm":false})"});
    stops(program);
}

TEST_F(Washer, ForgetsItsUserWhenItIsReset)
{
    AgentProcess agent{home};
    file("state", "[washer]\nlanguage=de-DE\nnick name=Cellar\n");
    Program program{washer, with({"--state", path("state")})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit reset_result_cb [false]");
    program.says("reset: did not happen");
    EXPECT_NE(content("state").find("Cellar"), std::string::npos);
    agent.tell("emit reset_result_cb [true]");
    program.says("reset: done");
    EXPECT_EQ(content("state").find("Cellar"), std::string::npos);
    stops(program);
}

TEST_F(Washer, GoesByTheNameThatItWasGivenAlsoAfterItsNextStart)
{
    AgentProcess agent{home};
    for (const char *name : {"\"Washer\"", "\"C\xc3\xa4llar\""}) {
        Program program{washer, with({"--state", path("state")})};
        ASSERT_TRUE(program.says("washer: ready"));
        journal_has({R"("method":"set_device_profile")", std::string{R"({\"nick\":\)"} + name + "\\\""}, 0);
        journal_has({R"("method":"set_device_profile")",
                     std::string{R"(\"nick\":\")"} + std::string{name}.substr(1, std::string{name}.size() - 2)});
        agent.tell("emit nick_changed_cb [0,\"C\xc3\xa4llar\"]");
        program.says("nick name: C\xc3\xa4llar (device 0)");
        stops(program);
    }
}

TEST_F(Washer, KeepsToOneLineWhateverItIsTold)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit nick_changed_cb [0,\"a\\nb\\u001b[31m\xff\"]");
    program.says(R"(nick name: a\x0ab\x1b[31m\xff (device 0))");
    stops(program);
}

TEST_F(Washer, TakesNetworkNamesAsTheBytesThatTheyAre)
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
    Program program{washer, with({"--radio", radio})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit scan_ap_cb [1]");
    program.says("scan: 2 access points, 1 with a name that can be told");
    program.says("send_ap_list: NONE");
    const std::string in_json{"\xff\\u0001\\\"\\\\\\u001b\xc3 32 bytes, no UTF-8 text!\x80"};
    // The journal shows bytes that are no text as replacement characters.
    const std::string shown{"\xef\xbf\xbd\\u0001\\\"\\\\\\u001b\xef\xbf\xbd 32 bytes, no UTF-8 text!\xef\xbf\xbd"};
    journal_has({"send_ap_list", R"([{"ssid":")" + shown + R"(",)"});
    agent.tell(R"(emit wifi_ap_provisioning_cb [{"ssid":")" + in_json + R"("}])");
    program.says(R"(join: joined \xff\x01"\\x1b\xc3 32 bytes, no UTF-8 text!\x80 on channel 9)");
    stops(program);
}

TEST_F(Washer, SaysThatThereIsNothingToTellOfAnEmptyScan)
{
    AgentProcess agent{home};
    Program program{washer, with({"--radio", file("radio", "[]")})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit scan_ap_cb [1]");
    program.says("send_ap_list: left out");
    file("radio", "[{]");
    agent.tell("emit scan_ap_cb [2]");
    program.says("radio: " + path("radio") + ": it is no JSON array of access points");
    stops(program);
    EXPECT_EQ(home.journalled({R"("ap_list")"}), 0);
}

TEST_F(Washer, FindsTheAccessPointWhoseAddressThePhoneGives)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell(R"(emit wifi_ap_prov_with_candidates_cb [{"ap_ssid":"home","ap_pwd":"laundry day",)"
               R"("ap_bssid":"02:00:00:00:00:02","ap_candidates":"[{},{}]"}])");
    program.says("candidates: 2");
    program.says("join: joined home on channel 44");
    stops(program);
}

TEST_F(Washer, TellsThatTheChoiceCannotBeRead)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell(R"(emit wifi_ap_prov_with_candidates_cb ["{"])");
    agent.tell(R"(emit wifi_ap_prov_with_candidates_cb [{"ap_ssid":17}])");
    program.says("join: failed: the phone's choice cannot be read", 2);
    journal_has({"set_wifi_connection_error_code", R"({"error_code":3})"}, 2);
    stops(program);
}

// ---- the cloud --------------------------------------------------------------------------------------------------------

TEST_F(Washer, SignsUpOnceItHasJoinedWithTheAccountThatThePhoneBrings)
{
    AgentProcess agent{home, {"--agent-version", "1.6"}};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell(R"(emit provisioning_vendor_info_cb [1,{"account":{"user_id":"someone","access_token":"s3cret"}}])");
    program.says("vendor data: ");
    EXPECT_EQ(requests("signup_cloud"), 0);
    agent.tell(chooses("1.6", "home", "laundry day"));
    program.says("sign_up_cloud: NONE");
    journal_has({R"("method":"signup_cloud")", R"("access_token":"<secret, 6 bytes>")", R"("user_id":"someone")"});
    agent.tell("emit signup_status_changed_cb [true]");
    program.says("cloud account: signed up");
    stops(program);
    EXPECT_EQ(program.said("s3cret"), 0) << "tokens are not printed";
}

TEST_P(AWasherWithAgent, SignsUpAtOnceWhereItIsToldTo)
{
    AgentProcess agent{home, {"--agent-version", version}};
    const std::string account =
        file("account", R"({"region":"EU","user_id":"me","access_token":"s3cret","ci_server":"c"})");
    Program program{washer, with({"--sign-up", "--account", account})};
    program.says("washer: ready");
    EXPECT_EQ(program.said("sign_up_cloud: NONE"), 1);
    if (version < "2.0")
        journal_has({R"("method":"signup_cloud")", R"("region":"EU")", R"("user_id":"me")"});
    else
        journal_has({R"("method":"common_interface")",
                     "<secret, " +
                         std::to_string(std::string{R"({"region":"EU","access_token":"s3cret","user_id":"me",)"
                                                    R"("ci_server":"c","common_interface":3})"}
                                            .size()) +
                         " bytes>"});
    stops(program);
}

TEST_F(Washer, LosesItsSessionAndComesBack)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit signin_status_changed_cb [true]");
    program.says("cloud session: signed in");
    agent.tell("emit tcp_session_disconnected_cb [104]");
    program.says("cloud session: lost, error 104");
    agent.tell("emit signin_status_changed_cb [true]");
    program.says("cloud session: back after ");
    agent.tell("emit signin_status_changed_cb [false]");
    program.says("cloud session: signed out");
    agent.tell(R"(emit cloud_device_list_cb [[{"device_id":"lamp"},{"device_id":"fan"}]])");
    program.says("cloud devices: 2: lamp, fan");
    agent.tell(R"(emit diagnostics_cb [3,"log"])");
    program.says("diagnostics wanted: log (3)");
    agent.tell("emit keepalive_result_cb [0]");
    program.says("keep-alive: result 0");
    stops(program);
    EXPECT_EQ(requests("create_hdr_token_info"), 1) << "once for each connection";
    EXPECT_EQ(requests("create_hdr_certificate"), 1);
}

using Request = std::unique_ptr<X509_REQ, decltype(&X509_REQ_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

template <class Read>
auto read_pem(const std::string &text, Read read)
{
    BIO *bio = BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
    auto *result = read(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    return result;
}

TEST_F(Washer, AsksForACertificateOfAKeyThatItKeeps)
{
    AgentProcess agent{home, {"--device-id", "01234567-89ab-4cde-8f01-23456789abcd"}};
    std::string request_text;
    for (int start = 1; start <= 2; ++start) {
        Program program{washer, with({"--state", path("state")})};
        ASSERT_TRUE(program.says("washer: ready"));
        agent.tell("emit signin_status_changed_cb [true]");
        program.says(start == 1 ? "certificate: made" : "certificate: found");
        program.says("token: for ");
        stops(program);
        EXPECT_EQ(program.said("virtual-agent-certificate") + program.said("virtual-agent-token"), 0);
    }
    journal_has({R"("method":"get_hdr_certificate")",
                 R"({"device_type":"washer","certificate_arn":"virtual-agent-certificate")"});

    for (const std::string &line : home.journal()) {
        const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> json{cJSON_Parse(line.c_str()), cJSON_Delete};
        const cJSON *arguments = cJSON_GetObjectItem(json.get(), "arguments");
        if (const char *csr = cJSON_GetStringValue(cJSON_GetObjectItem(arguments, "csr")))
            request_text += csr;
    }
    const Request request{read_pem(request_text, PEM_read_bio_X509_REQ), X509_REQ_free};
    const Key key{read_pem(content("state.key"), PEM_read_bio_PrivateKey), EVP_PKEY_free};
    ASSERT_TRUE(request && key) << request_text;
    EXPECT_EQ(X509_REQ_verify(request.get(), key.get()), 1);
    char name[64] = "";
    X509_NAME_get_text_by_NID(X509_REQ_get_subject_name(request.get()), NID_commonName, name, sizeof name);
    EXPECT_STREQ(name, "01234567-89ab-4cde-8f01-23456789abcd");
    struct stat key_file = {};
    ASSERT_EQ(::stat(path("state.key").c_str(), &key_file), 0);
    EXPECT_EQ(key_file.st_mode & 0777U, 0600U);
}

TEST_F(Washer, SendsTheSigningRequestThatItIsGiven)
{
    AgentProcess agent{home};
    Program program{washer, with({"--csr", file("csr", "a request of another's")})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit signin_status_changed_cb [true]");
    program.says("certificate: made");
    journal_has({"create_hdr_certificate", R"("csr":"a request of another's")"});
    stops(program);
}

TEST_F(Washer, NeverReplacesAKeyThatItCannotRead)
{
    AgentProcess agent{home};
    const std::string key = file("state.key", "no key");
    Program program{washer, with({"--state", path("state")})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.tell("emit signin_status_changed_cb [true]");
    program.says("key: " + key + " holds no private key");
    program.says("signing request: could not be made");
    stops(program);
    EXPECT_EQ(content("state.key"), "no key");
    EXPECT_EQ(requests("create_hdr_certificate"), 0);
}

TEST_F(Washer, AnswersTheMakersQuestionAndSaysWhatElseItIsTold)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    const std::pair<const char *, const char *> events[] = {
        {"status_changed_cb [3]", "setup status: 3"},
        {R"(ultrasound_pin_generate_cb ["4711",0])", "loudspeaker: plays a PIN of 4 digits"},
        {"ultrasound_pin_stop_cb", "loudspeaker: silent"},
        {"otm_support_feature_cb [2]", "on-boarding feature: 2"},
        {R"(tnc_result_cb ["agreed"])", "terms: the user's answer: agreed"},
        {R"(last_status_changed_cb ["E3"])", "last status: E3"},
        {R"(nick_changed_cb [2,"Dryer"])", "nick name: Dryer (device 2)"},
        {R"(provisioning_get_requested_cb ["all",1])", "vendor data wanted: all (1)"},
    };
    for (const auto &[event, line] : events) {
        agent.tell(std::string{"emit "} + event);
        program.says(line);
    }
    journal_has({R"("method":"set_provisioning_vendor_info")",
                 R"({\"model\":\"WM-7\",\"firmware\":\"4.1.2\",\"joined\":false})"},
                2); // at the start, and when asked
    EXPECT_EQ(program.said("4711"), 0);
    stops(program);
}

// ---- good and bad times -----------------------------------------------------------------------------------------------

TEST_F(Washer, OutlivesItsAgent)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    agent.signal(SIGKILL);
    program.says("disconnected: NONE");
    program.says("washer: ready", 2); // the platform has started the agent again
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.out();
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(Washer, OutlivesAnAgentThatDiesDuringACall)
{
    AgentProcess agent{home};
    agent.tell("fault set_language_list die");
    Program program{washer, with({})};
    program.says("set_language_list: IO_ERROR");
    program.says("washer: ready");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.out();
    EXPECT_EQ(program.said("io error: the link to the agent broke during a call"), 1);
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(Washer, OutlivesAnAgentThatIsSilent)
{
    AgentProcess agent{home};
    agent.tell("fault set_tnc_url silent");
    ::setenv("KORVANE_REPLY_TIMEOUT_MS", "200", 1);
    Program program{washer, with({})};
    ::unsetenv("KORVANE_REPLY_TIMEOUT_MS");
    program.says("set_tnc_url: IO_ERROR");
    program.says("washer: ready");
    stops(program);
}

TEST_F(Washer, ConnectsToTheAgentThatReplacesItsOwn)
{
    AgentProcess agent{home, {"--agent-version", "1.2"}};
    ::setenv("KORVANE_LOG", ("info:file:" + path("log")).c_str(), 1);
    Program program{washer, with({})};
    ASSERT_TRUE(program.says("washer: ready"));
    // The bus learns in the background that the washer listens: what is announced at once may come too early.
    ASSERT_TRUE(run_until([&] {
        agent.tell("update start");
        return content("log").find("Agent update is started") != std::string::npos;
    }));
    agent.tell("update install");
    program.says("disconnected: SERVICE_UNAVAILABLE");
    program.says("agent: is being replaced, waiting");
    agent.tell("update complete 2.3");
    program.says("washer: ready", 2);
    EXPECT_EQ(program.said("set_provisioning_language_cb: AGENT_VERSION_LOWER"), 1);
    EXPECT_EQ(program.said("set_provisioning_language_cb: NONE"), 1);
    stops(program);
}

TEST_F(Washer, SaysByItsExitStatusHowItWent)
{
    Program alone{washer, with({})};
    EXPECT_EQ(alone.wait(), 2);
    EXPECT_EQ(alone.said("initialize: NOT_SUPPORTED"), 1);
    {
        AgentProcess agent{home, {"--refuse"}};
        Program program{washer, with({})};
        EXPECT_EQ(program.wait(), 2);
        EXPECT_EQ(program.said("rejected: PERMISSION_DENIED"), 1);
    }
    AgentProcess agent{home};
    agent.tell("fault start result -1");
    Program without_service{washer, with({})};
    EXPECT_EQ(without_service.wait(), 1);
    EXPECT_EQ(without_service.said("start: OPERATION_FAILED"), 1);

    agent.tell("fault set_tnc_url result -1");
    Program with_a_failure{washer, with({})};
    with_a_failure.says("washer: ready");
    with_a_failure.signal(SIGTERM);
    EXPECT_EQ(with_a_failure.wait(), 1);
    EXPECT_EQ(with_a_failure.said("set_tnc_url: OPERATION_FAILED"), 1);
}

struct WrongLine {
    const char *name;
    std::vector<std::string> arguments;
    const char *complaint;
    const char *radio = "[]";
};

struct AWrongCommandLine : Washer, testing::WithParamInterface<WrongLine> {};

TEST_P(AWrongCommandLine, IsRefusedWithTheReason)
{
    const std::string radio = file("radio", GetParam().radio);
    std::vector<std::string> arguments = GetParam().arguments;
    for (std::string &argument : arguments)
        if (argument == "RADIO")
            argument = radio;
    Program program{washer, arguments};
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.out(), "");
    EXPECT_NE(program.err().find(GetParam().complaint), std::string::npos) << program.err();
    EXPECT_NE(program.err().find("Try 'washer --help'"), std::string::npos) << program.err();
}

INSTANTIATE_TEST_SUITE_P(
    OfTheWasher, AWrongCommandLine,
    testing::Values(
        WrongLine{"UnknownOption", {"--spin"}, "Unknown option --spin"},
        WrongLine{"Argument", {"now"}, "'now' is no option"},
        WrongLine{"NegativeTime", {"--join-ms", "-1"}, "--join-ms must be 0 or above, not -1"},
        WrongLine{"NoTime", {"--join-ms", "soon"}, "for --join-ms"},
        WrongLine{"NoValue", {"--state"}, "Missing argument for --state"},
        WrongLine{"NoRadio", {"--radio", "/nonexistent/radio"}, "/nonexistent/radio"},
        WrongLine{"NoSigningRequest", {"--csr", "/nonexistent/csr"}, "/nonexistent/csr: there is no such file"},
        WrongLine{"NoAccount", {"--account", "/nonexistent/account"}, "/nonexistent/account"},
        WrongLine{"AccountOfAnotherForm", {"--account", "RADIO"}, "it is no JSON object"},
        WrongLine{"StateOfAnotherForm", {"--state", "RADIO"}, "radio: "},
        WrongLine{"RadioOfAnotherForm", {"--radio", "RADIO"}, "it is no JSON array of access points", "{}"},
        WrongLine{"NoObject", {"--radio", "RADIO"}, "access point 2: it is no object", R"([{"ssid":"a"},7])"},
        WrongLine{"NoName", {"--radio", "RADIO"}, "access point 1: it has either \"ssid\" or \"ssid_hex\"", "[{}]"},
        WrongLine{"TwoNames", {"--radio", "RADIO"}, "it has either", R"([{"ssid":"a","ssid_hex":"61"}])"},
        WrongLine{"EmptyName", {"--radio", "RADIO"}, "it has a name of 1 to 32 bytes", R"([{"ssid":""}])"},
        WrongLine{"LongName",
                  {"--radio", "RADIO"},
                  "it has a name of 1 to 32 bytes",
                  R"([{"ssid":"123456789012345678901234567890123"}])"},
        WrongLine{"OddDigits", {"--radio", "RADIO"}, "pairs of hexadecimal digits", R"([{"ssid_hex":"616"}])"},
        WrongLine{"NoDigits", {"--radio", "RADIO"}, "pairs of hexadecimal digits", R"([{"ssid_hex":"6g"}])"},
        WrongLine{"NoNumber",
                  {"--radio", "RADIO"},
                  "\"channel\" is a whole number of 32 bits",
                  R"([{"ssid":"a","channel":"6"}])"},
        WrongLine{"HugeNumber",
                  {"--radio", "RADIO"},
                  "\"max_rate\" is a whole number of 32 bits",
                  R"([{"ssid":"a","max_rate":2147483648}])"},
        WrongLine{"BrokenNumber",
                  {"--radio", "RADIO"},
                  "\"frequency\" is a whole number of 32 bits",
                  R"([{"ssid":"a","frequency":2412.5}])"},
        WrongLine{"NoText", {"--radio", "RADIO"}, "\"password\" is a text", R"([{"ssid":"a","password":1}])"},
        WrongLine{"MisspeltMember", {"--radio", "RADIO"}, "\"chanel\" is not known", R"([{"ssid":"a","chanel":1}])"},
        WrongLine{"MoreThanJson", {"--radio", "RADIO"}, "it is no JSON array of access points", "[] []"},
        WrongLine{"NoTruth", {"--radio", "RADIO"}, "\"gone\" is true or false", R"([{"ssid":"a","gone":1}])"}),
    [](const auto &line) { return std::string{line.param.name}; });

} // namespace
