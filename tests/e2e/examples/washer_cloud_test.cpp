// SPDX-License-Identifier: Apache-2.0
// The example washer: sign-up, session, certificates and diagnostics.
#include "e2e/fixtures/cloud_device.hpp"
#include "support/signing_request.hpp"
#include "washer_fixture.hpp"

#include <openssl/pem.h>

#include <sys/stat.h>

using namespace kv::test;

namespace {

TEST_F(Washer, SignsUpAfterJoiningWithTheAccountOfThePhone)
{
    AgentProcess agent{home, {"--agent-version", "1.6"}};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command(
        R"(emit provisioning_vendor_info_cb [1,{"account":{"user_id":"someone","access_token":"s3cret"}}])");
    program.wait_for_output("vendor data: ");
    EXPECT_EQ(requests("signup_cloud"), 0);
    agent.run_command(choice_of("1.6", "home", "laundry day"));
    program.wait_for_output("sign_up_cloud: NONE");
    expect_in_journal(
        {R"("method":"signup_cloud")", R"("access_token":"<secret, 6 bytes>")", R"("user_id":"<secret, 7 bytes>")"});
    agent.run_command("emit signup_status_changed_cb [true]");
    program.wait_for_output("cloud account: signed up");
    expect_clean_end(program);
    EXPECT_EQ(program.count_in_output("s3cret"), 0) << "tokens are not printed";
}

TEST_P(WasherWithAgent, SignsUpAtOnceWithAnAccountOption)
{
    AgentProcess agent{home, {"--agent-version", version}};
    const std::string account =
        file("account", R"({"region":"EU","user_id":"me","access_token":"s3cret","ci_server":"c"})");
    Program program{washer, with_short_join({"--sign-up", "--account", account})};
    program.wait_for_output("washer: ready");
    EXPECT_EQ(program.count_in_output("sign_up_cloud: NONE"), 1);
    if (version < "2.0")
        expect_in_journal({R"("method":"signup_cloud")", R"("region":"EU")", R"("user_id":"<secret, 2 bytes>")"});
    else
        expect_in_journal({R"("method":"common_interface")",
                           R"({"region":"EU","access_token":"<secret, 6 bytes>","user_id":"<secret, 2 bytes>",)"
                           R"("ci_server":"c","common_interface":3})"});
    expect_clean_end(program);
}

TEST_F(Washer, ReconnectsAfterLosingItsSession)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit signin_status_changed_cb [true]");
    program.wait_for_output("cloud session: signed in");
    agent.run_command("emit tcp_session_disconnected_cb [104]");
    program.wait_for_output("cloud session: lost, error 104");
    agent.run_command("emit signin_status_changed_cb [true]");
    program.wait_for_output("cloud session: back after ");
    agent.run_command("emit signin_status_changed_cb [false]");
    program.wait_for_output("cloud session: signed out");
    agent.run_command(R"(emit cloud_device_list_cb [[{"device_id":"lamp"},{"device_id":"fan"}]])");
    program.wait_for_output("cloud devices: 2: lamp, fan");
    agent.run_command(R"(emit diagnostics_cb [3,"log"])");
    program.wait_for_output("diagnostics wanted: log (3)");
    agent.run_command("emit keepalive_result_cb [0]");
    program.wait_for_output("keep-alive: result 0");
    expect_clean_end(program);
    EXPECT_EQ(requests("create_hdr_token_info"), 1) << "once per connection";
    EXPECT_EQ(requests("create_hdr_certificate"), 1);
}

Key key_from(const std::string &pem)
{
    BIO *bio = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
    Key key{PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr)};
    BIO_free(bio);
    return key;
}

/// Whether the certificate in the washer's state was issued for this key.
bool is_certified(const std::string &state, EVP_PKEY *key)
{
    const std::string member = "certificate=";
    const std::size_t at = state.find(member);
    CloudDevice other{"2.3"};
    if (at == std::string::npos || !other.connect())
        return false;
    const std::string name = state.substr(at + member.size(), state.find('\n', at) - at - member.size());
    const auto found = other.get_certificate("washer", name);
    const Certificate certificate = certificate_from(found.text);
    return certificate && key && EVP_PKEY_eq(X509_get0_pubkey(certificate.get()), key) == 1;
}

TEST_F(Washer, RequestsACertificateForAKeyThatItKeeps)
{
    AgentProcess agent{home};
    for (int start = 1; start <= 2; ++start) {
        Program program{washer, with_short_join({"--state", path("state")})};
        ASSERT_TRUE(program.wait_for_output("washer: ready"));
        agent.run_command("emit signin_status_changed_cb [true]");
        program.wait_for_output(start == 1 ? "certificate: made" : "certificate: found");
        program.wait_for_output("token: for ");
        expect_clean_end(program);
        EXPECT_EQ(program.count_in_output("PRIVATE KEY") + program.count_in_output("BEGIN CERTIFICATE"), 0);
    }
    EXPECT_EQ(requests("create_hdr_certificate"), 1);
    EXPECT_EQ(requests("get_hdr_certificate"), 1);
    const Key key = key_from(content("state.key"));
    EXPECT_TRUE(is_certified(content("state"), key.get())) << content("state");
    struct stat key_file = {};
    ASSERT_EQ(::stat(path("state.key").c_str(), &key_file), 0);
    EXPECT_EQ(key_file.st_mode & 0777U, 0600U);
}

TEST_F(Washer, SendsTheSigningRequestOfItsOption)
{
    AgentProcess agent{home};
    const Key key = new_key();
    Program program{washer, with_short_join({"--state", path("state"), "--csr", file("csr", request_for(key.get()))})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit signin_status_changed_cb [true]");
    program.wait_for_output("certificate: made");
    expect_clean_end(program);
    EXPECT_TRUE(is_certified(content("state"), key.get())) << content("state");
    EXPECT_EQ(content("state.key"), "");
}

TEST_F(Washer, ReportsThatItsSigningRequestIsRefused)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({"--csr", file("csr", "no request")})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit signin_status_changed_cb [true]");
    program.wait_for_output("certificate: refused, the agent's code is -22");
    expect_clean_end(program);
}

TEST_F(Washer, NeverReplacesAKeyThatItCannotRead)
{
    AgentProcess agent{home};
    const std::string key = file("state.key", "no key");
    Program program{washer, with_short_join({"--state", path("state")})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.run_command("emit signin_status_changed_cb [true]");
    program.wait_for_output("key: " + key + " holds no private key");
    program.wait_for_output("signing request: could not be made");
    expect_clean_end(program);
    EXPECT_EQ(content("state.key"), "no key");
    EXPECT_EQ(requests("create_hdr_certificate"), 0);
}

TEST_F(Washer, AnswersDiagnosticsAndPrintsOtherEvents)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
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
        agent.run_command(std::string{"emit "} + event);
        program.wait_for_output(line);
    }
    // At the start and on request. The text may carry secrets, so the journal shows its length only:
    // {"model":"WM-7","firmware":"4.1.2","joined":false}
    expect_in_journal({R"("method":"set_provisioning_vendor_info")", R"("vendor_info":"<secret, 50 bytes>")"}, 2);
    EXPECT_EQ(program.count_in_output("sung-pin"), 0);
    expect_clean_end(program);
}

} // namespace
