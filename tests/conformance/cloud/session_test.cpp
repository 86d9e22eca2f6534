// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <utility>

namespace kv::test {
namespace {

constexpr const char *wrong_form_record = "handle was made for another agent version, in [record] form";
constexpr const char *wrong_form_json = "handle was made for another agent version, in [JSON] form";

using Setter = int (*)(korvane_cloud_info_h, const char *);

const std::vector<std::pair<Setter, std::string>> record_setters = {
    {korvane_cloudinfo_set_region, "eu"},        {korvane_cloudinfo_set_auth_provider, "prov"},
    {korvane_cloudinfo_set_access_token, "acc"}, {korvane_cloudinfo_set_refresh_token, "ref"},
    {korvane_cloudinfo_set_user_id, "user"},     {korvane_cloudinfo_set_client_id, "client"},
};

class CloudInfo : public CloudTest {
protected:
    void make_for(const std::string &version)
    {
        connect_to(version);
        EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
        clear_records();
    }

    void end_run() override
    {
        allocs::stop_failing();
        if (korvane_cloud_info_h made = std::exchange(info, nullptr)) {
            EXPECT_EQ(korvane_cloudinfo_destroy(made), ok); // in every form and with every agent
        }
        CloudTest::end_run();
    }

    Bytes signed_up_with()
    {
        arrives(bytes(i32(0), str(""), i32(0)));
        EXPECT_EQ(korvane_sign_up_cloud(handle, info), ok);
        return only_request();
    }

    korvane_cloud_info_h info = nullptr;
};

TEST_F(CloudInfo, IsSentAsARecordToAgentsBefore20)
{
    make_for("1.6.9");
    for (const auto &[set, value] : record_setters)
        EXPECT_EQ(set(info, value.c_str()), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), ok);
    EXPECT_EQ(only_request(),
              bytes(i32(32), str("eu"), str("prov"), str("acc"), str("ref"), str("user"), str("client")));
}

TEST_F(CloudInfo, IsSentAsEmptyTextsIfItIsEmpty)
{
    make_for("1.0.0");
    arrives(reply(0));
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), ok);
    EXPECT_EQ(only_request(), bytes(i32(32), str(""), str(""), str(""), str(""), str(""), str("")));
}

TEST_F(CloudInfo, IsARecordForAnAgentOfUnknownVersion)
{
    connect_to("1.0.0");
    agent_becomes("");
    EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
    EXPECT_EQ(korvane_cloudinfo_set_region(info, "eu"), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), ok);
    EXPECT_EQ(only_request(), bytes(i32(32), str("eu"), str(""), str(""), str(""), str(""), str("")));
}

TEST_F(CloudInfo, AsARecordIsReplacedByASecondCall)
{
    make_for("1.1.0");
    EXPECT_EQ(korvane_cloudinfo_set_user_id(info, "old"), ok);
    EXPECT_EQ(korvane_cloudinfo_set_user_id(info, "new"), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), ok);
    EXPECT_EQ(only_request(), bytes(i32(32), str(""), str(""), str(""), str(""), str("new"), str("")));
}

TEST_F(CloudInfo, IsSentAsJsonInTheOrderOfTheCallsToAgent20AndLater)
{
    make_for("2.0.0");
    for (const auto &[set, value] : record_setters)
        EXPECT_EQ(set(info, value.c_str()), ok);
    EXPECT_EQ(korvane_cloudinfo_set_cloud_interface_server(info, "https://ci"), ok);
    EXPECT_EQ(korvane_cloudinfo_set_deploy_environment(info, "prod"), ok);
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, 4294967295U), ok);
    EXPECT_EQ(signed_up_with(),
              bytes(i32(102), str(R"({"region":"eu","auth_provider":"prov","access_token":"acc","refresh_token":"ref",)"
                                  R"("user_id":"user","client_id":"client","ci_server":"https://ci",)"
                                  R"("deploy_env":"prod","iatt":4294967295,"common_interface":3})")));
}

TEST_F(CloudInfo, HasOneRegionWithTheNewValueAfterASecondSetRegion)
{
    make_for("2.3.0");
    EXPECT_EQ(korvane_cloudinfo_set_region(info, "eu"), ok);
    EXPECT_EQ(korvane_cloudinfo_set_user_id(info, "u"), ok);
    EXPECT_EQ(korvane_cloudinfo_set_region(info, "us"), ok);
    EXPECT_EQ(signed_up_with(), bytes(i32(102), str(R"({"user_id":"u","region":"us","common_interface":3})")));
}

TEST_F(CloudInfo, HasTwoMembersAfterASecondSetTokenType)
{
    make_for("2.3.0");
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, 0), ok);
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, 1), ok);
    EXPECT_EQ(signed_up_with(), bytes(i32(102), str(R"({"iatt":0,"iatt":1,"common_interface":3})")));
}

TEST_F(CloudInfo, KeepsTheCommandOfASignUpAndAddsAnotherForTheSecond)
{
    make_for("2.3.0");
    EXPECT_EQ(signed_up_with(), bytes(i32(102), str(R"({"common_interface":3})")));
    EXPECT_EQ(signed_up_with(), bytes(i32(102), str(R"({"common_interface":3,"common_interface":3})")));
}

TEST_F(CloudInfo, RefusesSetTokenTypeForOldAgentsAndNull)
{
    make_for("2.0.0");
    EXPECT_EQ(korvane_cloudinfo_set_token_type(nullptr, 1), bad_argument);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_cloudinfo_set_token_type", "handle is NULL")}));
    agent_becomes("1.6.0");
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, 1), too_old);
    EXPECT_EQ(korvane_cloudinfo_set_token_type(nullptr, 1), too_old);
    agent_vanishes();
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, 1), absent);
    agent_returns("2.0.0");
}

TEST_F(CloudInfo, AddsNoTokenTypeWithoutMemory)
{
    unsigned runs = 0;
    fail_each_allocation([&] { make_for("2.0.0"); }, [&] { return korvane_cloudinfo_set_token_type(info, 1); },
                         [&](int before, int result) {
                             ++runs;
                             EXPECT_EQ(result, before < 0 ? ok : no_memory);
                             EXPECT_EQ(signed_up_with(),
                                       bytes(i32(102), str(before < 0 ? R"({"iatt":1,"common_interface":3})"
                                                                      : R"({"common_interface":3})")));
                         });
    EXPECT_EQ(runs, 3U);
}

TEST_F(CloudInfo, AsARecordLogsAMemberWithoutMemoryAndSucceeds)
{
    make_for("1.1.0");
    for (const auto &[set, value] : record_setters) {
        EXPECT_EQ(set(info, "old"), ok);
        platform.log.clear();
        allocs::fail_nth(1);
        EXPECT_EQ(set(info, value.c_str()), ok);
        EXPECT_TRUE(allocs::failed());
        ASSERT_EQ(platform.log.errors().size(), 1U);
        EXPECT_EQ(platform.log.errors()[0].message, "Failed to duplicate data");
        EXPECT_EQ(platform.log.errors()[0].tag, "RPC_PORT_PROXY");
    }
}

TEST_F(CloudInfo, AsARecordIsNotCreatedWithoutMemory)
{
    fail_each_allocation(
        [&] {
            connect_to("1.1.0");
            ASSERT_EQ(korvane_cloudinfo_destroy(nullptr), bad_argument); // makes the library read the version
        },
        [&] { return korvane_cloudinfo_create(&info); },
        [&](int before, int result) {
            EXPECT_EQ(result, before < 0 ? ok : no_memory);
            EXPECT_EQ(info != nullptr, before < 0);
            if (before == 0) {
                EXPECT_TRUE(platform.log.has(
                    api_error("korvane_cloudinfo_create", "rpc_port_korvane_cloud_info_create() failed")));
                EXPECT_EQ(platform.log.count("Out of memory"), 1U);
            }
        });
}

TEST_F(CloudInfo, ThatCannotBePrintedIsNotSent)
{
    make_for("2.3.1");
    allocs::fail_all();
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), failed);
    allocs::stop_failing();
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_sign_up_cloud", "input_str is NULL")}));
    EXPECT_TRUE(sent().empty());
}

TEST_F(CloudInfo, AsARecordIsRefusedAfterAnUpdateAndAcceptedAfterADowngrade)
{
    make_for("1.6.0");
    EXPECT_EQ(korvane_cloudinfo_set_region(info, "eu"), ok);
    install_starts();
    agent_becomes("2.0.0");
    platform.log.clear();
    for (const auto &[set, value] : record_setters)
        EXPECT_EQ(set(info, "other"), bad_argument);
    EXPECT_EQ(korvane_cloudinfo_set_cloud_interface_server(info, "x"), bad_argument);
    EXPECT_EQ(korvane_cloudinfo_set_deploy_environment(info, "x"), bad_argument);
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, 1), bad_argument);
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), bad_argument); // checked before the update
    EXPECT_EQ(platform.log.count(wrong_form_record), 10U);
    EXPECT_EQ(platform.log.errors().size(), 10U);
    EXPECT_TRUE(platform.log.has(api_error("korvane_sign_up_cloud", wrong_form_record)));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(korvane_cloudinfo_set_region(info, nullptr), bad_argument);
    EXPECT_EQ(platform.log.count("region is NULL"), 1U) << "the argument must be checked before the form of the handle";

    update_completes();
    agent_becomes("1.6.0");
    arrives(reply(0));
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), ok);
    EXPECT_EQ(only_request(), bytes(i32(32), str("eu"), str(""), str(""), str(""), str(""), str("")));
}

TEST_F(CloudInfo, AsJsonIsRefusedForAnOlderAgent)
{
    make_for("2.0.0");
    EXPECT_EQ(korvane_cloudinfo_set_region(info, "eu"), ok);
    agent_becomes("1.6.0");
    for (const auto &[set, value] : record_setters)
        EXPECT_EQ(set(info, "other"), bad_argument);
    EXPECT_EQ(korvane_sign_up_cloud(handle, info), bad_argument);
    EXPECT_EQ(platform.log.count(wrong_form_json), 7U);
    EXPECT_TRUE(sent().empty());
    agent_becomes("2.0.0");
    EXPECT_EQ(signed_up_with(), bytes(i32(102), str(R"({"region":"eu","common_interface":3})")));
}

TEST_F(CloudInfo, IsDestroyedInItsOwnForm)
{
    for (const auto &[made, ended] : {std::pair("1.6.0", "2.3.0"), std::pair("2.3.0", "1.6.0")}) {
        agent_becomes(made);
        EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
        EXPECT_EQ(korvane_cloudinfo_set_region(info, "eu"), ok);
        agent_becomes(ended);
        EXPECT_EQ(korvane_cloudinfo_destroy(std::exchange(info, nullptr)), ok); // the fixture detects leaks
    }
}

TEST_F(CloudInfo, IsNeverNullInASignUp)
{
    connect_to("2.0.0");
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_sign_up_cloud(handle, nullptr), bad_argument);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_sign_up_cloud", ">>> called"),
                                              api_error("korvane_sign_up_cloud", "cloud_info_h is NULL")}));
}

TEST_F(CloudInfo, DoesNotLogItsValues)
{
    for (const char *version : {"1.6.0", "2.3.0"}) {
        agent_becomes(version);
        EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
        for (const auto &[set, value] : record_setters)
            EXPECT_EQ(set(info, "s3cret"), ok);
        EXPECT_EQ(korvane_cloudinfo_destroy(std::exchange(info, nullptr)), ok);
    }
    for (const LogLine &line : platform.log.lines())
        EXPECT_EQ(line.message.find("s3cret"), std::string::npos) << line;
}

class CloudSession : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("2.2.0");
    }
};

TEST_F(CloudSession, RefusesDisableSigninForAgent21Unsent)
{
    agent_becomes("2.1.0");
    EXPECT_EQ(korvane_disable_signin(handle, true), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_TRUE(sent().empty());
}

TEST_F(CloudSession, EnablesSigninAgainWithFalse)
{
    arrives(bytes(i32(0), str(""), i32(0)));
    EXPECT_EQ(korvane_disable_signin(handle, false), ok);
    EXPECT_EQ(only_request(), bytes(i32(102), str(R"({"common_interface":5,"disable_signin":false})")));
}

TEST_F(CloudSession, SendsTheRequestWithoutTheFlagIfMemoryRunsOut)
{
    std::vector<Bytes> requests;
    fail_each_allocation(
        [&] {
            connect_to("2.2.0");
            ASSERT_EQ(korvane_disable_signin(nullptr, true), bad_argument); // makes the library read the version
            arrives(bytes(i32(0), str(""), i32(0)));
        },
        [&] { return korvane_disable_signin(handle, true); },
        [&](int before, int result) {
            if (before >= 0 && result == ok) {
                requests.push_back(only_request());
            } else if (before >= 0) {
                EXPECT_TRUE(sent().empty() || platform.log.count("Incomplete reply") == 1);
            }
        });
    // One allocation each for the flag and its key.
    const Bytes without_it = bytes(i32(102), str(R"({"common_interface":5})"));
    EXPECT_EQ(requests, (std::vector<Bytes>{without_it, without_it}));
}

struct StatusGetter {
    const char *name;
    int (*get)(korvane_h, bool *);
    const char *null_text;
    bool logs_the_value;
};

TEST_F(CloudSession, WritesFlagsOnlyOnSuccess)
{
    for (const StatusGetter &getter : {StatusGetter{.name = "korvane_get_signin_status",
                                      .get = korvane_get_signin_status,
                                      .null_text = "is_signed_in is NULL",
                                      .logs_the_value = true},
                                       StatusGetter{.name = "korvane_get_signup_status",
                                       .get = korvane_get_signup_status,
                                       .null_text = "is_signed_up is NULL",
                                       .logs_the_value = true},
                                       StatusGetter{.name = "korvane_get_device_owned_status",
                                       .get = korvane_get_device_owned_status,
                                       .null_text = "is_owned is NULL",
                                       .logs_the_value = false}})
        for (bool value : {true, false}) {
            platform.log.clear();
            bool flag = !value;
            arrives(reply(1, boolean(value)));
            EXPECT_EQ(getter.get(handle, &flag), failed);
            EXPECT_EQ(flag, !value) << getter.name;
            EXPECT_EQ(platform.log.count("_out_status [true]") + platform.log.count("_out_status [false]"), 0U);
            arrives(reply(0, boolean(value)));
            EXPECT_EQ(getter.get(handle, &flag), ok);
            EXPECT_EQ(flag, value) << getter.name;
            const LogLine line = api_info(getter.name, value ? "_out_status [true]" : "_out_status [false]");
            EXPECT_EQ(platform.log.has(line), getter.logs_the_value);
            EXPECT_EQ(getter.get(handle, nullptr), bad_argument);
            EXPECT_TRUE(platform.log.has(api_error(getter.name, getter.null_text)));
        }
}

TEST_F(CloudSession, RefusesANullOutPointerBeforeTheCheckOfTheUpdate)
{
    install_starts();
    EXPECT_EQ(korvane_get_signin_status(handle, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_get_signup_status(handle, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_get_thing_status(handle, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_get_device_owned_status(handle, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.count("Agent is being installing"), 0U);
}

TEST_F(CloudSession, WritesTheThingStatusOnlyOnSuccess)
{
    int status = 7;
    arrives(reply(-13, i32(-3)));
    EXPECT_EQ(korvane_get_thing_status(handle, &status), KORVANE_ERROR_PERMISSION_DENIED);
    EXPECT_EQ(status, 7);
    arrives(reply(0, i32(-3)));
    EXPECT_EQ(korvane_get_thing_status(handle, &status), ok);
    EXPECT_EQ(status, -3);
    platform.log.clear();
    EXPECT_EQ(korvane_get_thing_status(handle, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_get_thing_status", "status is NULL")}));
}

} // namespace
} // namespace kv::test
