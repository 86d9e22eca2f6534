// SPDX-License-Identifier: Apache-2.0
// Scenario files, the comparison of values, JSON limits and the clock.
#include "agent/device/clock.hpp"
#include "agent/json/matching.hpp"
#include "agent/scenario/scenario.hpp"

#include <gtest/gtest.h>

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

TEST(AgentScenario, ReportsTheLineAndTheReasonOfAMistake)
{
    const std::pair<const char *, const char *> mistakes[] = {
        {"{\n\"steps\":[\n{\"wait_ms\":}]}", "line 3: the text is not JSON from here on"},
        {"[]", "line 1: a scenario is an object with an array 'steps'"},
        {R"({"steps":[], "setps":[]})", "line 1: there is no 'setps' here; there is note, steps, title"},
        {"{\"steps\":[\n{\"wait_ms\":1},\n{\"dance\":1}]}",
         "line 3: a step has one of 'expect', 'until', 'wait_ms', 'say' or a command's name"},
        {"{\"steps\":[\n{\"say\":\"[{\\\"\"},\n{\"expect\":\"strat\"}]}", "line 3: there is no method 'strat'"},
        {"{\"steps\":[\n\n{\"expect\":\"start\",\"wiht\":{}}]}", "line 3: there is no 'wiht' here; there is "},
        {"{\"steps\":[{\"wait_ms\":-1}]}", "line 1: 'wait_ms' cannot be negative"},
        {"{\"steps\":[{\"say\":\"x\",\"since\":\"3.0\"}]}", "line 1: there is no agent version '3.0'"},
        {"{\"steps\":[{\"say\":\"x\",\"wait_ms\":1}]}", "line 1: a step has one of"},
        {"{\"steps\":[{\"until\":5}]}", "line 1: 'until' must be an object, not a number"},
        {"{\"steps\":[5]}", "line 1: the arguments must be a JSON object, not a number"},
    };
    for (const auto &[text, reason] : mistakes)
        EXPECT_EQ(mistake(text).substr(0, std::string{reason}.size()), reason) << text;
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
