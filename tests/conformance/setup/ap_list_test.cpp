// SPDX-License-Identifier: Apache-2.0
#include "ap_list_fixture.hpp"

namespace kv::test {
namespace {

TEST_F(ApList, IsSentAsRecordsToAnOldAgent)
{
    connect_to("2.2");
    create(2);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
    EXPECT_EQ(korvane_aplist_set_bssid(list, 0, "aa:bb"), ok);
    EXPECT_EQ(korvane_aplist_set_authtype(list, 0, 2), ok);
    EXPECT_EQ(korvane_aplist_set_enctype(list, 0, 3), ok);
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 6), ok);
    EXPECT_EQ(korvane_aplist_set_signal_level(list, 0, -48), ok);
    EXPECT_EQ(korvane_aplist_set_max_rate(list, 0, 54), ok);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 1, "attic"), ok);
    platform.log.clear();
    EXPECT_EQ(korvane_send_ap_list(handle, list, 77), ok);
    EXPECT_EQ(sent(),
              (std::vector<Bytes>{request_of_records(
                  77, 2, bytes(record("home", 2, 3, 6, "aa:bb", -48, 54), record("attic", 0, 0, 0, "", 0, 0)))}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_send_ap_list", ">>> called"),
                                              api_info("korvane_send_ap_list", "req_id [77]")}));
}

TEST_F(ApList, IsSentAsADocumentInTheOrderOfTheSettersToANewAgent)
{
    connect_to("2.3");
    create(2);
    EXPECT_EQ(korvane_aplist_set_frequency(list, 0, 2437), ok);
    EXPECT_EQ(korvane_aplist_set_max_rate(list, 0, 54), ok);
    EXPECT_EQ(korvane_aplist_set_signal_level(list, 0, -48), ok);
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 6), ok);
    EXPECT_EQ(korvane_aplist_set_enctype(list, 0, 3), ok);
    EXPECT_EQ(korvane_aplist_set_authtype(list, 0, 2), ok);
    EXPECT_EQ(korvane_aplist_set_bssid(list, 0, "aa:bb"), ok);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
    platform.log.clear();
    EXPECT_EQ(korvane_send_ap_list(handle, list, -1), ok);
    EXPECT_EQ(sent(),
              (std::vector<Bytes>{request_of_document(
                  R"({"ap_list_array":[{"frequency":2437,"max_rate":54,"signal_level":-48,"channel":6,"enctype":3,)"
                  R"("authtype":2,"bssid":"aa:bb","ssid":"home"},{}],"common_interface":6,"req_id":-1})")}));
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_send_ap_list", ">>> called"),
                                              api_info("korvane_send_ap_list", "req_id [4294967295]")}));
}

TEST_F(ApList, IsTheSameWhenSentTwiceToAnOldAgent)
{
    connect_to("1.0");
    create(1);
    const Bytes once = sent_list(5);
    EXPECT_EQ(sent_list(5), once);
    EXPECT_EQ(once, request_of_records(5, 1, record("", 0, 0, 0, "", 0, 0)));
}

TEST_F(ApList, ContainsCommandAndRequestIdTwiceWhenSentTwiceToANewAgent)
{
    connect_to("2.3");
    create(1);
    sent_list(5);
    EXPECT_EQ(sent_list(6),
              request_of_document(
                  R"({"ap_list_array":[{}],"common_interface":6,"req_id":5,"common_interface":6,"req_id":6})"));
}

TEST_F(ApList, KeepsCommandAndRequestIdOfAFailedSendToANewAgent)
{
    connect_to("2.3");
    create(1);
    answers(-13);
    EXPECT_EQ(korvane_send_ap_list(handle, list, 5), KORVANE_ERROR_PERMISSION_DENIED);
    answers(0);
    EXPECT_EQ(sent_list(6),
              request_of_document(
                  R"({"ap_list_array":[{}],"common_interface":6,"req_id":5,"common_interface":6,"req_id":6})"));
}

TEST_F(ApList, ReplacesAValueWhichMovesToTheEndOfADocument)
{
    connect_to("2.2");
    create(1);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "first"), ok);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "second"), ok);
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 1), ok);
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 11), ok);
    EXPECT_EQ(sent_list(), request_of_records(1, 1, record("second", 0, 0, 11, "", 0, 0)));
    destroy();

    agent_becomes("2.3");
    create(1);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "first"), ok);
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 1), ok);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "second"), ok);
    EXPECT_EQ(sent_list(), request_of_document(
                               R"({"ap_list_array":[{"channel":1,"ssid":"second"}],"common_interface":6,"req_id":1})"));
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 11), ok);
    EXPECT_EQ(sent_list(2), request_of_document(R"({"ap_list_array":[{"ssid":"second","channel":11}],)"
                                                R"("common_interface":6,"req_id":1,"common_interface":6,"req_id":2})"));
}

TEST_F(ApList, TakesTheEntriesOfADocumentInAnyOrder)
{
    connect_to("2.3");
    create(4);
    for (const int idx : {3, 1, 2, 0, 3})
        EXPECT_EQ(korvane_aplist_set_channel(list, idx, 10 + idx), ok) << idx;
    EXPECT_EQ(sent_list(), request_of_document(R"({"ap_list_array":[{"channel":10},{"channel":11},{"channel":12},)"
                                               R"({"channel":13}],"common_interface":6,"req_id":1})"));
}

TEST_F(ApList, AcceptsAnyBytesAndLongNames)
{
    std::string name;
    for (char byte = 1; byte <= 31; ++byte)
        name += byte;
    name += "\xff";
    const std::string longest(1 << 20, 'n');
    connect_to("2.2");
    create(2);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, name.c_str()), ok);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 1, longest.c_str()), ok);
    EXPECT_EQ(korvane_aplist_set_bssid(list, 1, ""), ok);
    EXPECT_EQ(sent_list(),
              request_of_records(
                  1, 2, bytes(record(name.c_str(), 0, 0, 0, "", 0, 0), record(longest.c_str(), 0, 0, 0, "", 0, 0))));
    destroy();

    agent_becomes("2.3");
    create(1);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "\x01\"\\\xff"), ok);
    EXPECT_EQ(korvane_aplist_set_bssid(list, 0, longest.c_str()), ok);
    EXPECT_EQ(sent_list(), request_of_document("{\"ap_list_array\":[{\"ssid\":\"\\u0001\\\"\\\\\xff\",\"bssid\":\"" +
                                               longest + "\"}],\"common_interface\":6,\"req_id\":1}"));
}

TEST_F(ApList, KeepsAll32BitsOfNumbers)
{
    connect_to("2.3");
    create(1);
    EXPECT_EQ(korvane_aplist_set_channel(list, 0, 2147483647), ok);
    EXPECT_EQ(korvane_aplist_set_signal_level(list, 0, lowest), ok);
    EXPECT_EQ(sent_list(lowest),
              request_of_document(R"({"ap_list_array":[{"channel":2147483647,"signal_level":-2147483648}],)"
                                  R"("common_interface":6,"req_id":-2147483648})"));
}

TEST_F(ApList, SendsTwoHundredAccessPoints)
{
    connect_to("2.2");
    create(200);
    Bytes records;
    for (int i = 0; i < 200; ++i) {
        const std::string name = "network " + std::to_string(i);
        EXPECT_EQ(korvane_aplist_set_ssid(list, i, name.c_str()), ok);
        records = bytes(records, record(name.c_str(), 0, 0, 0, "", 0, 0));
    }
    EXPECT_EQ(sent_list(), request_of_records(1, 200, records));
    destroy();

    agent_becomes("2.3");
    create(200);
    std::string entries;
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(korvane_aplist_set_channel(list, i, i), ok);
        entries += (i ? ",{\"channel\":" : "{\"channel\":") + std::to_string(i) + "}";
    }
    EXPECT_EQ(sent_list(),
              request_of_document("{\"ap_list_array\":[" + entries + R"(],"common_interface":6,"req_id":1})"));
}

TEST_F(ApList, NeedsAnAgentButNoConnection)
{
    EXPECT_EQ(korvane_aplist_create(&list, 1), ok); // the library is not initialised
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
    destroy();
    clear_agent_state();
    platform.results["package_info_create"] = -18153359;
    EXPECT_EQ(korvane_aplist_create(nullptr, 0), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(korvane_aplist_destroy(nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(korvane_aplist_set_ssid(nullptr, 0, nullptr), KORVANE_ERROR_NOT_SUPPORTED);
}

TEST_F(ApList, CanBeFilledWhileTheAgentIsInstalled)
{
    connect_to("2.3");
    begin_install();
    create(1);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
    EXPECT_EQ(korvane_send_ap_list(handle, list, 1), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_send_ap_list", "Agent is being installing")}));
    EXPECT_EQ(platform.log.count("req_id [1]"), 0U);
}

TEST_F(ApList, CanBeSentInsideTheCallbackThatRequestsIt)
{
    connect_to("2.3");
    ASSERT_EQ(korvane_set_scan_ap_cb(handle, Note<'s', int>::call, &recorder), ok);
    const int seq_id = last_seq_id(platform.log);
    recorder.then = [&](korvane_h seen) {
        create(1);
        EXPECT_EQ(korvane_send_ap_list(seen, list, 31), ok);
    };
    platform.proxy().push_event(event(9, seq_id, false, i32(31)));
    EXPECT_EQ(sent().back(), request_of_document(R"({"ap_list_array":[{}],"common_interface":6,"req_id":31})"));
}

} // namespace
} // namespace kv::test
