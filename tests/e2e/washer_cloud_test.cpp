// SPDX-License-Identifier: Apache-2.0
// The washer in the cloud.
#include "washer_fixture.hpp"

#include <cjson/cJSON.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

#include <sys/stat.h>

using namespace kv::test;

namespace {

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
        {R"(ultrasound_pin_generate_cb ["sung-pin",0])", "loudspeaker: plays a PIN of 8 digits"},
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
    EXPECT_EQ(program.said("sung-pin"), 0);
    stops(program);
}

} // namespace
