// SPDX-License-Identifier: Apache-2.0
#include "ap_info_fixture.hpp"

namespace kv::test {
namespace {

struct NullCase {
    const char *function;
    int (*with_null_handle)();
    int (*with_null_out)(korvane_ap_info_h);
    const char *message;
};

TEST_F(WifiAp, IsReadFromARecordOfAnOldAgent)
{
    begin_set("1.2");
    push_record();
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
    EXPECT_EQ(text_of(korvane_apinfo_get_password, held), (Text{ok, "secret"}));
    EXPECT_EQ(number_of(korvane_apinfo_get_authtype, held), (Number{ok, 2}));
    EXPECT_EQ(number_of(korvane_apinfo_get_enctype, held), (Number{ok, 3}));
    EXPECT_EQ(number_of(korvane_apinfo_get_channel, held), (Number{ok, 6}));
    EXPECT_EQ(platform.log.errors(), LogLines{});
}

TEST_F(WifiAp, IsReadFromADocumentOfANewAgent)
{
    begin_set("2.3");
    push_document(whole_document);
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
    EXPECT_EQ(text_of(korvane_apinfo_get_password, held), (Text{ok, "secret"}));
    EXPECT_EQ(number_of(korvane_apinfo_get_authtype, held), (Number{ok, 2}));
    EXPECT_EQ(number_of(korvane_apinfo_get_enctype, held), (Number{ok, 3}));
    EXPECT_EQ(number_of(korvane_apinfo_get_channel, held), (Number{ok, 6}));
    EXPECT_EQ(text_of(korvane_apinfo_get_bssid, held), (Text{ok, "aa:bb"}));
    EXPECT_EQ(text_of(korvane_apinfo_get_candidate_ap, held), (Text{ok, "[{\"ssid\":\"other\"}]"}));
    EXPECT_EQ(platform.log.errors(), LogLines{});
}

TEST_F(WifiAp, AcceptsAnyBytesInNames)
{
    const std::string name = "\x01\xff\x7f \"\\/\xc3\x28 arbitrary 32 bytes..";
    begin_set("1.0");
    push_record(name);
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, name}));
    push_record("");
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, ""}));
    push_record(std::string(1 << 20, 'x'));
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, std::string(1 << 20, 'x')}));
}

/// The getter of candidates needs agent 1.3, that of the hardware address agent 1.4.
TEST_F(WifiAp, RefusesCandidatesBelowAgent13AndBssidBelow14)
{
    for (const char *version : {"1.2", "1.3", "1.4"}) {
        clear_agent_state();
        platform.agent_version = version;
        platform.log.clear();
        const bool candidates = std::string(version) != "1.2";
        const bool bssid = std::string(version) == "1.4";
        EXPECT_EQ(korvane_apinfo_get_candidate_ap(nullptr, nullptr),
                  candidates ? KORVANE_ERROR_INVALID_PARAMETER : version_lower);
        EXPECT_EQ(korvane_apinfo_get_bssid(nullptr, nullptr), bssid ? KORVANE_ERROR_INVALID_PARAMETER : version_lower);
        EXPECT_EQ(
            platform.log.errors(),
            (LogLines{api_error("korvane_apinfo_get_candidate_ap",
                                candidates ? "handle is NULL" : "agent version is lower!!"),
                      api_error("korvane_apinfo_get_bssid", bssid ? "handle is NULL" : "agent version is lower!!")}));
    }
    begin_set("1.3");
    push_document(whole_document);
    EXPECT_EQ(text_of(korvane_apinfo_get_candidate_ap, held).code, ok);
    EXPECT_EQ(text_of(korvane_apinfo_get_bssid, held).code, version_lower);
    agent_becomes("1.4");
    EXPECT_EQ(text_of(korvane_apinfo_get_candidate_ap, held).code, ok);
    EXPECT_EQ(text_of(korvane_apinfo_get_bssid, held).code, ok);
}

TEST_F(WifiAp, FailsForAMissingPasswordAndReadsANullOneAsNull)
{
    begin_set("1.3");
    push_document(R"({"ap_ssid":"home"})");
    EXPECT_EQ(text_of(korvane_apinfo_get_password, held), (Text{failed}));
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_apinfo_get_password", "cJSON_GetObjectItem() failed")}));
    push_document(R"({"ap_pwd":null})");
    EXPECT_EQ(text_of(korvane_apinfo_get_password, held), (Text{ok, "(null)"}));
}

TEST_F(WifiAp, ReadsAChannelInATextAsAnInteger)
{
    begin_set("2.3");
    push_document(R"({"ap_channel":"6"})");
    EXPECT_EQ(number_of(korvane_apinfo_get_channel, held), (Number{ok, 0}));
}

TEST_F(WifiAp, ReadsMembersOfOtherTypesAsNullAndClampsNumbers)
{
    begin_set("2.3");
    push_document(R"({"ap_ssid":5,"ap_pwd":{"a":1},"ap_bssid":[],"ap_candidates":[1],)"
                  R"("ap_authtype":4294967296,"ap_enctype":-1e99,"ap_channel":6.9})");
    for (auto get : {korvane_apinfo_get_ssid, korvane_apinfo_get_password, korvane_apinfo_get_bssid,
                     korvane_apinfo_get_candidate_ap})
        EXPECT_EQ(text_of(get, held), (Text{ok, "(null)"}));
    EXPECT_EQ(number_of(korvane_apinfo_get_authtype, held), (Number{ok, 2147483647}));
    EXPECT_EQ(number_of(korvane_apinfo_get_enctype, held), (Number{ok, -2147483647 - 1}));
    EXPECT_EQ(number_of(korvane_apinfo_get_channel, held), (Number{ok, 6}));
}

TEST_F(WifiAp, FailsOnlyTheGetterOfAMissingMember)
{
    begin_set("2.3");
    for (const char *empty : {"{}", "[]", "5", "\"ap_ssid\"", "null", "[{\"ap_ssid\":\"home\"}]"}) {
        push_document(empty);
        ASSERT_NE(held, nullptr) << empty;
        EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{failed})) << empty;
        EXPECT_EQ(number_of(korvane_apinfo_get_channel, held), (Number{failed})) << empty;
    }
}

TEST_F(WifiAp, DeliversNullForATextThatIsNotADocument)
{
    begin_set("2.3");
    const std::string deep(10000, '[');
    for (const std::string &text : {std::string(), std::string("{"), std::string("no json"), deep,
                                    deep + std::string(10000, ']'), std::string(1 << 20, 'x'), std::string("\xff")}) {
        held = reinterpret_cast<korvane_ap_info_h>(8);
        push_document(text);
        EXPECT_EQ(held, nullptr);
    }
    EXPECT_EQ(recorder.seen, Strings(7, "no ap_info"));
    EXPECT_EQ(korvane_apinfo_get_ssid(held, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_F(WifiAp, ReadsADocumentOfOneMegabyte)
{
    begin_set("2.3");
    const std::string name(1 << 20, 'n');
    push_document("{\"ap_ssid\":\"" + name + "\"}");
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, name}));
}

TEST_F(WifiAp, RefusesNullArgumentsInTheirOrder)
{
    const NullCase cases[] = {
        {.function = "korvane_apinfo_get_ssid",
         .with_null_handle = [] { return korvane_apinfo_get_ssid(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_ssid(ap_info, nullptr); },
         .message = "ssid is NULL"},
        {.function = "korvane_apinfo_get_password",
         .with_null_handle = [] { return korvane_apinfo_get_password(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_password(ap_info, nullptr); },
         .message = "pwd is NULL"},
        {.function = "korvane_apinfo_get_authtype",
         .with_null_handle = [] { return korvane_apinfo_get_authtype(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_authtype(ap_info, nullptr); },
         .message = "authtype is NULL"},
        {.function = "korvane_apinfo_get_enctype",
         .with_null_handle = [] { return korvane_apinfo_get_enctype(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_enctype(ap_info, nullptr); },
         .message = "enctype is NULL"},
        {.function = "korvane_apinfo_get_channel",
         .with_null_handle = [] { return korvane_apinfo_get_channel(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_channel(ap_info, nullptr); },
         .message = "channel is NULL"},
        {.function = "korvane_apinfo_get_candidate_ap",
         .with_null_handle = [] { return korvane_apinfo_get_candidate_ap(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_candidate_ap(ap_info, nullptr); },
         .message = "candidate_ap_json is NULL"},
        {.function = "korvane_apinfo_get_bssid",
         .with_null_handle = [] { return korvane_apinfo_get_bssid(nullptr, nullptr); },
         .with_null_out = [](korvane_ap_info_h ap_info) { return korvane_apinfo_get_bssid(ap_info, nullptr); },
         .message = "bssid is NULL"},
    };
    begin_set("2.3");
    push_document(whole_document);
    begin_install(); // getters work during an installation
    for (const NullCase &one : cases) {
        platform.log.clear();
        EXPECT_EQ(one.with_null_handle(), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(one.with_null_out(held), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(platform.log.lines(),
                  (LogLines{api_info(one.function, ">>> called"), api_error(one.function, "handle is NULL"),
                            api_info(one.function, ">>> called"), api_error(one.function, one.message)}));
    }
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
}

TEST_F(WifiAp, FailsWithoutMemoryAndWritesNothing)
{
    for (const char *version : {"1.2", "2.3"}) {
        begin_set(version);
        const bool record = std::string(version) == "1.2";
        record ? push_record() : push_document(whole_document);
        platform.log.clear();
        allocs::fail_nth(1);
        EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{record ? failed : KORVANE_ERROR_OUT_OF_MEMORY}));
        allocs::fail_nth(1);
        EXPECT_EQ(text_of(korvane_apinfo_get_password, held), (Text{record ? failed : KORVANE_ERROR_OUT_OF_MEMORY}));
        allocs::stop_failing();
        if (record) {
            EXPECT_EQ(
                platform.log.errors(),
                (LogLines{proxy_error("rpc_port_korvane_ap_info_get_ssid", "Failed to duplicate ssid"),
                          api_error("korvane_apinfo_get_ssid", "rpc_port_korvane_ap_info_get_ssid() failed"),
                          proxy_error("rpc_port_korvane_ap_info_get_pwd", "Failed to duplicate pwd"),
                          api_error("korvane_apinfo_get_password", "rpc_port_korvane_ap_info_get_pwd() failed")}));
        }
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

} // namespace
} // namespace kv::test
