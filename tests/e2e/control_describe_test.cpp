// SPDX-License-Identifier: Apache-2.0
// Everything that an agent version knows is enumerated by the agent itself, and reached: every method, every event.
#include "control_client.hpp"
#include "wire_client.hpp"

#include <gtest/gtest.h>

#include <map>

using namespace kv::test;

namespace {

/// What there is, counted by hand.
struct Known {
    const char *version;
    int methods;
    int events;
};

class Described : public testing::TestWithParam<Known> {
protected:
    Described()
    {
        for (const cJSON *event = list("events"); event; event = event->next)
            event_ids[text(event, "name")] = member(event, "id")->valueint;
    }

    static const cJSON *member(const cJSON *of, const char *name) { return cJSON_GetObjectItemCaseSensitive(of, name); }
    static std::string text(const cJSON *of, const char *name)
    {
        const char *found = cJSON_GetStringValue(member(of, name));
        return found ? found : "";
    }
    /// The first of a list of what there is.
    const cJSON *list(const char *name) const { return member(description.get(), name)->child; }
    int count(const char *name) const { return cJSON_GetArraySize(member(description.get(), name)); }

    /// The least that such a value can be on the wire.
    Bytes value_of(const cJSON *shape) const
    {
        const std::string type = text(shape, "type");
        if (type == "bool")
            return Bytes(1, '\0');
        if (type == "callback")
            return int32(event_ids.at(text(shape, "name"))) + int32(sequence) + Bytes(1, '\0');
        if (type != "record")
            return int32(0); // a number, an empty text, an empty array
        Bytes fields;
        for (const cJSON *field = member(shape, "fields")->child; field; field = field->next)
            fields += value_of(field);
        return fields;
    }
    Bytes request_of(const cJSON *method) const
    {
        Bytes request = int32(member(method, "id")->valueint);
        for (const cJSON *argument = member(method, "arguments")->child; argument; argument = argument->next)
            request += value_of(argument);
        return request;
    }

    void fault(const std::string &method, const std::string &form, int value)
    {
        const Response response = api.post("fault", R"({"method":")" + method + R"(","form":")" + form +
                                                        R"(","value":)" + std::to_string(value) + "}");
        EXPECT_EQ(response.status, 200) << response.body;
    }

    static constexpr int sequence = 4711;
    AgentHome home;
    AgentProcess agent{home, {"--agent-version", GetParam().version}};
    ControlConnection api{home};
    const Document description{api.get("/v1/describe").body};
    std::map<std::string, int> event_ids;
};

TEST_P(Described, HasAsMuchAsItsVersion)
{
    EXPECT_EQ(count("methods"), GetParam().methods);
    EXPECT_EQ(count("events"), GetParam().events);
    EXPECT_EQ(count("versions"), 11);
    EXPECT_EQ(count("personalities"), 4);
    EXPECT_EQ(text(description.get(), "version"), GetParam().version);
}

TEST_P(Described, EveryMethodCanBeMadeToAnswerAsOneWishes)
{
    Client application;
    ASSERT_TRUE(application.connect());
    for (const cJSON *method = list("methods"); method; method = method->next) {
        const std::string name = text(method, "name");
        const int result = -1000 - member(method, "id")->valueint;
        fault(name, "result", result);
        const Bytes answer = application.ask(request_of(method));
        ASSERT_GE(answer.size(), 8U) << name;
        EXPECT_EQ(answer.substr(0, 4), int32(0)) << name;
        EXPECT_EQ(answer.substr(answer.size() - 4), int32(result)) << name;
        const Response noted =
            api.post("wait", R"({"since":0,"filter":{"method":")" + name + R"(","fault":"result","answer":{"result":)" +
                                 std::to_string(result) + "}}}");
        EXPECT_EQ(noted.status, 200) << noted.body;
    }
    EXPECT_EQ(api.get("/v1/state?path=faults").at("state"), "{}");
}

TEST_P(Described, EveryEventReachesWhoeverRegisteredForIt)
{
    Client application;
    ASSERT_TRUE(application.connect());
    // Only a device with an owner has a group.
    EXPECT_EQ(api.post("personality", R"({"name":"owned-and-signed-in"})").status, 200);
    // One-shot requests are answered by their event at once, which is asked not to use them up.
    for (const cJSON *method = list("methods"); method; method = method->next) {
        const bool registers = text_of(member(method, "arguments")).find(R"("type":"callback")") != std::string::npos;
        const Bytes answer = registers ? application.ask(request_of(method)) : Bytes{};
        EXPECT_NE(answer, "closed") << text(method, "name");
    }

    for (const cJSON *event = list("events"); event; event = event->next) {
        const std::string name = text(event, "name");
        for (const std::string &values : {std::string{}, R"(,"values":)" + text_of(member(event, "default"))}) {
            application.events.clear();
            const Response response = api.post("emit", R"({"event":")" + name + "\"" + values + "}");
            EXPECT_EQ(response.at("peers"), "1") << name << ": " << response.body;
            const Bytes head = int32(1) + int32(event_ids.at(name)) + int32(sequence) + Bytes(1, '\0');
            EXPECT_TRUE(run_main_loop_until([&] {
                for (const Bytes &came : application.events)
                    if (came.substr(0, head.size()) == head)
                        return true;
                return false;
            })) << name;
        }
    }
}

TEST_P(Described, EverythingCanStandInAScenario)
{
    Client application;
    ASSERT_TRUE(application.connect());
    std::string steps;
    const auto add = [&steps](const std::string &step) { steps += (steps.empty() ? "{" : ",\n{") + step + "}"; };
    for (const cJSON *event = list("events"); event; event = event->next)
        add(R"("emit":")" + text(event, "name") + R"(","values":)" + text_of(member(event, "default")));
    for (const cJSON *method = list("methods"); method; method = method->next)
        for (const cJSON *form = list("faults"); form; form = form->next)
            for (const char *times : {"1", "0"}) // set, and taken back
                add(R"("fault":")" + text(method, "name") + R"(","form":")" + text(form, "name") + "\"" +
                    (text(form, "value").empty() ? "" : R"(,"value":5)") + R"(,"times":)" + times);
    for (const cJSON *method = list("methods"); method; method = method->next)
        add(R"("expect":")" + text(method, "name") + "\"");

    const Response begun = api.post("play", R"({"scenario":{"steps":[)" + steps + "]}}");
    ASSERT_EQ(begun.status, 200) << begun.body;
    const std::string first = std::string{"expect "} + text(list("methods"), "name");
    EXPECT_TRUE(run_main_loop_until([&] { return api.get("/v1/state?path=play.step").at("state") == first; }));
    for (const cJSON *method = list("methods"); method; method = method->next)
        application.ask(request_of(method));
    EXPECT_TRUE(run_main_loop_until([&] { return api.get("/v1/state?path=play.running").at("state") == "false"; }));
    EXPECT_EQ(api.get("/v1/state?path=play.problem").at("state"), "");
}

INSTANTIATE_TEST_SUITE_P(Versions, Described,
                         testing::Values(Known{"1.0", 31, 10}, Known{"1.1", 41, 13}, Known{"1.2", 44, 13},
                                         Known{"1.3", 69, 19}, Known{"1.4", 94, 25}, Known{"1.5", 95, 26},
                                         Known{"1.6", 96, 26}, Known{"2.0", 98, 27}, Known{"2.1", 101, 30},
                                         Known{"2.2", 103, 31}, Known{"2.3", 104, 32}),
                         [](const auto &tested) {
                             std::string name = tested.param.version;
                             name[1] = '_';
                             return "Agent_" + name;
                         });

TEST(EveryResult, CanBeAnAnswer)
{
    AgentHome home;
    AgentProcess agent{home};
    ControlConnection api{home};
    Client application;
    ASSERT_TRUE(application.connect());
    for (const int result : {0, 1, -1, -5, -12, -13, -22, -61, -1073741822, -1073741825, -1073741826, -1073741827,
                             2147483647, -2147483647 - 1}) {
        const std::string body = R"({"method":"all","form":"result","value":)" + std::to_string(result) + "}";
        EXPECT_EQ(api.post("fault", body).status, 200);
        EXPECT_EQ(application.ask(int32(4)), int32(0) + int32(result));
    }
}

TEST(EveryFault, CanBeSetAndTakenBack)
{
    AgentHome home;
    AgentProcess agent{home};
    ControlConnection api{home};
    const Document description{api.get("/v1/describe").body};
    int faults = 0;
    for (const cJSON *fault = cJSON_GetObjectItemCaseSensitive(description.get(), "faults")->child; fault;
         fault = fault->next) {
        const std::string name = cJSON_GetObjectItemCaseSensitive(fault, "name")->valuestring;
        const bool valued = cJSON_IsString(cJSON_GetObjectItemCaseSensitive(fault, "value"));
        for (const char *times : {"3", "0"}) {
            const Response response =
                api.post("fault", R"({"method":"start","form":")" + name + "\"" + (valued ? R"(,"value":5)" : "") +
                                      R"(,"times":)" + times + "}");
            EXPECT_EQ(response.status, 200) << name << response.body;
            EXPECT_EQ(api.get("/v1/state?path=faults.start.fault").at("state"), times[0] == '0' ? "" : name);
        }
        ++faults;
    }
    EXPECT_EQ(faults, 9);
}

} // namespace
