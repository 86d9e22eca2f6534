// SPDX-License-Identifier: Apache-2.0
// The cloud functions of the library, with agents of several versions.
#include "e2e/fixtures/cloud_device.hpp"
#include "support/signing_request.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>

using namespace kv::test;

namespace {

using Events = std::vector<std::string>;

class CloudOfAgent : public testing::TestWithParam<const char *> {
protected:
    void SetUp() override
    {
        agent.run_command("clock stand");
        ASSERT_TRUE(device.connect());
        ASSERT_TRUE(device.listen());
    }

    bool knows(int version) const { return device.version >= version; }

    /// Checks the received events, without those that this version does not have.
    Events of_version(Events events) const { return knows(1004) ? events : Events{}; }
    bool receives(const Events &expected)
    {
        const bool all_arrived =
            run_main_loop_until([&] { return device.received.size() >= of_version(expected).size(); });
        EXPECT_EQ(device.received, of_version(expected));
        device.received.clear();
        return all_arrived;
    }
    bool state_has(const std::string &part)
    {
        const std::string state = agent.reply_to("state");
        EXPECT_NE(state.find(part), std::string::npos) << part << " in " << state;
        return state.find(part) != std::string::npos;
    }
    void sign_in()
    {
        ASSERT_EQ(device.sign_up(), KORVANE_ERROR_NONE);
        ASSERT_TRUE(receives({"signed up 1", "signed in 1"}));
    }

    AgentHome home;
    AgentProcess agent{home, {"--agent-version", GetParam(), "--device-id", "11111111-2222-4333-8444-555555555555"}};
    CloudDevice device{GetParam()};
};

TEST_P(CloudOfAgent, SignsTheDeviceUpAndIn)
{
    EXPECT_EQ(device.sign_up(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(receives({"signed up 1", "signed in 1"}));
    EXPECT_TRUE(state_has(R"("signed_up":true,"signed_in":true,"thing_status":2)"));
    EXPECT_TRUE(state_has(R"("credentials":{"region":"eu","auth_provider":"","access_token":"<secret, 14 bytes>")"));
    EXPECT_EQ(home.count_in_journal({"very secret"}), 0);
    if (!knows(1004))
        return;
    bool signed_up = false;
    bool signed_in = false;
    int status = -1;
    EXPECT_EQ(korvane_get_signup_status(device.handle(), &signed_up), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_get_signin_status(device.handle(), &signed_in), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_get_thing_status(device.handle(), &status), KORVANE_ERROR_NONE);
    EXPECT_TRUE(signed_up);
    EXPECT_TRUE(signed_in);
    EXPECT_EQ(status, 2);
}

TEST_P(CloudOfAgent, RefusesASignUpWithoutAnAccessToken)
{
    EXPECT_EQ(device.sign_up(nullptr), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(device.sign_up(""), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_TRUE(state_has(R"("signed_up":false)"));
}

TEST_P(CloudOfAgent, FailsOneSignUpAndDelaysAnother)
{
    agent.run_command(R"(cloud next-sign-up {"outcome":"fail"})");
    EXPECT_EQ(device.sign_up(), KORVANE_ERROR_NONE);
    EXPECT_TRUE(receives({"signed up 0"}));

    agent.run_command(R"(cloud next-sign-up {"outcome":"succeed","after_ms":5000})");
    EXPECT_EQ(device.sign_up(), KORVANE_ERROR_NONE);
    agent.run_command("clock advance 4999");
    EXPECT_TRUE(state_has(R"("signed_up":false)"));
    agent.run_command("clock advance 1");
    EXPECT_TRUE(receives({"signed up 1", "signed in 1"}));
}

TEST_P(CloudOfAgent, LosesAndRestoresTheSession)
{
    sign_in();
    agent.run_command(R"(cloud drop-session {"code":-104,"after_ms":3000})");
    EXPECT_TRUE(receives({"session lost -104", "signed in 0"}));
    EXPECT_TRUE(state_has(R"("signed_in":false,"thing_status":1)"));
    agent.run_command("clock advance 3000");
    EXPECT_TRUE(receives({"signed in 1"}));
    EXPECT_TRUE(state_has(R"("signed_in":true,"thing_status":2)"));

    if (!knows(1004))
        return;
    EXPECT_EQ(korvane_disconnect_cloud_session(device.handle()), KORVANE_ERROR_NONE);
    EXPECT_TRUE(receives({"session lost 0", "signed in 0"}));
    agent.run_command("cloud restore-session");
    EXPECT_TRUE(receives({"signed in 1"}));
}

TEST_P(CloudOfAgent, RefusesASignInOnRequest)
{
    if (!knows(2002)) {
        EXPECT_EQ(korvane_disable_signin(device.handle(), true), KORVANE_ERROR_AGENT_VERSION_LOWER);
        return;
    }
    sign_in();
    EXPECT_EQ(korvane_disable_signin(device.handle(), true), KORVANE_ERROR_NONE);
    EXPECT_TRUE(receives({"signed in 0"}));
    EXPECT_NE(agent.reply_to("cloud sign-in").find("disabled signing in"), std::string::npos);
    EXPECT_EQ(korvane_disable_signin(device.handle(), false), KORVANE_ERROR_NONE);
    EXPECT_TRUE(receives({"signed in 1"}));
}

TEST_P(CloudOfAgent, SendsKeepAlivesAtTheSelectedIntervals)
{
    int intervals[] = {10, 3600};
    int selected[] = {1};
    if (!knows(1003)) {
        EXPECT_EQ(korvane_send_keepalive(device.handle()), KORVANE_ERROR_AGENT_VERSION_LOWER);
        return;
    }
    EXPECT_EQ(korvane_send_keepalive(device.handle()), KORVANE_ERROR_OPERATION_FAILED) << "signed out";
    EXPECT_EQ(korvane_set_keepalive_intervals(device.handle(), intervals, 2), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_select_keepalive_intervals(device.handle(), selected, 1), KORVANE_ERROR_NONE);
    sign_in();
    agent.run_command("clock advance 86400000");
    EXPECT_TRUE(receives(Events(24, "keep-alive 0")));
    EXPECT_TRUE(state_has(R"("intervals":[10,3600],"selected":[1],"interval_s":3600,"result":0,"rounds":24)"));

    agent.run_command(R"(cloud keepalive {"result":-110})");
    EXPECT_EQ(korvane_send_keepalive(device.handle()), KORVANE_ERROR_NONE);
    EXPECT_TRUE(receives({"keep-alive -110"}));
    EXPECT_TRUE(state_has(R"("sent":300,"received":300)")) << "twelve bytes each";
}

/// The line of this connection in the kernel's list; empty if there is none.
std::string line_of(const std::string &local_port, const std::string &remote_port)
{
    std::ifstream list{"/proc/net/tcp"};
    for (std::string line; std::getline(list, line);)
        if (line.find("0100007F:" + local_port + " 0100007F:" + remote_port + " 01") != std::string::npos)
            return line;
    return "";
}

std::string hex_port(int port)
{
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0') << std::setw(4) << port;
    return text.str();
}

TEST_P(CloudOfAgent, ReportsTheHeaderOfAConnectionOfTheKernel)
{
    korvane_tcp_header_info_h header = nullptr;
    if (!knows(1004)) {
        EXPECT_EQ(korvane_get_tcp_header_info(device.handle(), &header), KORVANE_ERROR_AGENT_VERSION_LOWER);
        return;
    }
    EXPECT_EQ(korvane_get_tcp_header_info(device.handle(), &header), KORVANE_ERROR_OPERATION_FAILED) << "signed out";
    sign_in();
    ASSERT_EQ(korvane_get_tcp_header_info(device.handle(), &header), KORVANE_ERROR_NONE);
    char *from = nullptr;
    char *to = nullptr;
    int numbers[5] = {};
    EXPECT_EQ(korvane_tcp_header_info_get_ip_version(header, &numbers[0]), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_tcp_header_info_get_src_addr(header, &from), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_tcp_header_info_get_dst_addr(header, &to), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_tcp_header_info_get_src_port(header, &numbers[1]), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_tcp_header_info_get_dst_port(header, &numbers[2]), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_tcp_header_info_get_window(header, &numbers[3]), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_tcp_header_info_get_window_scale(header, &numbers[4]), KORVANE_ERROR_NONE);
    EXPECT_EQ(numbers[0], 4);
    EXPECT_STREQ(from, "127.0.0.1");
    EXPECT_STREQ(to, "127.0.0.1");
    EXPECT_NE(line_of(hex_port(numbers[1]), hex_port(numbers[2])), "");
    EXPECT_GT(numbers[3], 0);
    EXPECT_GE(numbers[4], 0);
    EXPECT_LE(numbers[4], 14);
    std::free(from);
    std::free(to);
    EXPECT_EQ(korvane_release_tcp_header_info(header), KORVANE_ERROR_NONE);

    agent.run_command("cloud drop-session");
    EXPECT_EQ(line_of(hex_port(numbers[1]), hex_port(numbers[2])), "");
}

TEST_P(CloudOfAgent, StoresSubDevicesAndSendsTheirList)
{
    if (!knows(1001)) {
        EXPECT_EQ(korvane_register_sub_device(device.handle(), 1, "lamp"), KORVANE_ERROR_AGENT_VERSION_LOWER);
        return;
    }
    EXPECT_EQ(korvane_register_sub_device(device.handle(), 1, "lamp"), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_register_sub_device(device.handle(), 2, "fan"), KORVANE_ERROR_NONE);
    EXPECT_EQ(korvane_unregister_sub_device(device.handle(), 3), KORVANE_ERROR_OPERATION_FAILED);
    agent.run_command("cloud device-list");
    EXPECT_TRUE(run_main_loop_until([&] { return !device.device_ids.empty(); }));
    EXPECT_EQ(device.device_ids, (std::vector<std::string>{"lamp", "fan"}));

    int second[] = {2};
    korvane_sub_dev_prs_h *list = nullptr;
    int count = 0;
    EXPECT_EQ(korvane_set_sub_device_presence(device.handle(), second, 1, true),
              knows(1004) ? KORVANE_ERROR_NONE : KORVANE_ERROR_AGENT_VERSION_LOWER);
    if (!knows(1006))
        return;
    ASSERT_EQ(korvane_get_sub_device_presence_list(device.handle(), &list, &count), KORVANE_ERROR_NONE);
    ASSERT_EQ(count, 2);
    char *id = nullptr;
    int presence = -1;
    EXPECT_EQ(korvane_get_sub_device_presence(list[1], &id, &presence), KORVANE_ERROR_NONE);
    EXPECT_STREQ(id, "fan");
    EXPECT_EQ(presence, 1);
    std::free(id);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, count), KORVANE_ERROR_NONE);
}

TEST_P(CloudOfAgent, ReportsTheGroupOfTheOwner)
{
    agent.run_command(R"(cloud own {"owner":"ann"})");
    if (knows(1002)) {
        bool owned = false;
        EXPECT_EQ(korvane_get_device_owned_status(device.handle(), &owned), KORVANE_ERROR_NONE);
        EXPECT_TRUE(owned);
    }
    if (!knows(1005))
        return;
    const std::string group = device.group_id();
    EXPECT_TRUE(g_uuid_string_is_valid(group.c_str())) << group;
    EXPECT_EQ(device.group_id(), group);
    agent.run_command("cloud disown");
    EXPECT_EQ(device.group_id(), "") << "a device without an owner has no group";
}

TEST_P(CloudOfAgent, IssuesACertificateThatCanBeVerified)
{
    if (!knows(2001)) {
        EXPECT_NE(agent.reply_to("cloud authority").find("does not know 'authority'"), std::string::npos);
        return;
    }
    const auto made = device.create_certificate("x.d.lamp", request_for(new_key().get()));
    ASSERT_EQ(made.result, 0) << made.text;
    const std::string authority = device.member(agent.reply_to("cloud authority"), "certificate");
    const std::string id = device.member(made.text, "certificate_arn");
    EXPECT_TRUE(verifies(device.member(made.text, "certificate"), authority)) << made.text;

    const auto found = device.get_certificate("x.d.lamp", id);
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.text, device.member(made.text, "certificate"));
    EXPECT_EQ(found.second_text, device.member(made.text, "chain"));

    const auto unknown = device.get_certificate("x.d.lamp", "arn:of:nothing");
    EXPECT_NE(unknown.result, 0);
    EXPECT_NE(unknown.text.find("'arn:of:nothing'"), std::string::npos) << unknown.text;
    EXPECT_NE(device.create_certificate("x.d.lamp", "no request").result, 0);
}

TEST_P(CloudOfAgent, IssuesATokenThatCanBeVerified)
{
    if (!knows(2001)) {
        const auto unheard = [](korvane_h, int, korvane_hdr_token_info_h, void *) {};
        EXPECT_EQ(korvane_create_hdr_token_info(device.handle(), unheard, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
        return;
    }
    const std::string authority = device.member(agent.reply_to("cloud authority"), "certificate");
    std::vector<CloudDevice::Token> tokens{device.token()};
    if (knows(2003))
        tokens.push_back(device.token(R"({"scope":"diagnose"})"));
    for (const CloudDevice::Token &token : tokens) {
        EXPECT_EQ(token.result, 0);
        EXPECT_EQ(token.uuid, "11111111-2222-4333-8444-555555555555");
        EXPECT_EQ(token.server_url, "https://cloud.korvane.example");
        EXPECT_GT(token.expiration_time, 0);
        const std::size_t end = token.text.rfind('.');
        ASSERT_NE(end, std::string::npos);
        EXPECT_TRUE(es256_verifies(token.text.substr(0, end), from_base64url(token.text.substr(end + 1)), authority));
        EXPECT_EQ(home.count_in_journal({token.text}), 0) << "never shown";
    }
    if (knows(2003)) {
        EXPECT_EQ(device.token("no document").result, KORVANE_ERROR_INVALID_PARAMETER);
    }
}

TEST_P(CloudOfAgent, RequestsDiagnostics)
{
    const std::string answer = agent.reply_to(R"(cloud diagnostics {"value":3,"text":"all"})");
    if (!knows(2002)) {
        EXPECT_NE(answer.find("2.2 and later do"), std::string::npos) << answer;
        return;
    }
    EXPECT_EQ(answer, R"({"ok":true,"cloud":{}})");
    EXPECT_TRUE(receives({"diagnostics 3 all"}));
}

INSTANTIATE_TEST_SUITE_P(Agent, CloudOfAgent, testing::Values("1.0", "1.3", "1.6", "2.0", "2.1", "2.3"),
                         [](const testing::TestParamInfo<const char *> &version) {
                             std::string name = version.param;
                             name[1] = '_';
                             return name;
                         });

} // namespace
