// SPDX-License-Identifier: Apache-2.0
// The journal and the state show the steps of a scenario without the secrets that the file contains.
#include "agent/json/arguments.hpp"
#include "agent/scenario/shown_step.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace kv::virtual_agent;

namespace {

std::string shown(const std::string &step)
{
    return in_words(Scenario::parse(R"({"steps":[)" + step + "]}").steps.front());
}

TEST(ShownStep, OfAPhoneOrCloudHasNoSecretMember)
{
    EXPECT_EQ(shown(R"({"phone":"choose","with":{"ssid":"home","password":"s3cret"}})"),
              R"(phone {"step":"choose","with":{"ssid":"home"}})");
    EXPECT_EQ(shown(R"({"phone":"provision","with":{"language":"en","rmd":"s3cret","account":"s3cret"}})"),
              R"(phone {"step":"provision","with":{"language":"en"}})");
    EXPECT_EQ(shown(R"({"phone":"choose","with":{"passwrd":"s3cret"}})"), R"(phone {"step":"choose","with":{}})")
        << "a mistyped name";
    EXPECT_EQ(shown(R"({"cloud":"own","with":{"owner":"ann"}})"), R"(cloud {"step":"own","with":{"owner":"ann"}})");
}

TEST(ShownStep, OfAnotherCommandHasItsWordsAndNumbers)
{
    EXPECT_EQ(shown(R"({"emit":"pin_generate_cb","values":["s3cret",1]})"), R"(emit {"event":"pin_generate_cb"})");
    EXPECT_EQ(shown(R"({"restore":{"cloud":{"credentials":{"access_token":"s3cret"}}}})"), "restore");
    EXPECT_EQ(shown(R"({"play":{"steps":[{"phone":"enter-pin","with":{"pin":"s3cret"}}]}})"), "play");
    EXPECT_EQ(shown(R"({"fault":"start","form":"result","value":-1})"),
              R"(fault {"method":"start","form":"result","value":-1})");
}

TEST(ShownStep, OfAnExpectationMasksWhatTheInterfaceDescribesAsSecret)
{
    EXPECT_EQ(shown(R"({"expect":"send_ap_list","with":{"req_id":1,"ap_list":[{"ssid":"home","pwd":"s3cret"}]}})"),
              R"(expect send_ap_list {"req_id":1,"ap_list":[{"ssid":"home","pwd":"<secret, 6 bytes>"}]})");
    EXPECT_EQ(shown(R"({"expect":"signup_cloud","with":{"cloud_info":{"region":"eu","access_token":"s3cret"}}})"),
              R"(expect signup_cloud {"cloud_info":{"region":"eu","access_token":"<secret, 6 bytes>"}})");
    EXPECT_EQ(shown(R"({"expect":"set_preconfigured_pin","with":{"pin":{"not":"1234"}}})"),
              R"(expect set_preconfigured_pin {"pin":{"not":"<secret, 4 bytes>"}})");
    EXPECT_EQ(shown(R"({"expect":"set_preconfigured_pin","with":{"pin":1234}})"),
              R"(expect set_preconfigured_pin {"pin":"<secret, 4 bytes>"})");
    EXPECT_EQ(shown(R"({"expect":"set_device_profile","with":{"profile":"s3cret"}})"),
              R"(expect set_device_profile {"profile":"<secret, 6 bytes>"})")
        << "a text in place of the document's members";
    EXPECT_EQ(shown(R"({"expect":"set_device_profile","with":{"profile":{"nick":"attic","pushregid":"s3cret"}}})"),
              R"(expect set_device_profile {"profile":{"nick":"attic","pushregid":"<secret, 6 bytes>"}})");
    EXPECT_EQ(shown(R"({"expect":"set_preconfigured_pin","with":{"pin":"<secret, 8 bytes>"}})"),
              R"(expect set_preconfigured_pin {"pin":"<secret, 8 bytes>"})")
        << "the form in which a secret can be compared";
    EXPECT_EQ(shown(R"({"never":"korvane_sign_up_cloud","with":{"region":"EU","access_token":"s3cret"}})"),
              R"(never korvane_sign_up_cloud {"region":"EU","access_token":"<secret, 6 bytes>"})");
}

std::string problem_of(const std::string &text)
{
    try {
        Json::parse(text);
        return "";
    } catch (const std::invalid_argument &problem) {
        return problem.what();
    }
}

TEST(AgentJson, NamesThePlaceOfAMistakeButNotTheText)
{
    EXPECT_EQ(problem_of(R"({"pin":"s3cret")"), "not JSON from byte 16 on");
    EXPECT_EQ(problem_of("s3cret"), "not JSON from byte 1 on");
    EXPECT_EQ(problem_of(std::string{"1\0s3cret", 8}), "not JSON from byte 2 on");
    EXPECT_EQ(problem_of("[" + std::string(70, '[') + "s3cret"),
              "not JSON that can be accepted: nested more than 64 levels deep");
}

TEST(AgentArguments, NameTheKindOfAWrongValueButNotTheValue)
{
    const Json object = Json::parse(R"({"pin":4711,"text":["s3cret"],"none":null,"number":1.5,"flag":"s3cret"})");
    Arguments arguments{object.get()};
    const auto problem = [](const auto &take) -> std::string {
        try {
            take();
            return "";
        } catch (const std::invalid_argument &found) {
            return found.what();
        }
    };
    EXPECT_EQ(problem([&] { arguments.text("pin"); }), "'pin' must be a text, not a number");
    EXPECT_EQ(problem([&] { arguments.text("text"); }), "'text' must be a text, not an array");
    EXPECT_EQ(problem([&] { arguments.text("none"); }), "'none' must be a text, not null");
    EXPECT_EQ(problem([&] { arguments.flag("flag"); }), "'flag' must be true or false, not a text");
    EXPECT_EQ(problem([&] { arguments.number("flag"); }), "'flag' must be a whole number of 32 bits, not a text");
    EXPECT_EQ(problem([&] { arguments.number("number"); }), "'number' must be a whole number of 32 bits, not 1.5");
}

} // namespace
