// SPDX-License-Identifier: Apache-2.0
// Variables, includes and random orders of scenarios.
#include "agent/scenario/reading/random_order.hpp"
#include "agent/scenario/reading/scenario_reader.hpp"
#include "testing/support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <stdexcept>

using namespace kv::virtual_agent;

namespace {

std::string message_of(const std::function<void()> &action)
{
    try {
        action();
        return "";
    } catch (const std::exception &problem) {
        return problem.what();
    }
}

Scenario parsed(const std::string &text, std::map<std::string, std::string> values = {})
{
    return Scenario::parse(text, {std::move(values), 0});
}

std::string mistake(const std::string &text, std::map<std::string, std::string> values = {})
{
    return message_of([&] { parsed(text, std::move(values)); });
}

/// The texts of the steps, each of which says one.
std::string said(const Scenario &scenario)
{
    std::string text;
    for (const Scenario::Step &step : scenario.steps)
        text += step.text;
    return text;
}

TEST(AgentScenarioVariables, ReplaceTextsAndPartsOfThem)
{
    const Scenario scenario = parsed(R"({"variables": {"ssid": "home", "n": 7}, "steps": [
        {"say": "${ssid}"}, {"say": "<${ssid}-${n}>"}, {"say": "$${ssid} costs 5$"}]})");
    EXPECT_EQ(scenario.steps[0].text, "home");
    EXPECT_EQ(scenario.steps[1].text, "<home-7>");
    EXPECT_EQ(scenario.steps[2].text, "${ssid} costs 5$");
    EXPECT_EQ(scenario.variables, (std::vector<std::string>{"ssid", "n"}));
}

TEST(AgentScenarioVariables, KeepTheTypeOfAWholeText)
{
    const Scenario scenario = parsed(R"({"variables": {"n": 7, "yes": true, "with": {"ssid": "home"}}, "steps": [
        {"wait_ms": "${n}"}, {"until": {"running": "${yes}"}}, {"phone": "choose", "with": "${with}"}]})");
    EXPECT_EQ(scenario.steps[0].within_ms, 7);
    EXPECT_EQ(scenario.steps[1].arguments.text(), R"({"running":true})");
    EXPECT_EQ(scenario.steps[2].arguments.text(), R"({"step":"choose","with":{"ssid":"home"}})");
}

TEST(AgentScenarioVariables, MayUseThoseBeforeThem)
{
    EXPECT_EQ(said(parsed(R"({"variables": {"a": "x", "b": "${a}y"}, "steps": [{"say": "${b}"}]})")), "xy");
    EXPECT_EQ(said(parsed(R"({"variables": {"a": "x", "b": "${a}y"}, "steps": [{"say": "${b}"}]})", {{"a", "z"}})),
              "zy");
    EXPECT_EQ(mistake(R"({"variables": {"b": "${a}", "a": "x"}, "steps": []})"),
              "line 1, column 16: there is no variable 'a'");
}

TEST(AgentScenarioVariables, TakeWordsOfTheCommandLine)
{
    const std::string text =
        R"({"variables": {"ssid": "home", "n": 7}, "steps": [{"say": "${ssid}"}, {"wait_ms": "${n}"}]})";
    EXPECT_EQ(parsed(text, {{"ssid", "12"}}).steps[0].text, "12");
    EXPECT_EQ(parsed(text, {{"ssid", "${n}"}}).steps[0].text, "${n}") << "a word is no text of the scenario";
    EXPECT_EQ(parsed(text, {{"n", "12"}, {"other", "x"}}).steps[1].within_ms, 12);
    EXPECT_EQ(mistake(text, {{"n", "many"}}), "line 1, column 32: the value that is given for 'n' must be a number");
    EXPECT_EQ(mistake(text, {{"n", "\"12\""}}), "line 1, column 32: the value that is given for 'n' must be a number");
}

TEST(AgentScenarioVariables, AreCheckedBeforeTheScenarioIsPlayed)
{
    const std::pair<const char *, const char *> mistakes[] = {
        {"{\"variables\": {\"ssid\": \"home\"}, \"steps\": [\n  {\"say\": \"${ssdi}\"}]}",
         "line 2, column 4: there is no variable 'ssdi'; did you mean 'ssid'?"},
        {"{\"steps\": [\n{\"phone\": \"choose\", \"with\": {\"ssid\": \"${ssid}\"}}]}",
         "line 2, column 30: there is no variable 'ssid'"},
        {R"({"variables": [], "steps": []})", "line 1, column 2: 'variables' must be an object, not an array"},
        {R"({"variables": {"my ssid": 1}, "steps": []})",
         "line 1, column 16: 'my ssid' is not a name: use letters, digits and '_'"},
        {R"({"variables": {"a": 1, "a": 2}, "steps": []})", "line 1, column 24: there are two variables 'a'"},
        {R"({"variables": {"a": {}}, "steps": [{"say": "<${a}>"}]})",
         "line 1, column 37: 'a' is an object, which cannot be a part of a text"},
        {R"({"steps": [{"say": "5 ${"}]})",
         "line 1, column 13: the name of a variable and '}' must follow '${'; write '$${' for the text '${'"},
        {R"({"variables": {"a": 1}, "steps": [{"say": "${a"}]})", "line 1, column 36: the name of a variable and '}'"},
        {R"({"steps": [{"say": "${}"}]})", "line 1, column 13: the name of a variable and '}' must follow '${'"},
        {R"({"variables": {"step": "conect"}, "steps": [{"phone": "${step}"}]})",
         "line 1, column 46: there is no phone step 'conect'; did you mean 'connect'?"},
        {R"({"variables": {"n": "5"}, "steps": [{"wait_ms": "${n}"}]})",
         "line 1, column 37: 'wait_ms' must be a whole number of 32 bits, not a text"},
    };
    for (const auto &[text, reason] : mistakes)
        EXPECT_EQ(mistake(text).substr(0, std::string{reason}.size()), reason) << text;
}

TEST(AgentScenarioVariables, CannotMakeAScenarioTooLong)
{
    std::string text = R"({"variables": {"a0": "0123456789abcdef")";
    for (int i = 1; i < 60; ++i)
        text +=
            ", \"a" + std::to_string(i) + "\": \"${a" + std::to_string(i - 1) + "}${a" + std::to_string(i - 1) + "}\"";
    EXPECT_NE(mistake(text + "}, \"steps\": []}").find("the values of the variables are too long"), std::string::npos);
}

TEST(AgentScenarioVariables, CannotNestDeeperThanAText)
{
    std::string text = R"({"variables": {"a0": 1)";
    for (int i = 1; i <= 70; ++i)
        text += ", \"a" + std::to_string(i) + R"(": ["${a)" + std::to_string(i - 1) + "}\"]";
    EXPECT_NE(mistake(text + "}, \"steps\": []}").find("make this more than 64 levels deep"), std::string::npos);
}

class AgentScenarioFiles : public testing::Test {
protected:
    std::string path(const std::string &name) const { return (folder_.path() / name).string(); }

    std::string write(const std::string &name, const std::string &text) const
    {
        std::filesystem::create_directories((folder_.path() / name).parent_path());
        std::ofstream{folder_.path() / name} << text;
        return path(name);
    }

    std::string mistake_in(const std::string &name) const
    {
        return message_of([&] { Scenario::load(path(name)); });
    }

private:
    kv::test::TemporaryDirectory folder_{"korvane-scenarios"};
};

TEST_F(AgentScenarioFiles, IncludeTheStepsOfOthers)
{
    write("parts/say.json", R"({"part": true, "variables": {"what": "b", "end": "."}, "steps": [
        {"say": "${what}${end}"}]})");
    write("parts/both.json", R"({"part": true, "variables": {"what": "?"}, "steps": [
        {"include": "say.json", "with": {"what": "<${what}>"}},
        {"include": "say.json"}]})");
    const Scenario scenario = Scenario::load(write("main.json", R"({"variables": {"what": "m"}, "steps": [
        {"say": "${what}"},
        {"include": "parts/both.json", "with": {"what": "${what}"}},
        {"say": "e"}]})"));
    EXPECT_EQ(said(scenario), "m<m>.b.e");
    EXPECT_EQ(scenario.variables, std::vector<std::string>{"what"});
    EXPECT_EQ(scenario.steps[1].file, path("parts/say.json"));
    EXPECT_EQ(scenario.steps[1].line, 2);
    EXPECT_EQ(scenario.steps[1].included_by,
              ", included by " + path("parts/both.json") + ", line 2, included by " + path("main.json") + ", line 3");
    EXPECT_EQ(scenario.steps[3].included_by, "");
}

TEST_F(AgentScenarioFiles, GiveTheirVersionsToIncludedSteps)
{
    write("part.json", R"({"since": "1.3", "steps": [{"say": "a"}, {"say": "b", "since": "2.0"}]})");
    const Scenario scenario =
        Scenario::load(write("main.json", R"({"steps": [{"include": "part.json", "before": "2.2"}, {"say": "c"}]})"));
    EXPECT_TRUE(scenario.applies_to(1000));
    EXPECT_FALSE(scenario.steps[0].applies_to(1002));
    EXPECT_TRUE(scenario.steps[0].applies_to(1003));
    EXPECT_FALSE(scenario.steps[1].applies_to(1003));
    EXPECT_TRUE(scenario.steps[1].applies_to(2001));
    EXPECT_FALSE(scenario.steps[0].applies_to(2002));
    EXPECT_TRUE(scenario.steps[2].applies_to(1000));
}

TEST_F(AgentScenarioFiles, NameTheFileOfAMistake)
{
    write("main.json", "{\"steps\": [\n  {\"include\": \"part.json\"}]}");
    EXPECT_EQ(mistake_in("main.json"), path("main.json") + ", line 2, column 4: cannot read " + path("part.json") +
                                           ": No such file or directory");
    write("part.json", "{\"steps\": [\n\n{\"expcet\": \"start\"}]}");
    EXPECT_EQ(mistake_in("main.json")
                  .find(path("part.json") + ", line 3, column 2: there is no step 'expcet'; did you mean 'expect'?"),
              0U);
    EXPECT_NE(mistake_in("main.json").find(" (included by " + path("main.json") + ", line 2)"), std::string::npos);
    write("part.json", "{\"steps\": [\n{\"say\":}]}");
    EXPECT_EQ(mistake_in("main.json").find(path("part.json") + ", line 2, column 8: the text is not JSON"), 0U);
    write("part.json", "{\"steps\": 5}");
    EXPECT_EQ(mistake_in("main.json").find(path("part.json") + ", line 1, column 1: a scenario is an object"), 0U);
    write("part.json", R"({"variables": {"ssid": "x"}, "steps": []})");
    write("main.json", "{\"steps\": [\n  {\"include\": \"part.json\",\n   \"with\": {\"ssdi\": \"home\"}}]}");
    EXPECT_EQ(mistake_in("main.json"), path("main.json") + ", line 3, column 13: part.json has no variable 'ssdi'; did "
                                                           "you mean 'ssid'?");
    write("main.json", R"({"steps": [{"include": "part.json", "with": 5}]})");
    EXPECT_EQ(mistake_in("main.json"),
              path("main.json") + ", line 1, column 37: 'with' must be an object, not a number");
    write("main.json", R"({"steps": [{"include": "part.json", "say": "x"}]})");
    EXPECT_EQ(mistake_in("main.json").find(path("main.json") + ", line 1, column 12: there is no 'say' here"), 0U);
    EXPECT_EQ(mistake(R"({"steps": [{"include": "part.json"}]})"),
              "line 1, column 13: only a scenario that is a file can include another file");
}

TEST_F(AgentScenarioFiles, CannotIncludeEachOtherWithoutEnd)
{
    write("a.json", "{\"steps\": [\n{\"include\": \"b.json\"}]}");
    write("b.json", "{\"steps\": [\n\n{\"include\": \"./a.json\"}]}");
    EXPECT_EQ(mistake_in("a.json").find(path("b.json") + ", line 3, column 2: " + path("a.json") + " includes itself"),
              0U);
    for (int i = 0; i < 20; ++i)
        write("deep" + std::to_string(i) + ".json",
              R"({"steps": [{"include": "deep)" + std::to_string(i + 1) + R"(.json"}]})");
    write("deep20.json", R"({"steps": []})");
    EXPECT_EQ(mistake_in("deep5.json"), "") << "16 files";
    EXPECT_EQ(
        mistake_in("deep4.json")
            .find(path("deep19.json") + ", line 1, column 13: the files include each other more than 16 levels deep"),
        0U);
    std::string many = R"({"include": "deep20.json"})";
    for (int i = 1; i < 1000; ++i)
        many += R"(, {"include": "deep20.json"})";
    write("many.json", "{\"steps\": [" + many + "]}");
    EXPECT_EQ(mistake_in("many.json"), "");
    write("more.json", "{\"steps\": [" + many + ", {\"include\": \"deep20.json\"}]}");
    EXPECT_NE(mistake_in("more.json").find("there are more than 1000 includes"), std::string::npos);
}

TEST_F(AgentScenarioFiles, AreNamedAlsoIfTheyHaveMistakes)
{
    write("main.json", R"({"steps": [{"include": "part.json"}, {"include": "gone.json"}]})");
    write("part.json", R"({"steps": []})");
    const ScenarioInput input;
    ScenarioReader reader{input};
    EXPECT_NE(message_of([&] { reader.load(path("main.json")); }), "");
    EXPECT_EQ(reader.included_files(), (std::vector<std::string>{path("part.json"), path("gone.json")}));
}

TEST_F(AgentScenarioFiles, ThatArePartsAreNotPlayed)
{
    const Scenario part = Scenario::load(write("part.json", R"({"title": "p", "part": true, "steps": []})"));
    EXPECT_EQ(message_of([&] { part.require(2003); }), "the scenario 'p' is a part, which other scenarios include");
}

TEST(AgentScenarioOrders, UseThePublishedGenerator)
{
    RandomNumbers numbers{1234567};
    EXPECT_EQ(numbers.next(), 6457827717110365317U);
    EXPECT_EQ(numbers.next(), 3203168211198807973U);
    EXPECT_EQ(numbers.next(), 9817491932198370423U);
    EXPECT_EQ(numbers.next(), 4593380528125082431U);
    EXPECT_EQ(numbers.next(), 16408922859458223821U);
}

/// The order of {"any_order": [...]} with five steps, worked out from the definition of the generator.
TEST(AgentScenarioOrders, FollowFromTheSeed)
{
    const std::string text = R"({"steps": [{"say": "<"}, {"any_order": [{"say": "a"}, {"say": "b"}, {"say": "c"},
        {"say": "d"}, {"say": "e"}]}, {"say": ">"}]})";
    EXPECT_EQ(said(Scenario::parse(text, {{}, 0})), "<cdbea>");
    EXPECT_EQ(said(Scenario::parse(text, {{}, 1})), "<cbeda>");
    EXPECT_EQ(said(Scenario::parse(text, {{}, 2})), "<bdeca>");
    EXPECT_EQ(said(Scenario::parse(text, {{}, 7})), "<ebdac>");
    EXPECT_EQ(Scenario::parse(text, {{}, 7}).seed, 7U);
}

TEST(AgentScenarioOrders, KeepTheOrderInAGroup)
{
    const std::string text = R"({"steps": [{"any_order": [[{"say": "a"}, {"say": "A"}], {"say": "b"}]},
        {"any_order": [{"say": "c"}, {"any_order": [{"say": "d"}], "since": "2.0"}, [{"say": "e"}]], "note": "x"}]})";
    const Scenario scenario = Scenario::parse(text, {{}, 7});
    EXPECT_EQ(said(scenario), "aAbdec");
    EXPECT_EQ(scenario.steps[3].since, 2000);
    EXPECT_EQ(scenario.steps[4].since, 0);
}

TEST(AgentScenarioOrders, HaveNoSeedIfThereIsOneOrderOnly)
{
    EXPECT_EQ(parsed(R"({"steps": [{"any_order": [[{"say": "a"}, {"say": "b"}]]}]})").seed, std::nullopt);
    EXPECT_EQ(parsed(R"({"steps": [{"any_order": []}, {"say": "b"}]})").seed, std::nullopt);
}

TEST(AgentScenarioOrders, AreCheckedAsOtherSteps)
{
    EXPECT_EQ(mistake("{\"steps\": [{\"any_order\": [\n{\"expcet\": \"start\"}]}]}")
                  .find("line 2, column 2: there is no step 'expcet'; did you mean 'expect'?"),
              0U);
    EXPECT_EQ(mistake(R"({"steps": [{"any_order": 5}]})"),
              "line 1, column 13: 'any_order' must be an array, not a number");
    EXPECT_EQ(
        mistake(R"({"steps": [{"any_order": [], "within_ms": 5}]})").find("line 1, column 12: there is no 'within_ms'"),
        0U);
}

} // namespace
