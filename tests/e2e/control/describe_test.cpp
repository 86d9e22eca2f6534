// SPDX-License-Identifier: Apache-2.0
// The agent lists every method, event and fault of its version, and each of them can be used.
#include "control_client.hpp"
#include "e2e/fixtures/wire_client.hpp"

#include <gtest/gtest.h>

#include <map>

using namespace kv::test;

namespace {

/// The number of methods and events of an agent version, counted by hand.
struct Interface {
    const char *version;
    int methods;
    int events;
};

class Described : public testing::TestWithParam<Interface> {
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
    /// The first element of a list in the description.
    const cJSON *list(const char *name) const { return member(description.get(), name)->child; }
    int count(const char *name) const { return cJSON_GetArraySize(member(description.get(), name)); }

    /// Steps of a scenario: every event, every fault set and removed, every method expected.
    std::string steps_of_all() const;

    /// The shortest bytes of a value of this type.
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
        EXPECT_EQ(response.status, http::ok) << response.body;
    }

    static constexpr int sequence = 4711;
    AgentHome home;
    AgentProcess agent{home, {"--agent-version", GetParam().version}};
    ControlConnection api{home};
    const Document description{api.get("/v1/describe").body};
    std::map<std::string, int> event_ids;
};

TEST_P(Described, ListsTheMethodsAndEventsOfItsVersion)
{
    EXPECT_EQ(count("methods"), GetParam().methods);
    EXPECT_EQ(count("events"), GetParam().events);
    EXPECT_EQ(count("versions"), 11);
    EXPECT_EQ(count("personalities"), 4);
    EXPECT_EQ(text(description.get(), "version"), GetParam().version);
}

TEST_P(Described, EveryMethodReturnsTheResultOfAFault)
{
    Client application;
    ASSERT_TRUE(application.connect());
    const auto result_of = [](const cJSON *method) { return -1000 - member(method, "id")->valueint; };
    for (const cJSON *method = list("methods"); method; method = method->next) {
        const std::string name = text(method, "name");
        fault(name, "result", result_of(method));
        const Bytes reply = application.exchange(request_of(method));
        ASSERT_GE(reply.size(), 8U) << name;
        EXPECT_EQ(reply.substr(0, 4), int32(0)) << name;
        EXPECT_EQ(reply.substr(reply.size() - 4), int32(result_of(method))) << name;
    }
    EXPECT_EQ(api.get("/v1/state?path=faults").at("state"), "{}");

    const Document journal{api.post("journal", R"({"filter":{"fault":"result"}})").body};
    const cJSON *entry = member(journal.get(), "entries")->child;
    for (const cJSON *method = list("methods"); method; method = method->next, entry = entry->next) {
        ASSERT_TRUE(entry) << "no entry for " << text(method, "name");
        EXPECT_EQ(text(entry, "method"), text(method, "name"));
        EXPECT_EQ(text_of(member(member(entry, "answer"), "result")), std::to_string(result_of(method)));
    }
    EXPECT_FALSE(entry) << "more entries than calls";
}

TEST_P(Described, EveryEventReachesARegisteredApplication)
{
    Client application;
    ASSERT_TRUE(application.connect());
    // The event about the group is sent only to a device with an owner.
    EXPECT_EQ(api.post("personality", R"({"name":"owned-and-signed-in"})").status, http::ok);
    // The event of a one-shot request follows at once. Its delegate has the once flag cleared, so that it remains.
    for (const cJSON *method = list("methods"); method; method = method->next) {
        const bool registers = text_of(member(method, "arguments")).find(R"("type":"callback")") != std::string::npos;
        const Bytes answer = registers ? application.exchange(request_of(method)) : Bytes{};
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

std::string Described::steps_of_all() const
{
    std::string steps;
    const auto add = [&steps](const std::string &step) { steps += (steps.empty() ? "{" : ",\n{") + step + "}"; };
    for (const cJSON *event = list("events"); event; event = event->next)
        add(R"("emit":")" + text(event, "name") + R"(","values":)" + text_of(member(event, "default")));
    for (const cJSON *method = list("methods"); method; method = method->next)
        for (const cJSON *form = list("faults"); form; form = form->next)
            for (const char *times : {"1", "0"}) // set it, remove it
                add(R"("fault":")" + text(method, "name") + R"(","form":")" + text(form, "name") + "\"" +
                    (text(form, "value").empty() ? "" : R"(,"value":5)") + R"(,"times":)" + times);
    for (const cJSON *method = list("methods"); method; method = method->next)
        add(R"("expect":")" + text(method, "name") + R"(","within_ms":60000)");
    return steps;
}

TEST_P(Described, EveryMethodEventAndFaultCanBeAStepOfAScenario)
{
    Client application;
    ASSERT_TRUE(application.connect());
    const Response begun = api.post("play", R"({"scenario":{"steps":[)" + steps_of_all() + "]}}");
    ASSERT_EQ(begun.status, http::ok) << begun.body;
    const std::string first = std::string{"expect "} + text(list("methods"), "name");
    EXPECT_TRUE(run_main_loop_until([&] { return api.get("/v1/state?path=play.step").at("state") == first; }));
    for (const cJSON *method = list("methods"); method; method = method->next)
        application.exchange(request_of(method));
    EXPECT_TRUE(run_main_loop_until([&] { return api.get("/v1/state?path=play.running").at("state") == "false"; }));
    EXPECT_EQ(api.get("/v1/state?path=play.problem").at("state"), "");
}

INSTANTIATE_TEST_SUITE_P(Versions, Described,
                         testing::Values(Interface{.version = "1.0", .methods = 31, .events = 10},
                                         Interface{.version = "1.1", .methods = 41, .events = 13},
                                         Interface{.version = "1.2", .methods = 44, .events = 13},
                                         Interface{.version = "1.3", .methods = 69, .events = 19},
                                         Interface{.version = "1.4", .methods = 94, .events = 25},
                                         Interface{.version = "1.5", .methods = 95, .events = 26},
                                         Interface{.version = "1.6", .methods = 96, .events = 26},
                                         Interface{.version = "2.0", .methods = 98, .events = 27},
                                         Interface{.version = "2.1", .methods = 101, .events = 30},
                                         Interface{.version = "2.2", .methods = 103, .events = 31},
                                         Interface{.version = "2.3", .methods = 104, .events = 32}),
                         [](const auto &tested) {
                             std::string name = tested.param.version;
                             name[1] = '_';
                             return "Agent_" + name;
                         });

TEST(EveryResult, IsReturnedUnchanged)
{
    AgentHome home;
    AgentProcess agent{home};
    ControlConnection api{home};
    Client application;
    ASSERT_TRUE(application.connect());
    for (const int result : {0, 1, -1, -5, -12, -13, -22, -61, -1073741822, -1073741825, -1073741826, -1073741827,
                             2147483647, -2147483647 - 1}) {
        const std::string body = R"({"method":"all","form":"result","value":)" + std::to_string(result) + "}";
        EXPECT_EQ(api.post("fault", body).status, http::ok);
        EXPECT_EQ(application.exchange(int32(4)), int32(0) + int32(result));
    }
}

TEST(EveryFault, CanBeSetAndRemoved)
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
            EXPECT_EQ(response.status, http::ok) << name << response.body;
            EXPECT_EQ(api.get("/v1/state?path=faults.start.fault").at("state"), times[0] == '0' ? "" : name);
        }
        ++faults;
    }
    EXPECT_EQ(faults, 9);
}

} // namespace
