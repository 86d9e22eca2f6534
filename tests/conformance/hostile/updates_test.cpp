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
    {.label = "CloudInfo", .before = "1.6", .since = "2.0",
     .make = made<Cloud, korvane_cloudinfo_create, korvane_cloudinfo_set_region>,
     .end = ended<Cloud, korvane_cloudinfo_destroy>,
     .uses = {{.function = "korvane_cloudinfo_set_region", .minimum_version = 0,
 .call = set_text<Cloud, korvane_cloudinfo_set_region>},
      {.function = "korvane_cloudinfo_set_auth_provider", .minimum_version = 0,
       .call = set_text<Cloud, korvane_cloudinfo_set_auth_provider>},
      {.function = "korvane_cloudinfo_set_access_token", .minimum_version = 0,
       .call = set_text<Cloud, korvane_cloudinfo_set_access_token>},
      {.function = "korvane_cloudinfo_set_refresh_token", .minimum_version = 0,
       .call = set_text<Cloud, korvane_cloudinfo_set_refresh_token>},
      {.function = "korvane_cloudinfo_set_user_id", .minimum_version = 0,
       .call = set_text<Cloud, korvane_cloudinfo_set_user_id>},
      {.function = "korvane_cloudinfo_set_client_id", .minimum_version = 0,
       .call = set_text<Cloud, korvane_cloudinfo_set_client_id>},
      {.function = "korvane_cloudinfo_set_cloud_interface_server", .minimum_version = 2000,
       .call = set_text<Cloud, korvane_cloudinfo_set_cloud_interface_server>},
      {.function = "korvane_cloudinfo_set_deploy_environment", .minimum_version = 2000,
       .call = set_text<Cloud, korvane_cloudinfo_set_deploy_environment>},
      {.function = "korvane_cloudinfo_set_token_type", .minimum_version = 2000,
       .call = [](korvane_h, void *info) { return korvane_cloudinfo_set_token_type(static_cast<Cloud>(info), 1); }},
      {.function = "korvane_sign_up_cloud", .minimum_version = 0, .call = send<Cloud, korvane_sign_up_cloud>}},
     .good_use = {.function = "korvane_sign_up_cloud", .minimum_version = 0, .call = send<Cloud, korvane_sign_up_cloud>},
     .record = bytes(i32(32), str("mine"), str(""), str(""), str(""), str(""), str("")),
     .document = bytes(i32(102), str(R"({"region":"mine","common_interface":3})"))},
    {.label = "PlatformInfo", .before = "1.1", .since = "1.2",
     .make = made<Platform, korvane_platforminfo_create, korvane_platforminfo_set_model_number>,
     .end = ended<Platform, korvane_platforminfo_destroy>,
     .uses = {{.function = "korvane_platforminfo_set_model_number", .minimum_version = 1001,
 .call = set_text<Platform, korvane_platforminfo_set_model_number>},
      {.function = "korvane_platforminfo_set_platform_version", .minimum_version = 1001,
       .call = set_text<Platform, korvane_platforminfo_set_platform_version>},
      {.function = "korvane_platforminfo_set_vendor_id", .minimum_version = 1002,
       .call = set_text<Platform, korvane_platforminfo_set_vendor_id>},
      {.function = "korvane_platforminfo_set_manufacture_date", .minimum_version = 1004,
       .call = set_text<Platform, korvane_platforminfo_set_manufacture_date>},
      {.function = "korvane_platforminfo_set_firmware_version", .minimum_version = 1004,
       .call = set_text<Platform, korvane_platforminfo_set_firmware_version>},
      {.function = "korvane_set_platform_info", .minimum_version = 1001,
       .call = send<Platform, korvane_set_platform_info>},
      {.function = "korvane_set_platform_info_with_device_no", .minimum_version = 1002,
       .call = [](korvane_h handle, void *info) {
           return korvane_set_platform_info_with_device_no(handle, static_cast<Platform>(info), 0);
       }}},
     .good_use = {.function = "korvane_set_platform_info", .minimum_version = 1001, .call = send<Platform, korvane_set_platform_info>},
     .record = bytes(i32(37), str("mine"), str("")),
     .document = bytes(i32(46), i32(0), str(R"({"model_number":"mine"})"))},
    {.label = "ApList", .before = "2.2", .since = "2.3", .make = made<List, create_one, fill_first>,
     .end = ended<List, korvane_aplist_destroy>,
     .uses = {{.function = "korvane_aplist_set_ssid", .minimum_version = 0, .call = set_entry_text<korvane_aplist_set_ssid>},
      {.function = "korvane_aplist_set_bssid", .minimum_version = 0, .call = set_entry_text<korvane_aplist_set_bssid>},
      {.function = "korvane_aplist_set_authtype", .minimum_version = 0,
       .call = set_entry_number<korvane_aplist_set_authtype>},
      {.function = "korvane_aplist_set_enctype", .minimum_version = 0,
       .call = set_entry_number<korvane_aplist_set_enctype>},
      {.function = "korvane_aplist_set_channel", .minimum_version = 0,
       .call = set_entry_number<korvane_aplist_set_channel>},
      {.function = "korvane_aplist_set_signal_level", .minimum_version = 0,
       .call = set_entry_number<korvane_aplist_set_signal_level>},
      {.function = "korvane_aplist_set_max_rate", .minimum_version = 0,
       .call = set_entry_number<korvane_aplist_set_max_rate>},
      {.function = "korvane_aplist_set_frequency", .minimum_version = 2003,
       .call = set_entry_number<korvane_aplist_set_frequency>},
      {.function = "korvane_send_ap_list", .minimum_version = 0, .call = send<List, send_list>}},
     .good_use = {.function = "korvane_send_ap_list", .minimum_version = 0, .call = send<List, send_list>},
     .record = bytes(i32(25), i32(5), count(1), str("mine"), str(""), i32(0), i32(0), i32(0), str(""), i32(0), i32(0)),
     .document = bytes(i32(102), str(R"({"ap_list_array":[{"ssid":"mine"}],"common_interface":6,"req_id":5})"))},
};

const std::vector<Use> ap_getters = {
    {.function = "korvane_apinfo_get_ssid", .minimum_version = 0, .call = get_text<Ap, korvane_apinfo_get_ssid>},
    {.function = "korvane_apinfo_get_password", .minimum_version = 0, .call = get_text<Ap, korvane_apinfo_get_password>},
    {.function = "korvane_apinfo_get_authtype", .minimum_version = 0, .call = get_number<Ap, korvane_apinfo_get_authtype>},
    {.function = "korvane_apinfo_get_enctype", .minimum_version = 0, .call = get_number<Ap, korvane_apinfo_get_enctype>},
    {.function = "korvane_apinfo_get_channel", .minimum_version = 0, .call = get_number<Ap, korvane_apinfo_get_channel>},
    {.function = "korvane_apinfo_get_candidate_ap", .minimum_version = 1003, .call = get_text<Ap, korvane_apinfo_get_candidate_ap>},
    {.function = "korvane_apinfo_get_bssid", .minimum_version = 1004, .call = get_text<Ap, korvane_apinfo_get_bssid>},
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

/// An update: the version of the agent that made the access point, that of the new agent, and the form of the former.
struct Replacement {
    const char *mine;
    const char *other;
    const char *form;
};

TEST_F(UpdateOfAnAccessPoint, BetweenTheEventAndItsGettersFailsTheGetters)
{
    const Replacement replacements[] = {
        {.mine = "1.2", .other = "1.3", .form = "record"},
        {.mine = "1.0", .other = "2.3", .form = "record"},
        {.mine = "1.3", .other = "1.2", .form = "JSON"},
        {.mine = "2.3", .other = "1.0", .form = "JSON"},
    };
    for (const auto &[mine, other, form] : replacements) {
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
    const Replacement replacements[] = {
        {.mine = "1.2", .other = "2.3", .form = "record"},
        {.mine = "2.3", .other = "1.2", .form = "JSON"},
    };
    for (const auto &[mine, other, form] : replacements) {
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
