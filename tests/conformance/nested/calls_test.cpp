// SPDX-License-Identifier: Apache-2.0
// A callback that runs inside a call makes a call itself. Each of the two calls receives its own reply.
#include "nested_fixture.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

class NestedCall : public NestedTest {
protected:
    int thing_status(int &status) { return korvane_get_thing_status(handle, &status); }

    int outer = 0; // out values: the agent's number of the request
    int nested = 0;
    int nested_result = 1;
};

TEST_F(NestedCall, InsideTheWaitGetsItsOwnReplyAndKeepsTheOuterOne)
{
    begin();
    inside(Moment::wait, [&](korvane_h) { nested_result = thing_status(nested); });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(nested_result, ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(trigger.seen.size(), 1U);
}

TEST_F(NestedCall, InsideTheSendGetsTheFirstReply)
{
    begin();
    inside(Moment::send, [&](korvane_h) { nested_result = thing_status(nested); });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(nested_result, ok);
    EXPECT_EQ(nested, 1);
    EXPECT_EQ(outer, 2);
}

TEST_F(NestedCall, OfAnotherMethodGetsItsOwnReply)
{
    for (const Moment moment : inside_a_call) {
        begin();
        inside(moment, [&](korvane_h) {
            bool signed_in = false;
            EXPECT_EQ(korvane_get_signin_status(handle, &signed_in), ok);
            EXPECT_TRUE(signed_in);
        });
        char *id = nullptr;
        EXPECT_EQ(korvane_get_device_id(handle, &id), ok);
        EXPECT_STREQ(id, moment == Moment::wait ? "device 1" : "device 2");
        free(id);
        EXPECT_EQ(methods(), moment == Moment::wait ? (std::vector{28, 88}) : (std::vector{88, 28}));
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NestedCall, GetsItsOwnResult)
{
    for (const Moment moment : inside_a_call) {
        begin();
        const int outer_number = moment == Moment::wait ? 1 : 2;
        results = {{outer_number, -13}, {3 - outer_number, 7}};
        inside(moment, [&](korvane_h) { nested_result = korvane_start(handle); });
        EXPECT_EQ(korvane_stop(handle), KORVANE_ERROR_PERMISSION_DENIED);
        EXPECT_EQ(nested_result, failed);
        results.clear();
        EXPECT_EQ(korvane_stop(handle), ok);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(NestedCall, ThreeLevelsDeepInWaitsGetsItsOwnReply)
{
    begin();
    int innermost = 0;
    inside(
        Moment::wait, [&](korvane_h) { EXPECT_EQ(thing_status(nested), ok); }, 1);
    inside(
        Moment::wait, [&](korvane_h) { EXPECT_EQ(thing_status(innermost), ok); }, 2);
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(innermost, 3);
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 4);
}

TEST_F(NestedCall, InsideTheSendOfACallInsideAWaitGetsItsOwnReply)
{
    begin();
    int innermost = 0;
    inside(Moment::wait, [&](korvane_h) {
        inside(Moment::send, [&](korvane_h) { EXPECT_EQ(thing_status(innermost), ok); });
        EXPECT_EQ(thing_status(nested), ok);
    });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(innermost, 2);
    EXPECT_EQ(nested, 3);
}

TEST_F(NestedCall, TwiceInOneWaitGetsItsOwnReplies)
{
    begin();
    int second = 0;
    inside(Moment::wait, [&](korvane_h) {
        EXPECT_EQ(thing_status(nested), ok);
        EXPECT_EQ(thing_status(second), ok);
    });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(second, 3);
}

TEST_F(NestedCall, InsideTwoReadsOfOneWaitGetsItsOwnReplies)
{
    begin();
    int second = 0;
    unanswered = {1}; // the reply to the outer request arrives behind a parcel of another kind
    platform.main_port().push(event(1, 1, false));
    inside(
        Moment::wait, [&](korvane_h) { ++nested; }, 1);
    inside(
        Moment::wait,
        [&](korvane_h) {
            platform.main_port().push(reply(0, i32(1)));
            EXPECT_EQ(thing_status(second), ok);
        },
        2);
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(nested, 1);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(second, 2);
}

/// The platform completes the outer read with the next parcel of any kind.
TEST_F(NestedCall, KeepsTheReplyOfAnOuterCallWhoseReadEndsWithAParcelOfAnotherKind)
{
    begin();
    inside(Moment::wait, [&](korvane_h) {
        EXPECT_EQ(thing_status(nested), ok);
        platform.main_port().push(event(1, 1, false));
        platform.main_port().push(
            event(1, 1, false)); // the outer call has its reply already and does not read this parcel
    });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(platform.main_port().incoming.size(), 1U);
}

TEST_F(NestedCall, KeepsTheReplyOfAnOuterCallWhoseReadEndsWithAReplyToNoRequest)
{
    begin();
    inside(Moment::wait, [&](korvane_h) {
        EXPECT_EQ(thing_status(nested), ok);
        platform.main_port().push(reply(0, i32(9)));
    });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 2);
}

TEST_F(NestedCall, KeepsTheReplyOfAnOuterCallIfTheLinkBreaksAfterwards)
{
    begin();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
    inside(Moment::wait, [&](korvane_h) { EXPECT_EQ(thing_status(nested), ok); });
    platform.proxy().raise_inside(Moment::wait, disconnected());
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(statuses, (std::vector<StatusNotice>{{0, handle, 1}}));
    EXPECT_EQ(run_main_loop(), 0U);
    EXPECT_EQ(thing_status(outer), failed); // not connected
}

TEST_F(NestedCall, FailsTheOuterCallIfTheSessionEndsAfterItsReplyWasRead)
{
    begin();
    inside(Moment::wait, [&](korvane_h) {
        EXPECT_EQ(thing_status(nested), ok);
        EXPECT_EQ(korvane_deinitialize(handle), ok);
    });
    EXPECT_EQ(thing_status(outer), failed);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(outer, 0);
}

TEST_F(NestedCall, KeepsATruncatedReply)
{
    begin();
    unanswered = {1};
    platform.main_port().push(first(reply(0, i32(1)), 6)); // the reply to the first request
    inside(Moment::wait, [&](korvane_h) { EXPECT_EQ(thing_status(nested), ok); });
    EXPECT_EQ(thing_status(outer), failed);
    EXPECT_EQ(nested, 2);
    EXPECT_EQ(outer, 0);
}

TEST_F(NestedCall, KeepsTheOuterReplyIfItsOwnSendFails)
{
    begin();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
    inside(Moment::wait, [&](korvane_h) {
        platform.main_port().send_results = {-32};
        nested_result = thing_status(nested);
    });
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(nested_result, KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(nested, 0);
    run_main_loop();
    EXPECT_EQ(notices, 1);
}

TEST_F(NestedCall, InsideASendThatFailsAfterwardsGetsItsOwnReply)
{
    begin();
    ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
    platform.main_port().send_results = {0, -32}; // the nested request is sent first
    inside(Moment::send, [&](korvane_h) { EXPECT_EQ(thing_status(nested), ok); });
    EXPECT_EQ(thing_status(outer), KORVANE_ERROR_IO_ERROR);
    EXPECT_EQ(nested, 1);
    EXPECT_EQ(outer, 0);
    run_main_loop();
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(thing_status(outer), ok);
    EXPECT_EQ(outer, 2);
}

TEST_F(NestedCall, KeepsTheOuterLastResultIfItFailsWithAnIoError)
{
    begin();
    unanswered = {2};
    results = {{1, 7}};
    inside(Moment::wait, [&](korvane_h) { nested_result = korvane_start(handle); });
    EXPECT_EQ(korvane_stop(handle), failed);
    EXPECT_EQ(nested_result, KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(platform.log.has(api_error("korvane_start", "korvane_start() is failed, err=[-1] r=[-5]")));
    EXPECT_TRUE(platform.log.has(api_error("korvane_stop", "korvane_stop() is failed, err=[7] r=[0]")));
}

TEST_F(NestedCall, InsideADisconnectedEventIsRefusedUnsentAndFailsTheOuterCall)
{
    for (const Moment moment : inside_a_call) {
        SCOPED_TRACE(name_of(moment));
        begin();
        notices = 0;
        ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
        platform.proxy().raise_inside(moment, [&](Proxy &proxy) {
            proxy.fire_disconnected();
            nested_result = thing_status(nested);
        });
        EXPECT_EQ(thing_status(outer), KORVANE_ERROR_IO_ERROR);
        EXPECT_EQ(nested_result, failed);
        EXPECT_EQ(outer, 0);
        EXPECT_EQ(statuses, (std::vector<StatusNotice>{{0, handle, 1}}));
        EXPECT_EQ(sent().size(), moment == Moment::wait ? 1U : 0U);
        run_main_loop();
        EXPECT_EQ(notices, 1);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// The connected handler also sends two requests, whose replies belong to it.
TEST_F(NestedCall, InsideTheRequestsOfTheConnectedHandlerGetsItsOwnReply)
{
    for (const unsigned request : {1U, 2U})
        for (const Moment moment : inside_a_call) {
            SCOPED_TRACE(name_of(moment) + " of request " + std::to_string(request));
            begin();
            inside(
                moment, [&](korvane_h) { EXPECT_EQ(thing_status(nested), ok); }, request);
            platform.proxy().fire_connected(); // a second connection, because the trigger is registered only now
            const int expected = static_cast<int>(request) + (moment == Moment::wait ? 1 : 0);
            EXPECT_EQ(nested, expected);
            EXPECT_EQ(statuses, (std::vector<StatusNotice>{{0, handle, 0}}));
            ASSERT_EQ(korvane_deinitialize(handle), ok);
        }
}

} // namespace
} // namespace kv::test
