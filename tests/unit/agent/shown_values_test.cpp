// SPDX-License-Identifier: Apache-2.0
// How journal and state show arguments that are a JSON document.
#include "agent/interface/show.hpp"

#include <glib.h>
#include <gtest/gtest.h>

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
