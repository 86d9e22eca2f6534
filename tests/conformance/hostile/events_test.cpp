// SPDX-License-Identifier: Apache-2.0
// Events that arrive late, early, without a registration, or in large numbers.
#include "conformance/fixtures/every_registration.hpp"

#include <glib.h>

#include <set>

namespace kv::test {
namespace {

using Strings = std::vector<std::string>;

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

/// After an unset has returned, with any result, no callback of the registration runs.
class NoCallbackAfterUnset : public AnyRegistration {
protected:
    /// Unsets the callback. `answer` is the agent's reaction to the request. The platform raises events inside the send
    /// and the wait; further events are queued before and after the call.
    void expect_no_callback_after_unset(int expected, const std::function<void(Port &)> &answer)
    {
        begin_set();
        for (const Moment moment : {Moment::send, Moment::wait})
            for (std::size_t i = 0; i < registration().events.size(); ++i)
                platform.proxy().raise_inside(moment, received(event_of(i, seq_id)));
        queue_events(seq_id);
        platform.main_port().on_sent = [&](Port &port, const Bytes &) {
            queue_events(seq_id);
            answer(port);
        };
        EXPECT_EQ(registration().unset(handle), expected);
        dispatch_queued_events();
        queue_events(seq_id);
        dispatch_queued_events();
        EXPECT_EQ(recorder.seen, Strings{});
    }
};

class ReplacedCallback : public AnyRegistration {};
class WaitingEvent : public AnyRegistration {};

const auto label = [](const auto &row) { return row.param.label; };
INSTANTIATE_TEST_SUITE_P(Of, NoCallbackAfterUnset, ::testing::ValuesIn(every_registration()), label);
INSTANTIATE_TEST_SUITE_P(Of, ReplacedCallback, ::testing::ValuesIn(every_registration()), label);
INSTANTIATE_TEST_SUITE_P(Of, WaitingEvent, ::testing::ValuesIn(every_registration()), label);

TEST(AnyRegistrationTable, HasTheTwentyThreeRegistrationsAndTheirTwentySixDelegates)
{
    std::set<std::string> names;
    std::set<int> delegates;
    for (const Registration &registration : every_registration()) {
        names.insert(registration.event);
        for (const RegistrationEvent &event : registration.events)
            delegates.insert(event.delegate_id);
    }
    EXPECT_EQ(names.size(), 23U);
    EXPECT_EQ(delegates.size(), 26U); // the other six of the 32 are one-shot
}

TEST_P(NoCallbackAfterUnset, IfTheAgentAccepts)
{
    expect_no_callback_after_unset(ok, [](Port &port) { port.push(reply(0)); });
}

TEST_P(NoCallbackAfterUnset, IfTheAgentRefuses)
{
    expect_no_callback_after_unset(-13, [](Port &port) { port.push(reply(-13)); });
}

TEST_P(NoCallbackAfterUnset, IfTheAgentFails)
{
    expect_no_callback_after_unset(failed, [](Port &port) { port.push(reply(7)); });
}

TEST_P(NoCallbackAfterUnset, IfTheAgentDoesNotReply)
{
    expect_no_callback_after_unset(KORVANE_ERROR_IO_ERROR, [](Port &) {});
}

TEST_P(NoCallbackAfterUnset, IfTheRequestCannotBeSent)
{
    begin_set();
    queue_events(seq_id);
    platform.main_port().send_results = {-5};
    EXPECT_EQ(registration().unset(handle), KORVANE_ERROR_IO_ERROR);
    dispatch_queued_events();
    EXPECT_EQ(recorder.seen, Strings{});
}

TEST_P(NoCallbackAfterUnset, IfTheLinkIsBrokenAndTheRequestIsRefusedUnsent)
{
    begin_set();
    queue_events(seq_id);
    platform.proxy().fire_disconnected();
    EXPECT_EQ(registration().unset(handle), failed);
    EXPECT_TRUE(sent().empty());
    dispatch_queued_events();
    EXPECT_EQ(recorder.seen, Strings{});
}

TEST_P(NoCallbackAfterUnset, UntilTheNextSet)
{
    begin_set();
    ASSERT_EQ(registration().unset(handle), ok);
    Recorder second;
    ASSERT_EQ(registration().set(handle, &second), ok);
    queue_events(seq_id);
    queue_events(first_seq_id());
    dispatch_queued_events();
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, expected_calls());
}

TEST_P(ReplacedCallback, ReceivesNeitherItsOwnEventsNorThoseOfTheNewOne)
{
    begin_set();
    queue_events(seq_id);
    Recorder second;
    ASSERT_EQ(registration().set(handle, &second), ok);
    queue_events(first_seq_id());
    queue_events(seq_id);
    dispatch_queued_events();
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, expected_calls());
}

/// A failed set ends the old registration. Its queued events reach neither callback.
TEST_P(ReplacedCallback, ReceivesNoEventsIfTheReplacementFails)
{
    begin_set();
    queue_events(seq_id);
    Recorder second;
    answers(7);
    ASSERT_EQ(registration().set(handle, &second), failed);
    dispatch_queued_events();
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, Strings{});
}

TEST_P(WaitingEvent, IsDeliveredOnceAtEveryMoment)
{
    // Null: the event arrives during the call, and the main loop raises it afterwards.
    for (const std::optional<Moment> moment : {std::optional{Moment::send}, std::optional{Moment::wait}, {}}) {
        begin_set();
        platform.main_port().on_sent = [&](Port &port, const Bytes &) {
            EXPECT_EQ(recorder.seen, moment == Moment::send ? expected_calls() : Strings{});
            if (!moment)
                queue_events(seq_id);
            port.push(event_of(0, seq_id)); // an event on the wrong port, which is not a reply
            port.push(reply(0));
        };
        for (std::size_t i = 0; moment && i < registration().events.size(); ++i)
            platform.proxy().raise_inside(*moment, received(event_of(i, seq_id)));
        EXPECT_EQ(korvane_stop(handle), ok);
        EXPECT_EQ(recorder.seen, moment ? expected_calls() : Strings{});
        platform.main_port().on_sent = nullptr;
        dispatch_queued_events();
        EXPECT_EQ(recorder.seen, expected_calls());
        ASSERT_EQ(korvane_deinitialize(handle), ok);
        recorder.seen.clear();
    }
}

TEST_P(WaitingEvent, OfAnEarlierSessionIsNotDelivered)
{
    begin_set();
    const std::shared_ptr<Proxy> old = platform.proxies().back();
    queue_events(seq_id);
    ASSERT_EQ(korvane_deinitialize(handle), ok);
    connect();
    answers(0);
    Recorder second;
    ASSERT_EQ(registration().set(handle, &second), ok);
    while (!old->callback_port.incoming.empty()) {
        platform.proxy().push_event(old->callback_port.incoming.front());
        old->callback_port.incoming.pop_front();
    }
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, Strings{});
}

/// The access point is delivered in its own form too, but its getters refuse it.
TEST_P(WaitingEvent, OfARegistrationFromBeforeAnUpdateIsDelivered)
{
    for (const char *version : {"2.3", "1.0"}) {
        begin_set();
        agent_becomes(version);
        queue_events(seq_id);
        dispatch_queued_events();
        EXPECT_EQ(recorder.seen, expected_calls());
        recorder.seen.clear();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

/// An application receives many events in order, each once, and the library keeps no memory of them.
class EventStorm : public SetupTest {
protected:
    static constexpr int size = 100'000;

    struct Seen {
        EventStorm *test;
        int next = 0;
        int out_of_order = 0;
        std::size_t blocks_early = 0; // after all permanent allocations
        std::size_t blocks_late = 0;
    };

    static void on_status(korvane_h, int status, void *user_data)
    {
        auto &seen = *static_cast<Seen *>(user_data);
        seen.out_of_order += status != seen.next++;
        seen.test->platform.log.clear(); // the records of the test also need memory
        seen.test->platform.calls.clear();
        if (seen.next == 1000)
            seen.blocks_early = allocs::live_blocks();
        if (seen.next == size)
            seen.blocks_late = allocs::live_blocks();
    }

    static void on_scan(korvane_h seen, int req_id, void *user_data)
    {
        auto &self = *static_cast<EventStorm *>(user_data);
        EXPECT_EQ(korvane_set_wifi_connection_error_code(seen, req_id), ok);
        self.requests_in_step += self.sent().back() == bytes(i32(50), i32(req_id));
        self.clear_records();
    }

    int requests_in_step = 0;
};

TEST_F(EventStorm, IsDeliveredInOrderWithoutLeaks)
{
    // Null: the events arrive during the call, and the main loop raises them afterwards.
    for (const std::optional<Moment> moment : {std::optional{Moment::send}, std::optional{Moment::wait}, {}}) {
        connect_to("2.3");
        Seen seen{this};
        ASSERT_EQ(korvane_set_status_changed_cb(handle, on_status, &seen), ok);
        const int seq_id = last_seq_id(platform.log);
        const auto storm = [seq_id](Proxy &proxy) {
            for (int i = 0; i < size; ++i)
                proxy.push_event(event(1, seq_id, false, i32(i)));
        };
        allocs::reset_largest();
        if (moment) {
            platform.proxy().raise_inside(*moment, storm);
            EXPECT_EQ(korvane_stop(handle), ok);
        } else {
            platform.main_port().on_sent = [&](Port &port, const Bytes &) {
                for (int i = 0; i < size; ++i)
                    platform.proxy().callback_port.push(event(1, seq_id, false, i32(i)));
                port.push(reply(0));
            };
            EXPECT_EQ(korvane_stop(handle), ok);
            EXPECT_EQ(seen.next, 0);
            for (int i = 0; i < size; ++i)
                platform.proxy().fire_received();
        }
        EXPECT_EQ(seen.next, size);
        EXPECT_EQ(seen.out_of_order, 0);
        EXPECT_EQ(seen.blocks_late, seen.blocks_early);
        EXPECT_LT(allocs::largest(), 4096U);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(EventStorm, WithoutARegistrationIsDroppedAndTheNextRegistrationWorks)
{
    connect_to("2.3");
    Seen seen{this};
    const std::size_t blocks = allocs::live_blocks();
    for (int i = 0; i < size; ++i) {
        platform.proxy().push_event(event(13, i, false, count(2), str("a"), str("b")));
        platform.log.clear();
        platform.calls.clear();
    }
    EXPECT_EQ(allocs::live_blocks(), blocks);
    ASSERT_EQ(korvane_set_status_changed_cb(handle, on_status, &seen), ok);
    platform.proxy().push_event(event(1, last_seq_id(platform.log), false, i32(0)));
    EXPECT_EQ(seen.next, 1);
}

/// A callback that sends a request for each event.
TEST_F(EventStorm, WithARequestPerEventKeepsRequestsAndRepliesInStep)
{
    constexpr int answered = 10'000;
    connect_to("2.3");
    ASSERT_EQ(korvane_set_scan_ap_cb(handle, on_scan, this), ok);
    const int seq_id = last_seq_id(platform.log);
    for (int i = 0; i < answered; ++i)
        platform.proxy().callback_port.push(event(9, seq_id, false, i32(i)));
    for (int i = 0; i < answered; ++i)
        platform.proxy().fire_received();
    EXPECT_EQ(requests_in_step, answered);
}

} // namespace
} // namespace kv::test
