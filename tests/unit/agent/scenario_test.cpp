// SPDX-License-Identifier: Apache-2.0
// Scenario files, the comparison of values, JSON limits and the clock.
#include "agent/device/clock.hpp"
#include "agent/json/matching.hpp"
#include "agent/scenario/reading/functions.hpp"
#include "agent/scenario/scenario.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

#include <fstream>
#include <regex>
#include <set>
#include <stdexcept>

using namespace kv::virtual_agent;

namespace {

std::string mistake(const char *text)
{
    try {
        Scenario::parse(text);
        return "";
    } catch (const std::invalid_argument &problem) {
        return problem.what();
    }
}

std::string differs(const std::string &wanted, const std::string &value)
{
    return difference(Json::parse(wanted).get(), Json::parse(value).get(), "").value_or("");
}

TEST(AgentScenario, ReadsEachKindOfStep)
{
    ::unsetenv("KORVANE_WITHIN_MS");
    const Scenario scenario = Scenario::parse(R"({"title":"all", "note":"of them", "steps":[
        {"expect":"start", "with":{"name":""}, "answer":{"result":0}, "within_ms":100},
        {"until":{"running":true}},
        {"wait_ms":5},
        {"say":"now"},
        {"emit":"status_changed_cb", "values":[1], "since":"1.3", "before":"2.0"}]})");
    ASSERT_EQ(scenario.steps.size(), 5U);
    EXPECT_EQ(scenario.title, "all");
    using Kind = Scenario::Step::Kind;
    EXPECT_EQ(scenario.steps[0].kind, Kind::expect);
    EXPECT_EQ(scenario.steps[0].within_ms, 100);
    EXPECT_EQ(scenario.steps[1].kind, Kind::until);
    EXPECT_EQ(scenario.steps[1].within_ms, 5000);
    EXPECT_EQ(scenario.steps[2].within_ms, 5);
    EXPECT_EQ(scenario.steps[3].text, "now");
    EXPECT_EQ(scenario.steps[4].arguments.text(), R"({"event":"status_changed_cb","values":[1]})");
    EXPECT_EQ(scenario.steps[4].line, 6);
    EXPECT_FALSE(scenario.steps[4].applies_to(1002));
    EXPECT_TRUE(scenario.steps[4].applies_to(1003));
    EXPECT_FALSE(scenario.steps[4].applies_to(2000));
}

TEST(AgentScenario, WaitsAsLongAsTheEnvironmentSays)
{
    const char *text = R"({"steps":[{"until":{"running":true}}, {"expect":"start", "within_ms":100}]})";
    ::setenv("KORVANE_WITHIN_MS", "250", 1);
    const Scenario scenario = Scenario::parse(text);
    EXPECT_EQ(scenario.steps[0].within_ms, 250);
    EXPECT_EQ(scenario.steps[1].within_ms, 100);
    for (const char *wrong : {"0", "-1", "600001", "5s", "99999999999999999999"}) {
        ::setenv("KORVANE_WITHIN_MS", wrong, 1);
        try {
            Scenario::parse(text);
            ADD_FAILURE() << wrong;
        } catch (const std::invalid_argument &mistake) {
            EXPECT_NE(std::string{mistake.what()}.find("is not a number from 1 to 600000"), std::string::npos)
                << mistake.what();
        }
    }
    ::unsetenv("KORVANE_WITHIN_MS");
}

TEST(AgentScenario, ReportsTheLineAndTheReasonOfAMistake)
{
    const std::pair<const char *, const char *> mistakes[] = {
        {"{\n\"steps\":[\n{\"wait_ms\":}]}", "line 3, column 12: the text is not JSON from here on"},
        {"[]", "line 1, column 1: a scenario is an object with an array 'steps'"},
        {R"({"steps":[], "setps":[]})",
         "line 1, column 1: there is no 'setps' here; there is $schema, before, keeps_calls, "},
        {"{\"steps\":[\n{\"wait_ms\":1},\n{\"dance\":1}]}", "line 3, column 2: there is no step 'dance' (a step has"},
        {"{\"steps\":[\n  {\"note\":\"x\", \"expcet\":\"start\"}]}",
         "line 2, column 16: there is no step 'expcet'; did you mean 'expect'?"},
        {"{\"steps\":[\n{\"say\":\"[{\\\"\"},\n{\"expect\":\"strat\"}]}",
         "line 3, column 2: there is no method or function 'strat'; did you mean 'start'?"},
        {R"({"steps":[{"never":"korvane_strat"}]})",
         "line 1, column 12: there is no method or function 'korvane_strat'; did you mean 'korvane_start'?"},
        {R"({"steps":[{"expect":"korvane_get_sub_device_presence"}]})",
         "line 1, column 12: there is no method or function"},
        {"{\"steps\":[\n\n{\"expect\":\"start\",\"wiht\":{}}]}",
         "line 3, column 1: there is no 'wiht' here; there is "},
        {R"({"steps":[{"expect":"send_user_confirm","with":{"confrim":true}}]})",
         "line 1, column 49: there is no argument of send_user_confirm 'confrim'; did you mean 'confirm'?"},
        {R"({"steps":[{"expect":"get_device_id","answer":{"id":"x"}}]})",
         "line 1, column 47: there is no value in the reply of get_device_id 'id'"},
        {"{\"steps\":[{\"wait_ms\":-1}]}", "line 1, column 11: 'wait_ms' cannot be negative"},
        {"{\"steps\":[{\"say\":\"x\",\"since\":\"3.0\"}]}", "line 1, column 11: there is no agent version '3.0'"},
        {"{\"steps\":[{\"say\":\"x\",\"wait_ms\":1}]}", "line 1, column 11: a step has only one of"},
        {"{\"steps\":[{\"until\":5}]}", "line 1, column 12: 'until' must be an object, not a number"},
        {"{\"steps\":[5]}", "line 1, column 11: the arguments must be a JSON object, not a number"},
        {R"({"steps":[{"until":{"setup.stagee":"done"}}]})",
         "line 1, column 21: the state has no 'setup.stagee'; did you mean 'stage'?"},
        {R"({"steps":[{"until":{"setup.networks.first":1}}]})",
         "line 1, column 21: 'setup.networks' is a list: write an index or '#' instead of 'first'"},
        {R"({"steps":[{"until":{"running.now":true}}]})", "line 1, column 21: 'running' of the state has no members"},
        {R"({"steps":[{"phone":"conect"}]})",
         "line 1, column 12: there is no phone step 'conect'; did you mean 'connect'?"},
        {R"({"steps":[{"cloud":"owns"}]})", "line 1, column 12: there is no cloud step 'owns'; did you mean 'own'?"},
        {R"({"steps":[{"emit":"status_changd_cb"}]})",
         "line 1, column 12: there is no event 'status_changd_cb'; did you mean 'status_changed_cb'?"},
        {R"({"steps":[{"fault":"strat","form":"die"}]})", "line 1, column 12: there is no method 'strat'; did you"},
        {R"({"steps":[{"fault":"start","form":"dye"}]})",
         "line 1, column 28: there is no fault 'dye'; did you mean 'die'?"},
        {R"({"steps":[{"fault":"start","form":"delay"}]})", "line 1, column 28: fault delay needs MS"},
        {R"({"steps":[{"fault":"start"}]})", "line 1, column 11: 'form' is missing: fault METHOD FORM [VALUE] [TIMES]"},
        {R"({"steps":[{"update":"instal"}]})",
         "line 1, column 12: there is no update step 'instal'; did you mean 'install'?"},
        {R"({"steps":[{"phone":5}]})", "line 1, column 12: 'step' must be a text, not a number"},
        {R"({"steps":[{"clock":"advance","ms":"5"}]})", "line 1, column 30: 'ms' must be a whole number, not a text"},
        {R"({"steps":[{"personality":"robot"}]})", "line 1, column 12: there is no personality 'robot'; it is one of "},
        {R"({"steps":[{"phone":"enter-pin","with":{"pin":"FILL IN: pin"}}]})",
         "line 1, column 40: replace \"FILL IN: pin\" with the value"},
        {R"({"steps":[{"expect":"stop","within_ms":10,"not_before_ms":11}]})",
         "line 1, column 43: 'not_before_ms' is greater than 'within_ms', 10"},
    };
    for (const auto &[text, reason] : mistakes)
        EXPECT_EQ(mistake(text).substr(0, std::string{reason}.size()), reason) << text;
}

TEST(AgentScenario, AcceptsPathsOfPartsThatAStateHasLater)
{
    for (const char *path :
         {"setup.networks.0.ssid", "setup.networks.#", "setup.chosen.ssid", "setup.pin.verified",
          "setup.settings.language", "cloud.credentials.user_id", "cloud.session.numbers", "cloud.keep_alive.rounds",
          "cloud.last_requests.any.0", "nicks.0", "sub_devices.1.presence", "last_requests.start.name", "peers.0.name",
          "faults.start.times", "play.step"})
        EXPECT_EQ(mistake(("{\"steps\":[{\"until\":{\"" + std::string{path} + "\":1}}]}").c_str()), "") << path;
}

/// The requests of an expectation: "signup_cloud {...}; from 2000 common_interface {...}".
std::string requests_of(const std::string &step)
{
    const Scenario scenario = Scenario::parse("{\"steps\":[" + step + "]}");
    std::string text;
    for (const Scenario::Step::Request &request : scenario.steps[0].requests)
        text += (text.empty() ? "" : "; ") + std::to_string(request.since) + " " + request.method + " " +
                request.arguments.text();
    return text;
}

TEST(AgentScenario, ExpectsAFunctionAsTheRequestOfEachVersion)
{
    EXPECT_EQ(requests_of(R"({"expect":"korvane_start"})"), "1000 start {}");
    EXPECT_EQ(requests_of(R"({"expect":"start"})"), "0 start {}");
    EXPECT_EQ(requests_of(R"({"expect":"korvane_sign_up_cloud","with":{"region":"EU"}})"),
              R"(1000 signup_cloud {"cloud_info":{"region":"EU"}}; )"
              R"(2000 common_interface {"request":{"region":"EU","common_interface":3}})");
    EXPECT_EQ(requests_of(R"({"never":"korvane_send_ap_list","with":{"req_id":1,"ap_list":[]}})"),
              R"(1000 send_ap_list {"req_id":1,"ap_list":[]}; )"
              R"(2003 common_interface {"request":{"req_id":1,"ap_list_array":[],"common_interface":6}})");
    EXPECT_EQ(requests_of(R"({"expect":"korvane_set_platform_info","with":{"platform_version":"9"}})"),
              R"(1001 set_platform_info {"platform_info":{"platform_version":"9"}}; )"
              R"(1002 set_platform_info_with_device_no {"platform_info":{"p_ver":"9"}})");
    const Scenario scenario = Scenario::parse(R"({"steps":[{"expect":"korvane_disable_signin"}]})");
    EXPECT_FALSE(scenario.steps[0].applies_to(2001)) << "the library does not ask such an agent";
    EXPECT_TRUE(scenario.steps[0].applies_to(2002));
}

TEST(AgentScenario, StatesTheVersionsForWhichItIsMeant)
{
    const Scenario scenario = Scenario::parse(R"({"title":"t", "since":"1.3", "before":"2.0", "steps":[]})");
    EXPECT_FALSE(scenario.applies_to(1002));
    EXPECT_TRUE(scenario.applies_to(1003));
    EXPECT_FALSE(scenario.applies_to(2000));
    EXPECT_NO_THROW(scenario.require(1006));
    try {
        scenario.require(2001);
        FAIL();
    } catch (const std::invalid_argument &problem) {
        EXPECT_STREQ(problem.what(), "the scenario 't' is for agents from 1.3 on before 2.0, not for 2.1");
    }
}

/// The rows of docs/reference/functions.md, which a test writes by calling each function: "name: 1000 method [command]; ...".
std::set<std::string> documented_requests()
{
    std::ifstream page{KORVANE_FUNCTIONS_PAGE};
    std::set<std::string> rows;
    const std::regex row{R"(\| `(korvane_\w+)` \| [^|]+ \| (\S+) \| (`.*) \|)"};
    const std::regex request{R"((from (\d)\.(\d) on )?`(\w+)` \(\d+\)( with command (\d+))?)"};
    for (std::string line; std::getline(page, line);) {
        std::smatch parts;
        if (!std::regex_match(line, parts, row))
            continue;
        const std::string lowest = parts[2] == "any" ? "1.0" : parts[2].str();
        std::string text = parts[1].str() + ":";
        const std::string requests = parts[3];
        for (std::sregex_iterator one{requests.begin(), requests.end(), request}, end; one != end; ++one) {
            const std::string since = (*one)[2].matched ? (*one)[2].str() + "." + (*one)[3].str() : lowest;
            text += " " + since + " " + (*one)[4].str() + " " + ((*one)[6].matched ? (*one)[6].str() : "0");
        }
        rows.insert(text);
    }
    return rows;
}

TEST(AgentScenario, KnowsTheRequestsOfEachFunction)
{
    std::set<std::string> known;
    for (const Function &function : all_functions()) {
        std::string text = function.name + ":";
        for (const FunctionRequest &request : function.requests)
            text += " " + version_text(request.since) + " " + request.method + " " + std::to_string(request.command);
        known.insert(text);
    }
    const std::set<std::string> documented = documented_requests();
    EXPECT_GT(documented.size(), 100U);
    for (const std::string &row : documented)
        EXPECT_TRUE(known.contains(row)) << "missing: " << row;
    for (const std::string &row : known)
        EXPECT_TRUE(documented.contains(row)) << "wrong: " << row;
}

TEST(AgentScenario, DescribesHowAValueDiffers)
{
    EXPECT_EQ(differs(R"({"a":1})", R"({"a":1,"b":2})"), "");
    EXPECT_EQ(differs(R"({"a":1})", R"({"a":2})"), "a is 2, not 1");
    EXPECT_EQ(differs(R"({"a":{"b":"x"}})", R"({"a":{"b":"y"}})"), R"(a.b is "y", not "x")");
    EXPECT_EQ(differs(R"({"a":1})", "{}"), "a is nothing, not 1");
    EXPECT_EQ(differs(R"({"a":[{"b":1},{"b":2}]})", R"({"a":[{"b":1,"c":0},{"b":3}]})"), "a.1.b is 3, not 2");
    EXPECT_EQ(differs(R"({"a":[1]})", R"({"a":[1,2]})"), "a is [1,2], not [1]");
    EXPECT_EQ(differs(R"({"a":null})", R"({"a":null})"), "");
    EXPECT_EQ(differs(R"({"a":true})", R"({"a":1})"), "a is 1, not true");
}

TEST(AgentScenario, AcceptsConditionsInPlaceOfValues)
{
    EXPECT_EQ(differs(R"({"a":{"at_least":2}})", R"({"a":2})"), "");
    EXPECT_EQ(differs(R"({"a":{"at_least":2}})", R"({"a":1})"), "a is 1, not at least 2");
    EXPECT_EQ(differs(R"({"a":{"at_most":2}})", R"({"a":3})"), "a is 3, not at most 2");
    EXPECT_EQ(differs(R"({"a":{"contains":"ell"}})", R"({"a":"hello"})"), "");
    EXPECT_EQ(differs(R"({"a":{"contains":"x"}})", R"({"a":"hello"})"), R"(a is "hello", not a text with "x")");
    EXPECT_EQ(differs(R"({"a":{"not":1}})", R"({"a":2})"), "");
    EXPECT_EQ(differs(R"({"a":{"not":1}})", R"({"a":1})"), "a is 1, not anything but 1");
    EXPECT_EQ(differs(R"({"a":{"any":true}})", R"({"a":null})"), "");
    EXPECT_EQ(differs(R"({"a":{"any":true}})", "{}"), "a is nothing, not present: true");
}

/// Objects in objects, `levels` deep.
std::string nested(int levels)
{
    std::string text = "1";
    for (int i = 0; i < levels; ++i)
        text = R"({"a":)" + text + R"(,"b":2})";
    return text;
}

TEST(AgentScenario, ComparesDeepValuesInLinearTime)
{
    const std::string deep = nested(50);
    EXPECT_EQ(differs("[" + deep + "]", "[" + deep + "]"), "");
    EXPECT_NE(differs("[" + deep + "]", "[" + deep + ",1]"), "");
    EXPECT_NE(differs(R"({"a":[)" + deep + "]}", R"({"a":[)" + deep + ",1]}"), "");
    EXPECT_NE(differs(R"({"not":)" + deep + "}", deep), "");
}

TEST(AgentJson, RejectsTextsThatExceedItsLimits)
{
    EXPECT_NO_THROW(Json::parse(std::string(64, '[') + std::string(64, ']')));
    EXPECT_THROW(Json::parse(std::string(65, '[') + std::string(65, ']')), JsonTooLarge);
    std::string values = "[0";
    for (int i = 2; i < 50'000; ++i)
        values += ",0";
    EXPECT_NO_THROW(Json::parse(values + "]"));
    EXPECT_THROW(Json::parse(values + ",0,0]"), JsonTooLarge);
    EXPECT_NO_THROW(Json::parse("\"" + std::string(100'000, ',') + R"(\"[{")")) << "text is one value";
}

TEST(AgentScenario, FollowsPathsIntoAValue)
{
    const Json value = Json::parse(R"({"a":{"b":[{"c":7},{"c":8}]}})");
    Json count;
    EXPECT_EQ(find_path(value.get(), "a.b.1.c", count)->valueint, 8);
    EXPECT_EQ(find_path(value.get(), "a.b.#", count)->valueint, 2);
    EXPECT_EQ(find_path(value.get(), "a.b.2.c", count), nullptr);
    EXPECT_EQ(find_path(value.get(), "a.x.y", count), nullptr);
}

class AgentClock : public testing::Test {
protected:
    AgentClock() { clock.stop(); }

    Clock clock;
    std::string done;
};

TEST_F(AgentClock, MakesDueCallsInOrderWhenItAdvances)
{
    clock.after(20, [&] { done += "b"; });
    clock.after(10, [&] { done += "a"; });
    clock.after(10, [&] { done += "A"; });
    clock.after(30, [&] { done += "c"; });
    clock.advance(9);
    EXPECT_EQ(done, "");
    clock.advance(11);
    EXPECT_EQ(done, "aAb");
    clock.advance(1000);
    EXPECT_EQ(done, "aAbc");
}

TEST_F(AgentClock, MakesCallsThatOtherCallsAdd)
{
    std::function<void()> round = [&] {
        done += "r";
        clock.after(100, round);
    };
    clock.after(100, round);
    const auto begin = clock.now_ms();
    clock.advance(550);
    EXPECT_EQ(done, "rrrrr");
    EXPECT_EQ(clock.now_ms() - begin, 550);
}

TEST_F(AgentClock, DropsCallsThatAreCancelledByOtherCalls)
{
    Clock::Id second = 0;
    clock.after(10, [&] { clock.cancel(second); });
    second = clock.after(20, [&] { done += "x"; });
    clock.advance(100);
    EXPECT_EQ(done, "");
}

TEST_F(AgentClock, ContinuesFromTheTimeAtWhichItStopped)
{
    clock.advance(5000);
    const auto before = clock.now_ms();
    clock.run();
    EXPECT_GE(clock.now_ms(), before);
    EXPECT_LT(clock.now_ms(), before + 4000);
}

} // namespace
