// SPDX-License-Identifier: Apache-2.0
#include "ap_info_fixture.hpp"

namespace kv::test {
namespace {

TEST_F(WifiAp, IsReadableUntilTheNextEvent)
{
    for (const char *version : {"1.2", "2.3"}) {
        begin_set(version);
        const bool record = std::string(version) == "1.2";
        auto push = [&](const std::string &ssid) {
            record ? push_record(ssid) : push_document("{\"ap_ssid\":\"" + ssid + "\"}");
        };
        push("first");
        EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "first"}));
        EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "first"}));
        push("second");
        EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "second"}));
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(WifiAp, IsReleasedBySetWithALogLineInBothWireFormats)
{
    for (const char *version : {"1.2", "2.3"}) {
        begin_set(version);
        std::string(version) == "1.2" ? push_record() : push_document(whole_document);
        platform.log.clear();
        const std::size_t blocks = allocs::live_blocks();
        EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this), ok);
        EXPECT_EQ(platform.log.api(),
                  (LogLines{api_info("korvane_set_wifi_ap_provisioning_cb", ">>> called"),
                            api_info("korvane_set_wifi_ap_provisioning_cb", released_line),
                            api_warning("korvane_set_wifi_ap_provisioning_cb", "rpc cb_h already exists")}));
        EXPECT_LT(allocs::live_blocks(), blocks);
        platform.log.clear();
        EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this), ok);
        EXPECT_EQ(platform.log.count(released_line), 0U) << "the access point was released twice";
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(WifiAp, IsReleasedByUnsetWithALogLineOnlyAsADocument)
{
    for (const char *version : {"1.2", "2.3"}) {
        begin_set(version);
        const bool record = std::string(version) == "1.2";
        record ? push_record() : push_document(whole_document);
        platform.log.clear();
        const std::size_t blocks = allocs::live_blocks();
        EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(handle), ok);
        LogLines lines = {api_info("korvane_unset_wifi_ap_provisioning_cb", ">>> called")};
        if (!record)
            lines.push_back(api_info("korvane_unset_wifi_ap_provisioning_cb", released_line));
        EXPECT_EQ(platform.log.api(), lines);
        EXPECT_LT(allocs::live_blocks(), blocks);
        platform.log.clear();
        EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(handle), ok);
        EXPECT_EQ(platform.log.count(released_line), 0U) << "the access point was released twice";
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// A version that cannot be read is read again for the choice of the wire format.
TEST_F(WifiAp, IsReleasedAfterTheWireFormatIsChosen)
{
    for (const auto &call :
         {std::function<int()>{[&] { return korvane_unset_wifi_ap_provisioning_cb(handle); }},
          std::function<int()>{[&] { return korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this); }}}) {
        begin_set("2.3");
        push_document(whole_document);
        install_starts();
        update_completes(); // the library forgets the version
        platform.agent_version = std::nullopt;
        platform.log.clear();
        call();
        const LogLines lines = platform.log.lines();
        std::size_t last_reading = 0;
        std::size_t release = 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            last_reading = lines[i].message == "package_info_get_version() failed" ? i : last_reading;
            release = lines[i].message == released_line ? i : release;
        }
        EXPECT_GT(last_reading, 0U);
        EXPECT_GT(release, last_reading);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(WifiAp, IsKeptIfASetIsRefused)
{
    begin_set("2.3");
    push_document(whole_document);
    EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    install_starts();
    EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
}

/// The delegate remains from before an update, but the callback was unset with the methods of the new wire format.
TEST_F(WifiAp, IsReleasedByAnEventWithoutACallback)
{
    begin_set("1.2");
    push_record("first");
    agent_becomes("1.3");
    const std::size_t blocks = allocs::live_blocks();
    EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(handle), ok);
    EXPECT_LT(allocs::live_blocks(), blocks);
    const std::size_t seen = recorder.seen.size();
    const std::size_t without_held = allocs::live_blocks();
    push_record("second");
    EXPECT_EQ(recorder.seen.size(), seen);
    EXPECT_EQ(allocs::live_blocks(), without_held);
}

TEST_F(WifiAp, IsDeliveredInItsOwnFormByADelegateFromBeforeAnUpdate)
{
    begin_set("1.2");
    agent_becomes("1.3");
    push_record();
    EXPECT_EQ(recorder.seen, Strings{"ap_info"});
    platform.log.clear();
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{KORVANE_ERROR_INVALID_PARAMETER}));
    EXPECT_EQ(number_of(korvane_apinfo_get_channel, held), (Number{KORVANE_ERROR_INVALID_PARAMETER}));
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_apinfo_get_ssid", other_form_of_record),
                                               api_error("korvane_apinfo_get_channel", other_form_of_record)}));
}

TEST_F(WifiAp, IsRefusedAsADocumentAfterADowngrade)
{
    begin_set("1.3");
    push_document(whole_document);
    agent_becomes("1.2");
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{KORVANE_ERROR_INVALID_PARAMETER}));
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_apinfo_get_ssid", other_form_of_json)}));
    platform.log.clear();
    EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(handle), ok); // releases the document in its own form
    EXPECT_EQ(platform.log.count(released_line), 1U);
    agent_becomes("1.3");
    push_document(whole_document);
    EXPECT_EQ(recorder.seen.size(), 1U) << "the callback was unset";
}

TEST_F(WifiAp, IsSetInTheOtherWireFormatAfterAnUpdateAndKeepsTheOldDelegate)
{
    begin_set("1.2");
    const int old_seq_id = seq_id;
    agent_becomes("1.3");
    clear_records();
    EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this), ok);
    seq_id = last_seq_id(platform.log);
    EXPECT_EQ(sent(), (std::vector<Bytes>{bytes(i32(64), delegate(18, seq_id, false))}));
    EXPECT_EQ(platform.log.count("rpc cb_h already exists"), 0U);
    push_document(whole_document);
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
    seq_id = old_seq_id;
    push_record();
    EXPECT_EQ(recorder.seen, (Strings{"ap_info", "ap_info"}));
}

/// The session has one callback for both wire formats. Only the delegate belongs to one of them.
TEST_F(WifiAp, IsDeliveredByTheOldDelegateToTheCallbackThatWasSetAfterAnUpdate)
{
    begin_set("1.2");
    agent_becomes("1.3");
    struct {
        Strings seen;
        korvane_h handle = nullptr;
    } later;
    const auto on_ap_later = [](korvane_h seen_handle, korvane_ap_info_h ap_info, void *data) {
        auto &record = *static_cast<decltype(later) *>(data);
        record.seen.push_back(text_of(korvane_apinfo_get_ssid, ap_info).code == ok ? "readable" : "unreadable");
        record.handle = seen_handle;
    };
    EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap_later, &later), ok);
    push_record();
    EXPECT_EQ(recorder.seen, Strings{}) << "the earlier callback was replaced";
    EXPECT_EQ(later.seen, Strings{"unreadable"}) << "a record is unreadable for an agent that uses documents";
    EXPECT_EQ(later.handle, handle);
}

TEST_F(WifiAp, IsUnsetWithoutADelegateOfItsWireFormatAfterAnUpdate)
{
    begin_set("1.2");
    agent_becomes("1.3");
    clear_records();
    EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(handle), ok);
    EXPECT_EQ(sent(), std::vector<Bytes>{i32(65)});
    EXPECT_EQ(platform.log.count("rpc cb_h doesn't exist"), 1U);
}

TEST_F(WifiAp, UsesTheOldWireFormatWithAnUnreadableVersion)
{
    connect_to("2.3");
    clear_agent_state();
    platform.agent_version = std::nullopt;
    EXPECT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this), ok);
    seq_id = last_seq_id(platform.log);
    EXPECT_EQ(sent(), (std::vector<Bytes>{bytes(i32(19), delegate(7, seq_id, false))}));
    push_record();
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
}

TEST_F(WifiAp, SurvivesTheFailureOfEachAllocationOfAnEvent)
{
    for (const char *version : {"1.2", "2.3"}) {
        const bool record = std::string(version) == "1.2";
        fail_each_allocation(
            [&] {
                begin_set(version);
                record ? push_record("first") : push_document(R"({"ap_ssid":"first"})");
                recorder.seen.clear();
            },
            [&] {
                record ? push_record("second") : push_document(R"({"ap_ssid":"second"})");
                return 0;
            },
            [&](int before, int) {
                // Either the event is dropped, or it is delivered with its access point or without it.
                if (recorder.seen.empty()) {
                    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "first"}));
                } else if (recorder.seen == Strings{"ap_info"}) {
                    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "second"}));
                } else {
                    EXPECT_EQ(recorder.seen, Strings{"no ap_info"});
                    EXPECT_EQ(held, nullptr);
                }
                if (before < 0) {
                    EXPECT_EQ(recorder.seen, Strings{"ap_info"});
                }
            });
    }
}

TEST_F(WifiAp, IsNullForADocumentOfMoreThan50000Values)
{
    begin_set("2.3");
    const auto push = [this](int zeros) {
        std::string text = R"({"ap_ssid":"home","more":[0)";
        for (int i = 1; i < zeros; ++i)
            text += ",0";
        push_document(text + "]}");
    };
    push(49'997); // the object, its text and its array are three
    EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
    push(49'998);
    EXPECT_EQ(held, nullptr);
    EXPECT_EQ(recorder.seen, (Strings{"ap_info", "no ap_info"}));
}

TEST_F(WifiAp, IsNullForAnEventWithoutAText)
{
    begin_set("2.3");
    platform.returns_null_for_empty = true;
    push_document("");
    EXPECT_EQ(recorder.seen, (Strings{"no ap_info"}));
    push_document(whole_document);
    EXPECT_EQ(recorder.seen, (Strings{"no ap_info", "ap_info"}));
}

TEST_F(WifiAp, IsNeverLogged)
{
    for (const char *version : {"1.2", "2.3"}) {
        begin_set(version);
        std::string(version) == "1.2" ? push_record() : push_document(whole_document);
        EXPECT_EQ(text_of(korvane_apinfo_get_password, held), (Text{ok, "secret"}));
        for (const LogLine &line : platform.log.lines())
            EXPECT_EQ(line.message.find("secret"), std::string::npos) << line;
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(WifiAp, CanBeReleasedInsideTheCallbackThatReadsIt)
{
    begin_set("2.3");
    recorder.then = [&](korvane_h seen) {
        EXPECT_EQ(text_of(korvane_apinfo_get_ssid, held), (Text{ok, "home"}));
        EXPECT_EQ(korvane_unset_wifi_ap_provisioning_cb(seen), ok);
    };
    push_document(whole_document);
    EXPECT_EQ(recorder.seen.size(), 1U);
}

} // namespace
} // namespace kv::test
