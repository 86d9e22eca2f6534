// SPDX-License-Identifier: Apache-2.0
#include "ap_list_fixture.hpp"

#include <set>

namespace kv::test {
namespace {

TEST_F(ApList, RefusesCount0InBothWireFormats)
{
    for (const char *version : {"2.2", "2.3"}) {
        clear_agent_state();
        platform.agent_version = version;
        platform.log.clear();
        EXPECT_EQ(korvane_aplist_create(&list, 0), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_aplist_create", "count is zero")}));
        EXPECT_EQ(list, nullptr);
    }
}

TEST_F(ApList, FailsForANegativeCountAsRecordsAndRefusesItAsADocument)
{
    for (int negative : {-1, lowest}) {
        clear_agent_state();
        platform.agent_version = "2.2";
        platform.log.clear();
        EXPECT_EQ(korvane_aplist_create(&list, negative), KORVANE_ERROR_OUT_OF_MEMORY);
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_aplist_create", "Memory allocation is failed")}));
        clear_agent_state();
        platform.agent_version = "2.3";
        platform.log.clear();
        EXPECT_EQ(korvane_aplist_create(&list, negative), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_aplist_create", "count is negative")}));
    }
    EXPECT_EQ(list, nullptr);
}

TEST_F(ApList, FailsForMoreEntriesThanFitInARequest)
{
    for (const char *version : {"2.2", "2.3"}) {
        clear_agent_state();
        platform.agent_version = version;
        allocs::reset_largest();
        for (int entries : {524289, 2147483647}) {
            platform.log.clear();
            EXPECT_EQ(korvane_aplist_create(&list, entries), KORVANE_ERROR_OUT_OF_MEMORY);
            EXPECT_EQ(platform.log.errors(),
                      (LogLines{api_error("korvane_aplist_create", "Memory allocation is failed")}));
        }
        EXPECT_LT(allocs::largest(), 4096U);
        EXPECT_EQ(list, nullptr);
    }
}

TEST_F(ApList, RefusesNullInCreateAndDestroy)
{
    platform.agent_version = "2.3";
    EXPECT_EQ(korvane_aplist_create(nullptr, 0), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_aplist_destroy(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_aplist_create", "handle is NULL"),
                                               api_error("korvane_aplist_destroy", "handle is NULL")}));
}

TEST_F(ApList, RefusesIndexesBeyondTheBoundsInBothWireFormats)
{
    for (const char *version : {"2.2", "2.3"}) {
        connect_to(version);
        create(2);
        const bool records = std::string(version) == "2.2";
        const Bytes before = sent_list(9);
        auto message = [&](int idx) {
            return records ? "idx[" + std::to_string(idx) + "] : invalid value, list count = [2]"
                           : std::string("json_obj_item is NULL");
        };
        for (int idx : {2, 3, -1, 2147483647, lowest}) {
            platform.log.clear();
            EXPECT_EQ(korvane_aplist_set_ssid(list, idx, "home"), KORVANE_ERROR_INVALID_PARAMETER);
            EXPECT_EQ(korvane_aplist_set_bssid(list, idx, "home"), KORVANE_ERROR_INVALID_PARAMETER);
            LogLines errors = {api_error("korvane_aplist_set_ssid", message(idx)),
                               api_error("korvane_aplist_set_bssid", message(idx))};
            for (const NumberSetter &setter : number_setters) {
                if (records && setter.set == korvane_aplist_set_frequency)
                    continue;
                EXPECT_EQ(setter.set(list, idx, 1), KORVANE_ERROR_INVALID_PARAMETER);
                errors.push_back(api_error(setter.name, message(idx)));
            }
            EXPECT_EQ(platform.log.errors(), errors);
        }
        if (records) {
            EXPECT_EQ(sent_list(9), before);
        } else {
            EXPECT_EQ(sent_list(9), request_of_document(R"({"ap_list_array":[{},{}],"common_interface":6,"req_id":9,)"
                                                        R"("common_interface":6,"req_id":9})"));
        }
        destroy();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(ApList, ChecksNullArgumentsBeforeTheIndex)
{
    connect_to("2.3");
    create(1);
    platform.log.clear();
    EXPECT_EQ(korvane_aplist_set_ssid(nullptr, 9, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_aplist_set_bssid(nullptr, 9, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 9, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_aplist_set_bssid(list, 9, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    LogLines errors = {
        api_error("korvane_aplist_set_ssid", "handle is NULL"), api_error("korvane_aplist_set_bssid", "handle is NULL"),
        api_error("korvane_aplist_set_ssid", "ssid is NULL"), api_error("korvane_aplist_set_bssid", "pwd is NULL")};
    for (const NumberSetter &setter : number_setters) {
        EXPECT_EQ(setter.set(nullptr, 9, 1), KORVANE_ERROR_INVALID_PARAMETER);
        errors.push_back(api_error(setter.name, "handle is NULL"));
    }
    EXPECT_EQ(platform.log.errors(), errors);
}

TEST_F(ApList, RefusesFrequencyBelowAgent23BeforeTheArgumentsAndKeepsTheList)
{
    connect_to("2.2");
    create(1);
    platform.log.clear();
    EXPECT_EQ(korvane_aplist_set_frequency(list, 0, 2437), version_lower);
    EXPECT_EQ(korvane_aplist_set_frequency(nullptr, -1, 2437), version_lower);
    EXPECT_EQ(platform.log.errors(),
              (LogLines(2, api_error("korvane_aplist_set_frequency", "agent version is lower!!"))));
    EXPECT_EQ(sent_list(), request_of_records(1, 1, record("", 0, 0, 0, "", 0, 0)));
}

TEST_F(ApList, IsRefusedIfMadeForAnotherAgentVersionAndReleasedInItsOwnForm)
{
    struct {
        const char *before;
        const char *after;
        const char *message;
    } const updates[] = {{"2.2", "2.3", other_form_of_record}, {"2.3", "2.2", other_form_of_json}};
    for (const auto &[before, after, message] : updates) {
        connect_to(before);
        create(1);
        ASSERT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
        agent_becomes(after);
        clear_records();
        EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "other"), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(korvane_aplist_set_channel(list, 5, 1), KORVANE_ERROR_INVALID_PARAMETER);
        begin_install();
        EXPECT_EQ(korvane_send_ap_list(handle, list, 1), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_send_ap_list", message)}));
        EXPECT_TRUE(sent().empty());

        agent_becomes(before); // the list is unchanged
        const Bytes expected =
            std::string(before) == "2.2"
                ? request_of_records(1, 1, record("home", 0, 0, 0, "", 0, 0))
                : request_of_document(R"({"ap_list_array":[{"ssid":"home"}],"common_interface":6,"req_id":1})");
        EXPECT_EQ(sent_list(), expected);
        agent_becomes(after);
        destroy();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(ApList, CreateSurvivesTheFailureOfEachAllocation)
{
    for (const char *version : {"2.2", "2.3"}) {
        std::set<std::string> messages;
        std::size_t blocks = 0;
        fail_each_allocation(
            [&] {
                connect_to(version);
                blocks = allocs::live_blocks();
            },
            [&] { return korvane_aplist_create(&list, 3); },
            [&](int before, int result) {
                EXPECT_EQ(result, before < 0 ? ok : no_memory);
                EXPECT_EQ(list != nullptr, result == ok);
                if (result == ok)
                    return;
                EXPECT_EQ(allocs::live_blocks(), blocks);
                messages.insert(platform.log.errors().back().message);
            });
        destroy();
        EXPECT_EQ(messages, std::string(version) == "2.2"
                                ? (std::set<std::string>{"Memory allocation is failed"})
                                : (std::set<std::string>{"Memory allocation is failed", "cJSON_CreateObject() failed",
                                                         "cJSON_CreateArray() failed"}));
    }
}

TEST_F(ApList, SettersSurviveTheFailureOfEachAllocation)
{
    connect_to("2.3");
    create(1);
    ASSERT_EQ(korvane_aplist_set_ssid(list, 0, "first"), ok);
    for (unsigned nth = 1; nth <= 2; ++nth) { // the member and its text
        allocs::fail_nth(nth);
        EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "second"), no_memory);
        EXPECT_TRUE(allocs::failed());
    }
    for (unsigned nth = 1; nth <= 2; ++nth) {
        allocs::fail_nth(nth);
        EXPECT_EQ(korvane_aplist_set_channel(list, 0, 6), no_memory);
    }
    allocs::stop_failing();
    EXPECT_EQ(sent_list(),
              request_of_document(R"({"ap_list_array":[{"ssid":"first"}],"common_interface":6,"req_id":1})"));
    destroy();

    agent_becomes("2.2");
    create(1);
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "second"),
              KORVANE_ERROR_NONE); // as every setter of a record does without memory
    allocs::stop_failing();
    EXPECT_TRUE(platform.log.has(proxy_error("rpc_port_korvane_ap_info_set_ssid", "Failed to duplicate data")));
    EXPECT_EQ(sent_list(), request_of_records(1, 1, record("", 0, 0, 0, "", 0, 0)));
}

TEST_F(ApList, SendNamesTheCloneFunctionOfATextThatCannotBeCopied)
{
    connect_to("2.2");
    create(1);
    ASSERT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
    platform.log.clear();
    allocs::fail_nth(4); // after the array, its items and the record
    EXPECT_EQ(korvane_send_ap_list(handle, list, 1), no_memory);
    allocs::stop_failing();
    EXPECT_EQ(platform.log.errors(),
              (LogLines{proxy_error("rpc_port_korvane_ap_info_clone", "Failed to duplicate h->ssid"),
                        api_error("korvane_send_ap_list",
                                  "rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos() failed")}));
}

TEST_F(ApList, SendSurvivesTheFailureOfEachAllocation)
{
    for (const char *version : {"2.2", "2.3"}) {
        const bool records = std::string(version) == "2.2";
        // The last allocation: the request was sent, and the text of its reply cannot be read.
        const std::string unread = "korvane_send_ap_list() is failed, err=[-1] r=[0]";
        const std::set<std::string> expected_messages =
            records ? std::set<std::string>{"rpc_port_array_korvane_ap_info_create() failed",
                                            "rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos() failed"}
                    : std::set<std::string>{"Memory allocation is failed", "input_str is NULL", unread};
        std::set<std::string> messages;
        fail_each_allocation(
            [&] {
                destroy();
                connect_to(version);
                create(2);
                ASSERT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
            },
            [&] { return korvane_send_ap_list(handle, list, 1); },
            [&](int before, int result) {
                if (before < 0) {
                    EXPECT_EQ(result, ok);
                    return;
                }
                const std::string message = platform.log.errors().back().message;
                messages.insert(message);
                const bool told_to_be_a_failure = message == "input_str is NULL" || message == unread;
                EXPECT_EQ(result, told_to_be_a_failure ? KORVANE_ERROR_OPERATION_FAILED : no_memory);
                EXPECT_EQ(sent().empty(), message != unread);
                if (message == "Memory allocation is failed") {
                    EXPECT_EQ(sent_list(2),
                              request_of_document(
                                  R"({"ap_list_array":[{"ssid":"home"},{}],"common_interface":6,"req_id":2})"));
                }
            });
        destroy();
        EXPECT_EQ(messages, expected_messages);
    }
}

TEST_F(ApList, SendSurvivesTheFailureOfEachPlatformCall)
{
    for (const char *version : {"2.2", "2.3"}) {
        fail_each_platform_call(
            [&] {
                destroy();
                connect_to(version);
                create(2);
            },
            [&] { return korvane_send_ap_list(handle, list, 1); },
            [&](const std::string &failed, int result) { EXPECT_EQ(result, outcome_of_request(failed)); });
        destroy();
    }
}

TEST_F(ApList, MapsTheReplyToAResult)
{
    for (const char *version : {"2.2", "2.3"}) {
        connect_to(version);
        create(1);
        for (auto [answer, expected] : {std::pair{-13, int{KORVANE_ERROR_PERMISSION_DENIED}},
                                        {-1, KORVANE_ERROR_OPERATION_FAILED},
                                        {7, KORVANE_ERROR_OPERATION_FAILED}}) {
            platform.log.clear();
            answers(answer);
            EXPECT_EQ(korvane_send_ap_list(handle, list, 1), expected);
            EXPECT_EQ(platform.log.errors(),
                      (LogLines{api_error("korvane_send_ap_list", "korvane_send_ap_list() is failed, err=[" +
                                                                      std::to_string(answer) + "] r=[0]")}));
        }
        platform.main_port().on_sent = nullptr;
        EXPECT_EQ(korvane_send_ap_list(handle, list, 1), KORVANE_ERROR_IO_ERROR);
        destroy();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(ApList, ChecksTheHandleBeforeTheList)
{
    connect_to("2.3");
    create(1);
    EXPECT_EQ(korvane_send_ap_list(nullptr, nullptr, 1), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_send_ap_list(reinterpret_cast<korvane_h>(8), list, 1), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_send_ap_list(handle, nullptr, 1), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_send_ap_list", "handle is NULL"),
                                               api_error("korvane_send_ap_list", "handle is not the live one"),
                                               api_error("korvane_send_ap_list", "ap_list_h is NULL")}));
}

} // namespace
} // namespace kv::test
