// SPDX-License-Identifier: Apache-2.0
// An update replaces the agent between two calls of the application. The library refuses an object that was made for an
// agent with another wire format, and accepts it again when such an agent returns.
#include "updates.hpp"

namespace kv::test {
namespace {

using Cloud = korvane_cloud_info_h;
using Platform = korvane_platform_info_h;
using List = korvane_aplist_h;
using Ap = korvane_ap_info_h;

int create_one(List *list)
{
    return korvane_aplist_create(list, 1);
}
int fill_first(List list, const char *text)
{
    return korvane_aplist_set_ssid(list, 0, text);
}
int send_list(korvane_h handle, List list)
{
    return korvane_send_ap_list(handle, list, 5);
}

/// A type of handle with two forms: a record for old agents, a document for new ones.
struct TwoForms {
    std::string label;
    std::string before; // the newest agent with the record form
    std::string since;
    void *(*make)();
    void (*end)(void *object);
    std::vector<Use> uses;
    Use good_use; // sends the content of the handle
    Bytes record; // the request of the good use in record form
    Bytes document;
};

std::ostream &operator<<(std::ostream &out, const TwoForms &kind)
{
    return out << kind.label;
}

// clang-format off
const std::vector<TwoForms> two_forms = {
    {"CloudInfo", "1.6", "2.0", made<Cloud, korvane_cloudinfo_create, korvane_cloudinfo_set_region>,
     ended<Cloud, korvane_cloudinfo_destroy>,
     {{"korvane_cloudinfo_set_region", 0, set_text<Cloud, korvane_cloudinfo_set_region>},
      {"korvane_cloudinfo_set_auth_provider", 0, set_text<Cloud, korvane_cloudinfo_set_auth_provider>},
      {"korvane_cloudinfo_set_access_token", 0, set_text<Cloud, korvane_cloudinfo_set_access_token>},
      {"korvane_cloudinfo_set_refresh_token", 0, set_text<Cloud, korvane_cloudinfo_set_refresh_token>},
      {"korvane_cloudinfo_set_user_id", 0, set_text<Cloud, korvane_cloudinfo_set_user_id>},
      {"korvane_cloudinfo_set_client_id", 0, set_text<Cloud, korvane_cloudinfo_set_client_id>},
      {"korvane_cloudinfo_set_cloud_interface_server", 2000,
       set_text<Cloud, korvane_cloudinfo_set_cloud_interface_server>},
      {"korvane_cloudinfo_set_deploy_environment", 2000, set_text<Cloud, korvane_cloudinfo_set_deploy_environment>},
      {"korvane_cloudinfo_set_token_type", 2000,
       [](korvane_h, void *info) { return korvane_cloudinfo_set_token_type(static_cast<Cloud>(info), 1); }},
      {"korvane_sign_up_cloud", 0, send<Cloud, korvane_sign_up_cloud>}},
     {"korvane_sign_up_cloud", 0, send<Cloud, korvane_sign_up_cloud>},
     bytes(i32(32), str("mine"), str(""), str(""), str(""), str(""), str("")),
     bytes(i32(102), str(R"({"region":"mine","common_interface":3})"))},
    {"PlatformInfo", "1.1", "1.2", made<Platform, korvane_platforminfo_create, korvane_platforminfo_set_model_number>,
     ended<Platform, korvane_platforminfo_destroy>,
     {{"korvane_platforminfo_set_model_number", 1001, set_text<Platform, korvane_platforminfo_set_model_number>},
      {"korvane_platforminfo_set_platform_version", 1001,
       set_text<Platform, korvane_platforminfo_set_platform_version>},
      {"korvane_platforminfo_set_vendor_id", 1002, set_text<Platform, korvane_platforminfo_set_vendor_id>},
      {"korvane_platforminfo_set_manufacture_date", 1004,
       set_text<Platform, korvane_platforminfo_set_manufacture_date>},
      {"korvane_platforminfo_set_firmware_version", 1004,
       set_text<Platform, korvane_platforminfo_set_firmware_version>},
      {"korvane_set_platform_info", 1001, send<Platform, korvane_set_platform_info>},
      {"korvane_set_platform_info_with_device_no", 1002,
       [](korvane_h handle, void *info) {
           return korvane_set_platform_info_with_device_no(handle, static_cast<Platform>(info), 0);
       }}},
     {"korvane_set_platform_info", 1001, send<Platform, korvane_set_platform_info>},
     bytes(i32(37), str("mine"), str("")), bytes(i32(46), i32(0), str(R"({"model_number":"mine"})"))},
    {"ApList", "2.2", "2.3", made<List, create_one, fill_first>, ended<List, korvane_aplist_destroy>,
     {{"korvane_aplist_set_ssid", 0, set_entry_text<korvane_aplist_set_ssid>},
      {"korvane_aplist_set_bssid", 0, set_entry_text<korvane_aplist_set_bssid>},
      {"korvane_aplist_set_authtype", 0, set_entry_number<korvane_aplist_set_authtype>},
      {"korvane_aplist_set_enctype", 0, set_entry_number<korvane_aplist_set_enctype>},
      {"korvane_aplist_set_channel", 0, set_entry_number<korvane_aplist_set_channel>},
      {"korvane_aplist_set_signal_level", 0, set_entry_number<korvane_aplist_set_signal_level>},
      {"korvane_aplist_set_max_rate", 0, set_entry_number<korvane_aplist_set_max_rate>},
      {"korvane_aplist_set_frequency", 2003, set_entry_number<korvane_aplist_set_frequency>},
      {"korvane_send_ap_list", 0, send<List, send_list>}},
     {"korvane_send_ap_list", 0, send<List, send_list>},
     bytes(i32(25), i32(5), count(1), str("mine"), str(""), i32(0), i32(0), i32(0), str(""), i32(0), i32(0)),
     bytes(i32(102), str(R"({"ap_list_array":[{"ssid":"mine"}],"common_interface":6,"req_id":5})"))},
};

const std::vector<Use> ap_getters = {
    {"korvane_apinfo_get_ssid", 0, get_text<Ap, korvane_apinfo_get_ssid>},
    {"korvane_apinfo_get_password", 0, get_text<Ap, korvane_apinfo_get_password>},
    {"korvane_apinfo_get_authtype", 0, get_number<Ap, korvane_apinfo_get_authtype>},
    {"korvane_apinfo_get_enctype", 0, get_number<Ap, korvane_apinfo_get_enctype>},
    {"korvane_apinfo_get_channel", 0, get_number<Ap, korvane_apinfo_get_channel>},
    {"korvane_apinfo_get_candidate_ap", 1003, get_text<Ap, korvane_apinfo_get_candidate_ap>},
    {"korvane_apinfo_get_bssid", 1004, get_text<Ap, korvane_apinfo_get_bssid>},
};
// clang-format on

class UpdateOfAHandle : public Update, public ::testing::WithParamInterface<TwoForms> {
protected:
    void expect_good(void *object, const Bytes &request)
    {
        EXPECT_EQ(GetParam().good_use.call(handle, object), ok);
        EXPECT_EQ(sent(), std::vector<Bytes>{request});
    }

    /// Makes a handle for the agent `mine`, uses it with the agent `other` and, in one of two runs, with `mine` again.
    void run(const std::string &mine, const std::string &other, const std::string &form, const Bytes &request)
    {
        for (bool returns : {true, false}) {
            connect_to(mine);
            void *object = GetParam().make();
            updated_to(other);
            expect_refused(GetParam().uses, object, form, version_number(other));
            if (returns) {
                updated_to(mine);
                expect_good(object, request);
            }
            GetParam().end(object);
            ASSERT_EQ(korvane_deinitialize(handle), ok);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Of, UpdateOfAHandle, ::testing::ValuesIn(two_forms),
                         [](const auto &row) { return row.param.label; });

TEST_P(UpdateOfAHandle, RefusesTheRecordUntilTheOldAgentReturns)
{
    run(GetParam().before, GetParam().since, "record", GetParam().record);
    run(GetParam().before, "2.3", "record", GetParam().record);
}

TEST_P(UpdateOfAHandle, RefusesTheDocumentUntilTheNewAgentReturns)
{
    run(GetParam().since, GetParam().before, "JSON", GetParam().document);
    run("2.3", GetParam().before, "JSON", GetParam().document);
}

TEST_P(UpdateOfAHandle, KeepsAHandleOfTheSameForm)
{
    connect_to(GetParam().since);
    void *object = GetParam().make();
    updated_to("2.3");
    expect_good(object, GetParam().document);
    GetParam().end(object);
}

/// The form of the handle is checked before the update.
TEST_P(UpdateOfAHandle, IsCheckedBeforeTheUpdateGate)
{
    connect_to(GetParam().before);
    void *object = GetParam().make();
    updated_to("2.3");
    begin_install();
    expect_refused({GetParam().good_use}, object, "record", 2003);
    GetParam().end(object);
}

/// The access point that an event delivered.
class UpdateOfAnAccessPoint : public Update {
protected:
    static void keep(korvane_h, Ap ap_info, void *test) { static_cast<UpdateOfAnAccessPoint *>(test)->held = ap_info; }

    void receive(const std::string &version)
    {
        connect_to(version);
        ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, keep, this), ok);
        seq_id = last_seq_id(platform.log);
        version_of_event = version_number(version);
        push();
    }
    void push()
    {
        platform.proxy().push_event(version_of_event < 1003 ? event(7, seq_id, false, str("home"), str("pwd"), i32(1),
                                                                    i32(2), i32(3), str("aa"), i32(4), i32(5))
                                                            : event(18, seq_id, false, str(R"({"ap_ssid":"home"})")));
        ASSERT_NE(held, nullptr);
    }

    Ap held = nullptr;
    int seq_id = 0;
    int version_of_event = 0;
};

TEST_F(UpdateOfAnAccessPoint, BetweenTheEventAndItsGettersFailsTheGetters)
{
    const std::tuple<const char *, const char *, const char *> ways[] = {
        {"1.2", "1.3", "record"}, {"1.0", "2.3", "record"}, {"1.3", "1.2", "JSON"}, {"2.3", "1.0", "JSON"}};
    for (const auto &[mine, other, form] : ways) {
        receive(mine);
        updated_to(other);
        expect_refused(ap_getters, held, form, version_number(other));
        updated_to(mine);
        EXPECT_EQ(ap_getters[0].call(handle, held), ok);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(UpdateOfAnAccessPoint, BetweenTheRegistrationAndTheEventDeliversItAndFailsTheGetters)
{
    const std::tuple<const char *, const char *, const char *> ways[] = {{"1.2", "2.3", "record"},
                                                                         {"2.3", "1.2", "JSON"}};
    for (const auto &[mine, other, form] : ways) {
        receive(mine);
        updated_to(other);
        held = nullptr;
        push();
        expect_refused(ap_getters, held, form, version_number(other));
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

} // namespace
} // namespace kv::test
