// SPDX-License-Identifier: Apache-2.0
// The steps of the phone without a port: the events they send, their refusals, and the replies of the device.
#include "agent/requests/generic_method.hpp"
#include "support/lone_device.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kv;
using namespace kv::virtual_agent;

namespace {

class AgentPhone : public testing::Test {
protected:
    AgentPhone()
    {
        device.connect_application();
        device.state.running = true;
    }

    void be(const char *version) { device.state.version = Version::parse(version); }

    std::string step(const char *name, const char *arguments = "null")
    {
        return device.phone.run(name, Json::parse(arguments).get()).text();
    }
    std::string refusal(const char *name, const char *arguments = "null")
    {
        try {
            step(name, arguments);
            return "";
        } catch (const std::invalid_argument &why) {
            return why.what();
        }
    }
    /// The events since the last call, with their values.
    std::string sent_events()
    {
        std::string all;
        for (const Event &event : std::exchange(device.sent, {}))
            all += std::string{all.empty() ? "" : " "} + event.name + event.values->text();
        return all;
    }
    bool networks_found(int request, std::vector<AccessPoint> networks)
    {
        return device.phone.networks_found(request, std::move(networks));
    }
    void scan_finds(std::vector<AccessPoint> networks)
    {
        step("scan");
        ASSERT_TRUE(networks_found(setup.last_request, std::move(networks)));
        sent_events();
    }
    void connect()
    {
        step("connect");
        sent_events();
    }

    test::LoneDevice device;
    virtual_agent::Setup &setup = device.state.setup;

    const AccessPoint home{"home", "02:00:00:00:00:01", 4, 3, 6, -48, 144, 2437};
    const AccessPoint home_upstairs{"home", "02:00:00:00:00:02", 4, 3, 44, -61, 866, 5220};
    const AccessPoint cafe{"cafe", "02:00:00:00:00:03", 0, 0, 11, -70, 54, 2462};
};

TEST_F(AgentPhone, ConnectsOnlyToARunningService)
{
    device.state.running = false;
    EXPECT_EQ(refusal("connect"), "the device has not started its service, so no phone can find it");
    device.state.running = true;
    EXPECT_EQ(step("connect"), "{}");
    EXPECT_EQ(sent_events(), R"(status_changed_cb{"status":1})");
    EXPECT_EQ(refusal("connect"), "the phone is connected already");
}

TEST_F(AgentPhone, DoesNothingBeforeItIsConnected)
{
    for (const char *name : {"confirm", "pin", "scan", "provision", "leave"})
        EXPECT_EQ(refusal(name), "the phone is not connected to the device; run 'connect' first") << name;
    EXPECT_EQ(refusal("language", R"({"type":"language","value":"fr-FR"})"),
              "the phone is not connected to the device; run 'connect' first");
    EXPECT_EQ(sent_events(), "");
}

TEST_F(AgentPhone, RefusesAStepWithoutARegisteredApplication)
{
    connect();
    device.events.disconnect_all();
    EXPECT_EQ(refusal("scan"), "no application is registered for scan_ap_cb");
    EXPECT_FALSE(setup.scan);
    EXPECT_EQ(setup.last_request, 0);
    EXPECT_EQ(refusal("pin"), "no application is registered for pin_generate_cb");
    EXPECT_EQ(setup.pin.tries_left, 0);
}

TEST_F(AgentPhone, RefusesStepsOfNewerAgents)
{
    be("1.2");
    connect();
    EXPECT_EQ(refusal("language", R"({"type":"language","value":"fr-FR"})"),
              "agent 1.2 does not know 'language'; 1.3 and later do");
    be("1.3");
    EXPECT_EQ(refusal("get-provisioning", R"({"text":"model"})"),
              "agent 1.3 does not know 'get-provisioning'; 1.4 and later do");
    be("1.0");
    EXPECT_EQ(refusal("pin", R"({"kind":"ultrasound"})"),
              "agent 1.0 does not support an ultrasound PIN; 1.1 and later do");
}

TEST_F(AgentPhone, AcceptsTheRightPin)
{
    connect();
    EXPECT_EQ(step("pin", R"({"pin":"12345678"})"), R"({"tries_left":3})");
    EXPECT_EQ(sent_events(), R"(pin_generate_cb{"pin":"<secret, 8 bytes>","value":3})");
    EXPECT_EQ(step("enter-pin", R"({"pin":"12345678"})"), R"({"verified":true,"tries_left":0})");
    EXPECT_EQ(sent_events(), "pin_display_close_cb{}");
    EXPECT_TRUE(setup.pin.verified);
    EXPECT_EQ(refusal("enter-pin", R"({"pin":"12345678"})"), "no PIN was requested; run 'pin' first");
}

TEST_F(AgentPhone, FailsAfterThreeWrongPinsAndCanStartAgain)
{
    connect();
    step("pin", R"({"pin":"1111"})");
    EXPECT_EQ(step("enter-pin", R"({"pin":"2222"})"), R"({"verified":false,"tries_left":2})");
    EXPECT_EQ(step("enter-pin", R"({"pin":""})"), R"({"verified":false,"tries_left":1})");
    sent_events();
    EXPECT_EQ(step("enter-pin", R"({"pin":"1112"})"), R"({"verified":false,"tries_left":0})");
    EXPECT_EQ(sent_events(), R"(pin_display_close_cb{} status_changed_cb{"status":5})");
    EXPECT_EQ(setup.stage, Stage::failed);
    EXPECT_EQ(step("pin", R"({"pin":"3333"})"), R"({"tries_left":3})");
    EXPECT_EQ(step("enter-pin", R"({"pin":"3333"})"), R"({"verified":true,"tries_left":0})");
}

TEST_F(AgentPhone, PrefersTheRandomPinOfTheDevice)
{
    connect();
    setup.random_pin = "4444";
    step("pin", R"({"pin":"5555"})");
    EXPECT_EQ(step("enter-pin", R"({"pin":"4444"})"), R"({"verified":true,"tries_left":0})");
}

TEST_F(AgentPhone, DoesNotSendThePinOnTheLabel)
{
    connect();
    EXPECT_EQ(refusal("pin", R"({"kind":"label"})"), "the device has set no preconfigured PIN, so its label has none");
    setup.preconfigured_pin = "6666";
    step("pin", R"({"kind":"label"})");
    EXPECT_EQ(step("enter-pin", R"({"pin":"6666"})"), R"({"verified":true,"tries_left":0})");
    EXPECT_EQ(sent_events(), "");
}

TEST_F(AgentPhone, GeneratesAPinOfEightDigits)
{
    connect();
    step("pin");
    EXPECT_EQ(setup.pin.text.size(), 8U);
    EXPECT_EQ(setup.pin.text.find_first_not_of("0123456789"), std::string::npos);
}

TEST_F(AgentPhone, AcceptsNetworksOnlyForThePendingScan)
{
    connect();
    EXPECT_EQ(step("scan"), R"({"request":1})");
    EXPECT_FALSE(networks_found(2, {home}));
    EXPECT_TRUE(networks_found(1, {home, cafe}));
    EXPECT_FALSE(networks_found(1, {})) << "the request has been answered already";
    EXPECT_EQ(setup.networks.size(), 2U);
    EXPECT_EQ(step("scan"), R"({"request":2})");
    EXPECT_TRUE(setup.networks.empty()) << "a new scan discards the old networks";
}

TEST_F(AgentPhone, SendsTheChosenNetworkAsARecordBefore13)
{
    be("1.2");
    connect();
    scan_finds({home, home_upstairs, cafe});
    step("choose", R"({"index":1,"password":"laundry"})");
    EXPECT_EQ(
        sent_events(),
        R"(wifi_ap_provisioning_cb{"ap_info":{"ssid":"home","pwd":"<secret, 7 bytes>","authtype":4,"enctype":3,)"
        R"("channel":44,"bssid":"02:00:00:00:00:02","signal_level":0,"max_rate":0}} status_changed_cb{"status":2})");
}

TEST_F(AgentPhone, SendsTheChosenNetworkWithCandidatesFrom13AndItsAddressFrom14)
{
    be("1.3");
    connect();
    scan_finds({home, home_upstairs, cafe});
    step("choose", R"({"ssid":"home","password":"laundry"})");
    const std::string at_13 = sent_events();
    EXPECT_NE(at_13.find(R"("ap_ssid":"home","ap_pwd":"<secret)"), std::string::npos) << at_13;
    EXPECT_EQ(at_13.find("ap_bssid"), std::string::npos) << at_13;
    EXPECT_NE(at_13.find(R"(\"bssid\":\"02:00:00:00:00:02\")"), std::string::npos)
        << "the other access point of this name is a candidate";
    EXPECT_EQ(at_13.find("02:00:00:00:00:03"), std::string::npos) << "an access point of another name is not";
    be("1.4");
    step("choose", R"({"ssid":"home","password":"laundry"})");
    EXPECT_NE(sent_events().find(R"("ap_bssid":"02:00:00:00:00:01")"), std::string::npos);
}

TEST_F(AgentPhone, AcceptsRepliesToEventsThatACommandPublishes)
{
    const EventEntry *scan = find_event("scan_ap_cb");
    EXPECT_EQ(device.events.publish_values(*scan->decode(Json::parse("[7]").get())), 1);
    EXPECT_FALSE(networks_found(6, {home}));
    EXPECT_TRUE(networks_found(7, {home}));
    EXPECT_FALSE(networks_found(7, {home})) << "a request accepts one reply";

    device.events.disconnect_all();
    EXPECT_EQ(device.events.publish_values(*scan->decode(Json::parse("[8]").get())), 0);
    EXPECT_FALSE(networks_found(8, {home})) << "no application has received the request";
}

TEST_F(AgentPhone, ChoosesOnlyNetworksThatTheDeviceHasFound)
{
    connect();
    scan_finds({home});
    EXPECT_EQ(refusal("choose", R"({"ssid":"cafe"})"),
              R"(the device has found no network 'cafe'; 'scan' again, or choose it with "hidden":true)");
    EXPECT_EQ(refusal("choose", R"({"index":1})"), "there is no network 1; the device has found 1");
    EXPECT_EQ(refusal("choose", R"({"index":-1})"), "there is no network -1; the device has found 1");
    EXPECT_EQ(refusal("choose"), "a network is chosen by 'ssid' or by 'index'");
    EXPECT_EQ(refusal("choose", R"({"index":0,"pasword":"x"})").substr(0, 28), "there is no 'pasword' here; ");
    EXPECT_EQ(sent_events(), "");
    step("choose", R"({"ssid":"cafe","hidden":true})");
    EXPECT_EQ(setup.stage, Stage::joining);
}

TEST_F(AgentPhone, DoesNotChooseAfterTheUserHasRefused)
{
    connect();
    scan_finds({home});
    step("confirm");
    device.phone.confirmed(false);
    EXPECT_EQ(refusal("choose", R"({"index":0})"), "the user at the device has refused; 'confirm' again");
    step("confirm");
    device.phone.confirmed(true);
    EXPECT_EQ(refusal("choose", R"({"index":0})"), "");
}

TEST_F(AgentPhone, CanChooseAgainAfterAFailedJoin)
{
    connect();
    EXPECT_EQ(refusal("join"), "no network is chosen; run 'choose' first");
    scan_finds({home});
    step("choose", R"({"index":0,"password":"wrong"})");
    sent_events();
    device.phone.join_failed(2);
    EXPECT_EQ(sent_events(), R"(status_changed_cb{"status":5})");
    EXPECT_EQ(refusal("join"), "the device could not join the network: error code 2; 'choose' again");
    step("choose", R"({"index":0,"password":"right"})");
    step("join");
    EXPECT_EQ(setup.stage, Stage::joined);
    EXPECT_EQ(refusal("join"), "the device is not joining a network; the stage of the setup is joined");
}

TEST_F(AgentPhone, KeepsASettingThatTheDeviceHasApplied)
{
    connect();
    EXPECT_EQ(step("language", R"({"type":"language","value":"fr-FR"})"), R"({"request":1})");
    EXPECT_EQ(step("language", R"({"type":"voice","value":"de-DE"})"), R"({"request":2})");
    EXPECT_TRUE(device.phone.language_answered(2, false));
    EXPECT_TRUE(device.phone.language_answered(1, true));
    EXPECT_FALSE(device.phone.language_answered(1, true)) << "the request has been answered already";
    EXPECT_EQ(setup.settings, (std::map<std::string, std::string>{{"language", "fr-FR"}}));
}

TEST_F(AgentPhone, EndsASetupOnlyAfterTheDeviceHasJoined)
{
    connect();
    EXPECT_EQ(refusal("finish"), "the device has not joined a network; the stage of the setup is connected");
    scan_finds({home});
    step("choose", R"({"index":0})");
    step("join");
    step("finish");
    EXPECT_TRUE(device.state.set_up);
    EXPECT_TRUE(device.state.owned);
    EXPECT_EQ(setup.stage, Stage::done);
}

TEST_F(AgentPhone, ResetsTheDeviceWhenItsUserConfirms)
{
    connect();
    device.state.set_up = device.state.owned = true;
    device.state.nicks[0] = "Washer";
    setup.languages = {"en-GB"};
    step("remove");
    EXPECT_EQ(sent_events(), "reset_confirm_cb{}");
    device.phone.reset_confirmed(false);
    EXPECT_TRUE(device.state.owned);
    EXPECT_EQ(sent_events(), "");
    device.phone.reset_confirmed(true);
    EXPECT_EQ(sent_events(), R"(status_changed_cb{"status":0} reset_result_cb{"result":true})");
    EXPECT_FALSE(device.state.owned);
    EXPECT_TRUE(device.state.nicks.empty());
    EXPECT_EQ(setup.languages, std::vector<std::string>{"en-GB"}) << "the languages that the device reported remain";
}

TEST_F(AgentPhone, ReportsWrongArguments)
{
    connect();
    EXPECT_EQ(refusal("connect", R"({"now":true})"), "there is no 'now' here");
    EXPECT_EQ(refusal("enter-pin", R"({"pin":4711})"), "'pin' must be a text, not a number");
    EXPECT_EQ(refusal("enter-pin"), "'pin' is missing");
    EXPECT_EQ(refusal("choose", R"({"index":1.5})"), "'index' must be a whole number of 32 bits, not 1.5");
    EXPECT_EQ(refusal("choose", R"({"ssid":"x","hidden":"yes"})"), "'hidden' must be true or false, not a text");
    EXPECT_EQ(refusal("pin", R"({"kind":"smell"})"), "a PIN is of kind display, ultrasound or label, not 'smell'");
    EXPECT_EQ(refusal("dance"), "the phone has no step 'dance'; 'help' lists them");
}

} // namespace
