// SPDX-License-Identifier: Apache-2.0
#include "header_fixture.hpp"

/// What korvane.h promises about user data and about push messages, and applications rely on.
namespace kv::test::header {
namespace {

using matrix::Event;
using matrix::World;

/// Every event that a registration is made for.
std::vector<Event> registered_events()
{
    std::vector<Event> found;
    for (const Event &event : matrix::events())
        if (!matrix::once(event))
            found.push_back(event);
    return found;
}

/// An application's registration, and a second one of another part of it with user data of its own.
class UserDataOfARegistration : public HeaderTest, public ::testing::WithParamInterface<Event> {
protected:
    void begin_run() override
    {
        HeaderTest::begin_run();
        // Agents below 1.3 send the access point in an event of its own.
        connect(GetParam().id == 7 ? 1002 : matrix::newest);
        first_event = world.subscribe(GetParam());
        other.handle = world.handle;
    }

    void end_run() override
    {
        agent_is_installed();
        other.handle = nullptr; // it belongs to `world`
        HeaderTest::end_run();
    }

    int set_again() { return matrix::function_named(GetParam().asked_by).call(other); }

    int unset()
    {
        std::string name = GetParam().asked_by;
        return matrix::function_named(name.replace(name.find("_set_"), 5, "_unset_")).call(world);
    }

    /// The event for the delegate of the latest call. Of two delegates in one call the event's own is meant.
    Bytes latest_event()
    {
        const int last = last_seq_id(platform.log);
        const bool first_of_two = GetParam().id == 5 || GetParam().id == 11;
        return event(GetParam().id, first_of_two ? last - 1 : last, false, GetParam().values);
    }

    World other;
    Bytes first_event;
};

INSTANTIATE_TEST_SUITE_P(For, UserDataOfARegistration, ::testing::ValuesIn(registered_events()),
                         [](const auto &row) { return row.param.name; });

TEST_P(UserDataOfARegistration, IsInUseAfterARefusedUnset)
{
    agent_is_being_installed();
    EXPECT_EQ(unset(), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    world.arrives(first_event);
    EXPECT_EQ(world.callbacks, 1);
}

TEST_P(UserDataOfARegistration, IsInUseAfterARefusedSet)
{
    agent_is_being_installed();
    EXPECT_EQ(set_again(), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    world.arrives(first_event);
    EXPECT_EQ(world.callbacks, 1);
    EXPECT_EQ(other.callbacks, 0);
}

TEST_P(UserDataOfARegistration, IsNotUsedAfterAnUnsetThatTheAgentFailed)
{
    for (const Bytes &failure : {reply(-1), reply(-13)}) {
        agent_replies(failure);
        EXPECT_NE(unset(), KORVANE_ERROR_NONE);
        world.arrives(first_event);
        EXPECT_EQ(world.callbacks, 0);
    }
}

TEST_P(UserDataOfARegistration, IsNotUsedAfterAnUnsetThatGotNoReply)
{
    agent_never_replies();
    EXPECT_EQ(unset(), KORVANE_ERROR_IO_ERROR);
    world.arrives(first_event);
    EXPECT_EQ(world.callbacks, 0);
}

TEST_P(UserDataOfARegistration, IsNotUsedAfterItWasReplaced)
{
    EXPECT_EQ(set_again(), KORVANE_ERROR_NONE);
    world.arrives(first_event);
    EXPECT_EQ(world.callbacks, 0);
    EXPECT_EQ(other.callbacks, 0);
    world.arrives(latest_event());
    EXPECT_EQ(world.callbacks, 0);
    EXPECT_EQ(other.callbacks, 1);
}

TEST_P(UserDataOfARegistration, GivenToAFailedSetIsNeverUsed)
{
    agent_replies(reply(-1));
    EXPECT_EQ(set_again(), KORVANE_ERROR_OPERATION_FAILED);
    world.arrives(first_event);
    EXPECT_EQ(world.callbacks, 0) << "the earlier delegate has ended";
    world.arrives(latest_event());
    EXPECT_EQ(other.callbacks, 0);
    // An access point's delegate ends with the failed call; that of every other event reaches the earlier callback.
    const bool ends = GetParam().asked_by == "korvane_set_wifi_ap_provisioning_cb";
    EXPECT_EQ(world.callbacks, ends ? 0 : 1);
}

class OneShotRequests : public HeaderTest, public ::testing::WithParamInterface<Event> {};

std::vector<Event> one_shot_events()
{
    std::vector<Event> found;
    for (const Event &event : matrix::events())
        if (matrix::once(event))
            found.push_back(event);
    return found;
}

INSTANTIATE_TEST_SUITE_P(For, OneShotRequests, ::testing::ValuesIn(one_shot_events()),
                         [](const auto &row) { return row.param.name; });

TEST_P(OneShotRequests, DoNotUseTheirUserDataAfterAFailure)
{
    connect();
    agent_replies(reply(-1));
    EXPECT_EQ(matrix::function_named(GetParam().asked_by).call(world), KORVANE_ERROR_OPERATION_FAILED);
    last_delegate_fires(GetParam().id, true, GetParam().values);
    EXPECT_EQ(world.callbacks, 0);
}

TEST_P(OneShotRequests, UseTheirUserDataOnce)
{
    connect();
    const Bytes answer = world.subscribe(GetParam());
    world.arrives(answer);
    world.arrives(answer);
    EXPECT_EQ(world.callbacks, 1);
}

struct PushText {
    std::string name;
    std::string given;
    std::string received;
};

std::ostream &operator<<(std::ostream &out, const PushText &text)
{
    return out << text.given;
}

const std::vector<PushText> push_texts = {
    {.name = "WhiteSpace", .given = " { \"a\" : [ 1 , true ] } ", .received = R"({"a":[1,true]})"},
    {.name = "TextAfterTheValue", .given = R"({"a":1} rest)", .received = R"({"a":1})"},
    {.name = "TextAfterALiteral", .given = "nullify", .received = "null"},
    {.name = "LargestExactInteger", .given = "4503599627370496", .received = "4503599627370496"},
    {.name = "SmallestExactInteger", .given = "-4503599627370496", .received = "-4503599627370496"},
    {.name = "IntegerBeyond", .given = "9007199254740993", .received = "9.00719925474099e+15"},
    {.name = "Notation", .given = "1000000000000000", .received = "1e+15"},
    {.name = "ThirtyDigits", .given = "0.123456789012345678901234567890", .received = "0.12345678901234568"},
    {.name = "BeyondADouble", .given = R"({"a":1e999})", .received = R"({"a":null})"},
    {.name = "BelowADouble", .given = "-1e999", .received = "null"},
    {.name = "Escape", .given = R"("\u0041\/")", .received = R"("A/")"},
    {.name = "Nul", .given = R"("a\u0000b")", .received = R"("a")"},
    {.name = "EqualNames", .given = R"({"a":1,"a":2})", .received = R"({"a":1,"a":2})"},
    {.name = "ArrayOf1000Levels",
     .given = std::string(1000, '[') + std::string(1000, ']'),
     .received = std::string(1000, '[') + std::string(1000, ']')},
};

class PushMessage : public HeaderTest, public ::testing::WithParamInterface<PushText> {};

INSTANTIATE_TEST_SUITE_P(With, PushMessage, ::testing::ValuesIn(push_texts),
                         [](const auto &row) { return row.param.name; });

TEST_P(PushMessage, ReachesTheAgentAsTheManualDescribes)
{
    connect();
    ASSERT_EQ(korvane_send_custom_push_msg(world.handle, GetParam().given.c_str()), KORVANE_ERROR_NONE);
    ASSERT_EQ(platform.main_port().sent.size(), 1U);
    EXPECT_EQ(platform.main_port().sent.front(),
              bytes(i32(102), str(R"({"common_interface":2,"custom_push_msg":)" + GetParam().received + "}")));
}

TEST_F(HeaderTest, APushMessageThatIsNoJsonIsRefused)
{
    connect();
    const std::string too_deep = std::string(1001, '[') + std::string(1001, ']');
    for (const std::string &text : {std::string(), std::string("tru"), std::string("{\"a\":1"), too_deep})
        EXPECT_EQ(korvane_send_custom_push_msg(world.handle, text.c_str()), KORVANE_ERROR_INVALID_PARAMETER) << text;
    EXPECT_TRUE(platform.main_port().sent.empty());
}

/// A platform that raises the event of a one-shot request inside the send of the request.
class EventInsideItsRequest : public HeaderTest {
protected:
    int request(int result_of_the_agent, std::function<void()> in_callback = nullptr)
    {
        connect();
        world.during_callback = std::move(in_callback);
        platform.proxy().raise_inside(Moment::send, [this](Proxy &proxy) {
            proxy.push_event(event(26, last_seq_id(platform.log), true, str("group")));
        });
        platform.main_port().push(reply(result_of_the_agent));
        return matrix::function_named("korvane_get_group_id").call(world);
    }
};

TEST_F(EventInsideItsRequest, RunsTheCallbackOnceBeforeTheFunctionReturns)
{
    EXPECT_EQ(request(0), KORVANE_ERROR_NONE);
    EXPECT_EQ(world.callbacks, 1);
}

TEST_F(EventInsideItsRequest, RunsTheCallbackAlsoIfTheAgentRefusesTheRequestAfterwards)
{
    EXPECT_EQ(request(-1), KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(world.callbacks, 1);
}

TEST_F(EventInsideItsRequest, MayDeinitializeAndTheFunctionFails)
{
    EXPECT_EQ(request(0, [this] { EXPECT_EQ(korvane_deinitialize(world.handle), KORVANE_ERROR_NONE); }),
              KORVANE_ERROR_OPERATION_FAILED);
    EXPECT_EQ(world.callbacks, 1);
    world.handle = nullptr;
}

} // namespace
} // namespace kv::test::header
