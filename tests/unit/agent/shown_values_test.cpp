// SPDX-License-Identifier: Apache-2.0
// How journal and state show arguments that are a JSON document.
#include "agent/interface/coded_words.hpp"
#include "agent/interface/events.hpp"
#include "agent/interface/methods.hpp"
#include "agent/interface/show.hpp"
#include "agent/scenario/reading/functions.hpp"
#include "src/kv_master/codings.hpp"

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace kv;
using virtual_agent::Shown;

namespace {

/// The document argument of Method as the journal shows it: its only argument, or the second after a device number.
template <class Method>
std::string shown(const std::string &text)
{
    if constexpr (Method::in::count == 1)
        return Shown::values(typename Method::in{}, text.c_str()).text();
    else
        return Shown::values(typename Method::in{}, 0, text.c_str()).text();
}

template <class Delegate>
std::string shown_event(const std::string &text)
{
    return Shown::values(typename Delegate::values{}, text.c_str()).text();
}

std::string command(const std::string &text)
{
    return shown<master::common_interface>(text);
}

TEST(ShownValues, ANumberWithANameIsShownWithIt)
{
    using virtual_agent::Json;
    const auto words = [](const char *values, const char *owner) {
        return virtual_agent::in_words(Json::parse(values), owner);
    };
    EXPECT_EQ(words(R"({"status":4})", "status_changed_cb"), "status 4 (done)");
    EXPECT_EQ(words(R"({"status":9})", "status_changed_cb"), "status 9");
    EXPECT_EQ(words(R"({"status":true})", "signup_status_changed_cb"), "status true");
    EXPECT_EQ(words(R"({"status":2,"result":0})", "get_thing_status"), "status 2 (signed in), result 0");
    EXPECT_EQ(words(R"({"result":-128,"text1":"x"})", "get_hdr_certificate_cb"), R"(result -128 (revoked), text1 "x")");
    EXPECT_EQ(virtual_agent::in_words(Json::parse(R"({"status":4})")), "status 4");
}

/// Whether one of these descriptions has this name.
bool has_name(const virtual_agent::Json &shapes, const char *name)
{
    return shapes.text().find(std::string{"\"name\":\""} + name + "\"") != std::string::npos;
}

TEST(ShownValues, EachNumberWithNamesIsAValueOfTheInterface)
{
    for (const master::CodedValue &coded : master::coded_values) {
        const virtual_agent::MethodEntry *method = virtual_agent::find_method(coded.owner);
        const auto &events = virtual_agent::all_events();
        const auto event = std::find_if(events.begin(), events.end(),
                                        [&](const auto &one) { return std::string{one.name} == coded.owner; });
        ASSERT_TRUE(method || event != events.end()) << coded.owner;
        EXPECT_TRUE(method ? has_name(method->argument_shapes(), coded.value) ||
                                 has_name(method->out_shapes(), coded.value)
                           : has_name(event->shapes(), coded.value))
            << coded.owner << " " << coded.value;
        EXPECT_TRUE(!coded.function || virtual_agent::find_function(coded.function)) << coded.function;
    }
}

TEST(ShownValues, ADocumentWithASecretIsShownByMember)
{
    EXPECT_EQ(shown<master::set_device_profile>(R"({"nick":"Washy","pushregid":"abc","pushappid":"app"})"),
              R"({"device_no":0,"profile":{"nick":"Washy","pushregid":"<secret, 3 bytes>","pushappid":"app"}})");
    EXPECT_EQ(shown_event<master::wifi_ap_prov_with_candidates_cb>(
                  R"({"ap_ssid":"home","ap_pwd":"12345","ap_channel":11,"ap_bssid":null})"),
              R"({"ap_info":{"ap_ssid":"home","ap_pwd":"<secret, 5 bytes>","ap_channel":11,"ap_bssid":null}})");
}

TEST(ShownValues, ADocumentWithoutSecretsIsShownAsItsText)
{
    EXPECT_EQ(shown<master::set_platform_info_with_device_no>(R"({"vid":"v"})"),
              R"({"device_no":0,"platform_info":"{\"vid\":\"v\"}"})");
    EXPECT_EQ(shown<master::set_platform_info_with_device_no>("no document"),
              R"({"device_no":0,"platform_info":"no document"})");
}

TEST(ShownValues, ADocumentOfSecretsIsMaskedAsAWhole)
{
    EXPECT_EQ(shown<master::set_tnc_data>(R"({"tnc_version":"3"})"), R"({"tnc_data":"<secret, 19 bytes>"})");
}

TEST(ShownValues, MembersOfOtherDocumentsAreMasked)
{
    EXPECT_EQ(shown_event<master::wifi_ap_prov_with_candidates_cb>(R"({"ap_ssid":"home","nick":"Washy","x":[1,2]})"),
              R"({"ap_info":{"ap_ssid":"home","nick":"<secret, 5 bytes>","x":"<secret, 5 bytes>"}})");
    EXPECT_EQ(shown_event<master::wifi_ap_prov_with_candidates_cb>(R"({"ap_ssid":{"ap_ssid":"home"}})"),
              R"({"ap_info":{"ap_ssid":"<secret, 18 bytes>"}})");
}

TEST(ShownValues, ACommandIsShownAsItsNumberDescribesIt)
{
    EXPECT_EQ(command(R"({"common_interface":1,"device_no":4,"device_type":"x.d.drum"})"),
              R"({"request":{"common_interface":1,"device_no":4,"device_type":"x.d.drum"}})");
    EXPECT_EQ(command(R"({"common_interface":2,"custom_push_msg":{"pass":"0815"},"device_type":"other"})"),
              R"({"request":{"common_interface":2,"custom_push_msg":"<secret, 15 bytes>",)"
              R"("device_type":"<secret, 5 bytes>"}})");
    EXPECT_EQ(command(R"({"common_interface":4,"wifi_authtype":[1,{"ssid":"x"}]})"),
              R"({"request":{"common_interface":4,"wifi_authtype":[1,"<secret, 12 bytes>"]}})");
    EXPECT_EQ(command(R"({"common_interface":6,"ap_list_array":[{"ssid":"home","pwd":"123"}]})"),
              R"({"request":{"common_interface":6,"ap_list_array":[{"ssid":"home","pwd":"<secret, 3 bytes>"}]}})");
    EXPECT_EQ(command(R"({"common_interface":77,"device_type":"x"})"),
              R"({"request":{"common_interface":77,"device_type":"<secret, 1 bytes>"}})");
}

TEST(ShownValues, ATextThatIsNotAShortDocumentIsMaskedAsAWhole)
{
    EXPECT_EQ(command("[1]"), R"({"request":"<secret, 3 bytes>"})");
    EXPECT_EQ(command("{} and more"), R"({"request":"<secret, 11 bytes>"})");
    EXPECT_EQ(command(""), R"({"request":"<secret, 0 bytes>"})");
    EXPECT_EQ(command(R"({"common_interface":1})" + std::string(4080, ' ')), R"({"request":"<secret, 4102 bytes>"})");
}

TEST(ShownValues, KeysOfAnyBytesAreShownAsValidUtf8)
{
    const std::string seen = command("{\"\xff\":\"\xfe\"}");
    EXPECT_TRUE(g_utf8_validate(seen.c_str(), -1, nullptr)) << seen;
    EXPECT_NE(seen.find("<secret, 1 bytes>"), std::string::npos) << seen;
}

} // namespace
