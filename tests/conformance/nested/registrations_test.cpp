// SPDX-License-Identifier: Apache-2.0
// Set and unset functions that are called inside set and unset functions of the same event.
#include "conformance/fixtures/every_registration.hpp"
#include "nested_fixture.hpp"

namespace kv::test {
namespace {

/// All 23 registrations; the registration of the access point once per wire format. Another event, the trigger, lets the application act.
class NestedRegistration : public NestedTest, public ::testing::WithParamInterface<Registration> {
protected:
    const Registration &registration() { return GetParam(); }

    /// Connects to the registration's agent and registers the trigger.
    void begin_registration()
    {
        outer = nested = former = {};
        statuses.clear();
        connect_to(registration().agent_version);
        trigger = {};
        // The trigger must not be the registration under test.
        const bool other = registration().event == "status_changed_cb";
        ASSERT_EQ(other ? korvane_set_user_confirm_cb(handle, Note<'!'>::call, &trigger)
                        : korvane_set_status_changed_cb(handle, Note<'!', int>::call, &trigger),
                  ok);
        const int seq_id = last_seq_id(platform.log);
        trigger_event = other ? event(2, seq_id, false) : event(1, seq_id, false, i32(0));
        clear_records();
        results.clear();
        unanswered.clear();
        number_requests();
    }

    /// The first number of the delegates that were created last.
    int made_last() { return last_seq_id(platform.log) + 1 - static_cast<int>(registration().events.size()); }

    /// Raises one event of every kind of the registration, for delegates numbered from this one on.
    void events_arrive(int first_number)
    {
        for (std::size_t i = 0; i < registration().events.size(); ++i) {
            const RegistrationEvent &described = registration().events[i];
            platform.proxy().push_event(
                event(described.delegate_id, first_number + static_cast<int>(i), false, described.values));
        }
    }
    Strings all_events()
    {
        Strings seen;
        for (const RegistrationEvent &described : registration().events)
            seen.push_back(described.seen);
        return seen;
    }

    int set(Recorder &given) { return registration().set(handle, &given); }
    int unset() { return registration().unset(handle); }

    /// The agent's numbers of the outer and the nested request.
    static int outer_number(Moment moment) { return moment == Moment::wait ? 1 : 2; }
    static int nested_number(Moment moment) { return moment == Moment::wait ? 2 : 1; }

    void for_each_point(const std::function<void(Moment)> &check)
    {
        for (const Moment moment : inside_a_call)
            for (const bool registered_before : {false, true}) {
                SCOPED_TRACE(name_of(moment) + (registered_before ? ", registered before" : ""));
                end_run();
                begin_run();
                begin_registration();
                before_seq_id = 0;
                if (registered_before) {
                    ASSERT_EQ(set(former), ok);
                    before_seq_id = made_last();
                }
                number_requests();
                check(moment);
                if (registered_before)
                    events_arrive(before_seq_id);
                EXPECT_EQ(former.seen, Strings{}) << "the earlier registration was replaced";
            }
    }

    /// Checks that the registration works: set, event, unset, event.
    void expect_works_on()
    {
        results.clear();
        Recorder later;
        EXPECT_EQ(set(later), ok);
        events_arrive(made_last());
        EXPECT_EQ(later.seen, all_events());
        EXPECT_EQ(unset(), ok);
        events_arrive(made_last());
        EXPECT_EQ(later.seen, all_events());
    }

    Recorder outer;  // callback of the outer set
    Recorder nested; // callback of the nested set
    Recorder former;
    int before_seq_id = 0;
};

INSTANTIATE_TEST_SUITE_P(Of, NestedRegistration, ::testing::ValuesIn(every_registration()),
                         [](const auto &row) { return row.param.label; });

TEST_P(NestedRegistration, SetInsideSetDeliversEachDelegateToItsOwnCallback)
{
    for_each_point([this](Moment moment) {
        int outer_seq_id = 0;
        int nested_seq_id = 0;
        inside(moment, [&](korvane_h) {
            outer_seq_id = made_last();
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = made_last();
        });
        EXPECT_EQ(set(outer), ok);
        ASSERT_NE(outer_seq_id, nested_seq_id);

        // The outer call returns after the nested one.
        events_arrive(outer_seq_id);
        EXPECT_EQ(outer.seen, all_events());
        EXPECT_EQ(nested.seen, Strings{});
        events_arrive(nested_seq_id);
        EXPECT_EQ(outer.seen, all_events());
        if (moment == Moment::wait) {
            EXPECT_EQ(nested.seen, all_events()); // the agent received this registration last and keeps it
        } else {
            EXPECT_TRUE(nested.seen.empty() || nested.seen == all_events());
        }
        expect_works_on();
        events_arrive(outer_seq_id);
        events_arrive(nested_seq_id);
        EXPECT_EQ(outer.seen, all_events());
        EXPECT_LE(nested.seen.size(), all_events().size());
    });
}

TEST_P(NestedRegistration, SetInsideARefusedSetKeepsTheNestedCallback)
{
    for_each_point([this](Moment moment) {
        int outer_seq_id = 0;
        int nested_seq_id = 0;
        results = {{outer_number(moment), -13}};
        inside(moment, [&](korvane_h) {
            outer_seq_id = made_last();
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = made_last();
        });
        EXPECT_EQ(set(outer), KORVANE_ERROR_PERMISSION_DENIED);
        events_arrive(nested_seq_id);
        EXPECT_EQ(outer.seen, Strings{});
        EXPECT_EQ(nested.seen, all_events());
        events_arrive(outer_seq_id); // the agent sends events for delegates that it refused
        EXPECT_EQ(nested.seen, all_events());
        expect_works_on();
    });
}

TEST_P(NestedRegistration, RefusedSetInsideASetKeepsTheOuterCallback)
{
    for_each_point([this](Moment moment) {
        int outer_seq_id = 0;
        int nested_seq_id = 0;
        results = {{nested_number(moment), -13}};
        inside(moment, [&](korvane_h) {
            outer_seq_id = made_last();
            EXPECT_EQ(set(nested), KORVANE_ERROR_PERMISSION_DENIED);
            nested_seq_id = made_last();
        });
        EXPECT_EQ(set(outer), ok);
        events_arrive(outer_seq_id);
        EXPECT_EQ(outer.seen, all_events());
        EXPECT_EQ(nested.seen, Strings{});
        events_arrive(nested_seq_id);
        EXPECT_EQ(outer.seen, all_events());
        expect_works_on();
    });
}

TEST_P(NestedRegistration, UnsetInsideASetDeliversTheEventsOfTheSet)
{
    for_each_point([this](Moment moment) {
        int outer_seq_id = 0;
        inside(moment, [&](korvane_h) {
            outer_seq_id = made_last();
            EXPECT_EQ(unset(), ok);
            events_arrive(outer_seq_id);
            EXPECT_EQ(outer.seen, Strings{}) << "no event is due between the unset and the return of the set";
        });
        EXPECT_EQ(set(outer), ok);
        events_arrive(outer_seq_id);
        EXPECT_EQ(outer.seen, all_events());
        expect_works_on();
        events_arrive(outer_seq_id);
        EXPECT_EQ(outer.seen, all_events());
    });
}

TEST_P(NestedRegistration, UnsetInsideARefusedSetDeliversNothing)
{
    for_each_point([this](Moment moment) {
        int outer_seq_id = 0;
        results = {{outer_number(moment), 7}};
        inside(moment, [&](korvane_h) {
            outer_seq_id = made_last();
            EXPECT_EQ(unset(), ok);
        });
        EXPECT_EQ(set(outer), failed);
        events_arrive(outer_seq_id);
        EXPECT_EQ(outer.seen, Strings{});
        expect_works_on();
    });
}

TEST_P(NestedRegistration, SetInsideAnUnsetDeliversNothingAfterTheUnset)
{
    for (const int reply : {0, -13}) // an unset that the agent refuses also ends the registration
        for_each_point([&](Moment moment) {
            int nested_seq_id = 0;
            results = {{outer_number(moment), reply}};
            inside(moment, [&](korvane_h) {
                EXPECT_EQ(set(nested), ok);
                nested_seq_id = made_last();
                events_arrive(nested_seq_id);
                EXPECT_EQ(nested.seen, all_events()) << "the nested callback is set until the unset returns";
            });
            EXPECT_EQ(unset(), reply);
            events_arrive(nested_seq_id);
            EXPECT_EQ(nested.seen, all_events());
            expect_works_on();
        });
}

TEST_P(NestedRegistration, UnsetInsideAnUnsetDeliversNothing)
{
    for_each_point([this](Moment moment) {
        inside(moment, [&](korvane_h) { EXPECT_EQ(unset(), ok); });
        EXPECT_EQ(unset(), ok);
        EXPECT_EQ(requests, 2);
        expect_works_on();
    });
}

/// A set replaces the callback when it succeeds. Until then events of its delegates reach the earlier callback.
TEST_P(NestedRegistration, EventsInsideTheSetReachTheEarlierCallback)
{
    for (const Moment moment : inside_a_call)
        for (const bool registered_before : {false, true}) {
            SCOPED_TRACE(name_of(moment) + (registered_before ? ", registered before" : ""));
            end_run();
            begin_run();
            begin_registration();
            if (registered_before) {
                ASSERT_EQ(set(former), ok);
            }
            platform.proxy().raise_inside(moment, [this](Proxy &) { events_arrive(made_last()); });
            EXPECT_EQ(set(outer), ok);
            EXPECT_EQ(former.seen, registered_before ? all_events() : Strings{});
            EXPECT_EQ(outer.seen, Strings{});
            events_arrive(made_last());
            EXPECT_EQ(outer.seen, all_events());
            EXPECT_EQ(former.seen, registered_before ? all_events() : Strings{});
        }
}

/// Three levels deep; the outermost call returns last.
TEST_P(NestedRegistration, UnsetInsideASetInsideAnUnsetDeliversNothing)
{
    for_each_point([this](Moment moment) {
        int nested_seq_id = 0;
        inside(moment, [&](korvane_h) {
            inside(moment, [&](korvane_h) { EXPECT_EQ(unset(), ok); });
            EXPECT_EQ(set(nested), ok);
            nested_seq_id = made_last();
            events_arrive(nested_seq_id);
            EXPECT_EQ(nested.seen, all_events());
        });
        EXPECT_EQ(unset(), ok);
        events_arrive(nested_seq_id);
        EXPECT_EQ(nested.seen, all_events());
        expect_works_on();
    });
}

} // namespace
} // namespace kv::test
