// SPDX-License-Identifier: Apache-2.0
// Rules that all set and unset functions of the easy setup share. Method numbers and log texts are part of the library's
// contract and therefore typed by hand in setup_registrations.cpp.
#include "conformance/fixtures/every_registration.hpp"

namespace kv::test {
namespace {

constexpr int package_not_installed = -18153359;
constexpr int ok = KORVANE_ERROR_NONE;
constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

using Strings = std::vector<std::string>;

class SetupRegistration : public AnyRegistration {
protected:
    void connect_to_its_agent() { connect_to(registration().agent_version); }
    int set() { return registration().set(handle, &recorder); }
    /// Raises one event of every kind.
    void push_events(int first_number)
    {
        for (std::size_t i = 0; i < registration().events.size(); ++i)
            platform.proxy().push_event(event_of(i, first_number));
    }
    Bytes set_request(int first_number)
    {
        Bytes request = i32(registration().set_method);
        for (const RegistrationEvent &described : registration().events)
            request = bytes(request, delegate(described.delegate_id, first_number++, false));
        return request;
    }

    LogLine set_info(const std::string &message) { return api_info(registration().set_name(), message); }
    LogLine set_warning(const std::string &message) { return api_warning(registration().set_name(), message); }
    LogLine set_error(const std::string &message) { return api_error(registration().set_name(), message); }
    LogLine unset_info(const std::string &message) { return api_info(registration().unset_name(), message); }
    LogLine unset_warning(const std::string &message) { return api_warning(registration().unset_name(), message); }
    LogLine unset_error(const std::string &message) { return api_error(registration().unset_name(), message); }
};

INSTANTIATE_TEST_SUITE_P(Of, SetupRegistration, ::testing::ValuesIn(setup_registrations),
                         [](const auto &row) { return row.param.label; });

TEST_P(SetupRegistration, SetSendsItsDelegates)
{
    connect_to_its_agent();
    EXPECT_EQ(set(), ok);
    EXPECT_EQ(sent(), (std::vector<Bytes>{set_request(first_seq_id())}));
    EXPECT_EQ(platform.log.api(), (LogLines{set_info(">>> called")}));
}

TEST_P(SetupRegistration, UnsetSendsNoArguments)
{
    begin_set();
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(sent(), (std::vector<Bytes>{i32(registration().unset_method)}));
    EXPECT_EQ(platform.log.api(), (LogLines{unset_info(">>> called")}));
}

TEST_P(SetupRegistration, ChecksAreMadeInTheirOrder)
{
    platform.results["package_info_create"] = package_not_installed;
    EXPECT_EQ(registration().set(nullptr, nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(registration().unset(nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(platform.log.errors(), (LogLines{set_error("Not Supported"), unset_error("Not Supported")}));

    platform.results.clear();
    clear_agent_state();
    platform.log.clear();
    const int below = registration().minimum_version - 1;
    platform.agent_version = below < 0 ? "-1.0" : std::to_string(below / 1000) + "." + std::to_string(below % 1000);
    EXPECT_EQ(registration().set(nullptr, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(registration().unset(nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{set_error("agent version is lower!!"), unset_error("agent version is lower!!")}));

    clear_agent_state();
    connect_to_its_agent();
    begin_install();
    EXPECT_EQ(registration().set(nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(registration().unset(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(set(), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(registration().unset(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{set_error("handle is NULL"), unset_error("handle is NULL"),
                        set_error("Agent is being installing"), unset_error("Agent is being installing")}));
    EXPECT_TRUE(sent().empty());
}

TEST_P(SetupRegistration, ARefusedUnsetKeepsTheRegistration)
{
    begin_set();
    install_starts();
    EXPECT_EQ(registration().unset(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    update_completes();
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, expected_calls());
}

TEST_P(SetupRegistration, EventsAreDeliveredWithTheirValues)
{
    begin_set();
    LogLines lines;
    for (const RegistrationEvent &described : registration().events)
        lines.insert(lines.end(), described.lines.begin(), described.lines.end());
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, expected_calls());
    EXPECT_EQ(recorder.handle, handle);
    EXPECT_EQ(platform.log.api(), lines);
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, expected_calls(2));
}

/// A platform raises events from the main loop, inside a send, or inside the wait for a reply.
TEST_P(SetupRegistration, EventsAreDeliveredBeforeInsideAndAfterACall)
{
    begin_set();
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, expected_calls(1));
    unsigned inside = 1;
    for (const Moment moment : {Moment::send, Moment::wait}) {
        for (std::size_t i = 0; i < registration().events.size(); ++i)
            platform.proxy().raise_inside(moment, received(event_of(i, seq_id)));
        EXPECT_EQ(korvane_stop(handle), ok);
        EXPECT_EQ(recorder.seen, expected_calls(++inside));
    }
    for (std::size_t i = 0; i < registration().events.size(); ++i)
        platform.proxy().callback_port.push(event_of(i, seq_id));
    EXPECT_EQ(korvane_stop(handle), ok);
    EXPECT_EQ(recorder.seen, expected_calls(3)); // the platform raised nothing inside this call
    for (std::size_t i = 0; i < registration().events.size(); ++i)
        platform.proxy().fire_received();
    EXPECT_EQ(recorder.seen, expected_calls(4));
}

TEST_P(SetupRegistration, SettingTwiceWarnsOnceAndKeepsOneRegistration)
{
    begin_set();
    Recorder second;
    EXPECT_EQ(registration().set(handle, &second), ok);
    const int second_seq_id = first_seq_id();
    EXPECT_EQ(platform.log.api(), (LogLines{set_info(">>> called"), set_warning("rpc cb_h already exists")}));
    EXPECT_EQ(sent(), (std::vector<Bytes>{set_request(second_seq_id)}));
    push_events(seq_id); // events of the registration that was replaced
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, Strings{});
    push_events(second_seq_id);
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, expected_calls());
}

TEST_P(SetupRegistration, UnsetWithoutARegistrationWarnsAndAsksTheAgent)
{
    connect_to_its_agent();
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(platform.log.api(), (LogLines{unset_info(">>> called"), unset_warning("rpc cb_h doesn't exist")}));
    EXPECT_EQ(sent(), (std::vector<Bytes>{i32(registration().unset_method)}));
}

TEST_P(SetupRegistration, NoCallbackRunsAfterUnset)
{
    begin_set();
    EXPECT_EQ(registration().unset(handle), ok);
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, Strings{});
}

TEST_P(SetupRegistration, NoCallbackRunsAfterAnUnsetThatTheAgentRefused)
{
    begin_set();
    answers(-13);
    EXPECT_EQ(registration().unset(handle), KORVANE_ERROR_PERMISSION_DENIED);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{unset_error(registration().unset_name() + "() is failed, err=[-13] r=[0]")}));
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, Strings{});
    answers(0);
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_TRUE(platform.log.has(unset_warning("rpc cb_h doesn't exist")));
}

TEST_P(SetupRegistration, AnEventThatCrossesItsUnsetOnTheWireIsDropped)
{
    begin_set();
    for (std::size_t i = 0; i < registration().events.size(); ++i) {
        platform.proxy().raise_inside(Moment::send, received(event_of(i, seq_id)));
        platform.proxy().raise_inside(Moment::wait, received(event_of(i, seq_id)));
    }
    EXPECT_EQ(registration().unset(handle), ok);
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, Strings{});
}

TEST_P(SetupRegistration, AFirstSetThatTheAgentRefusedDeliversNothing)
{
    connect_to_its_agent();
    answers(-1);
    EXPECT_EQ(set(), failed);
    EXPECT_EQ(platform.log.errors(), (LogLines{set_error(registration().set_name() + "() is failed, err=[-1] r=[0]")}));
    push_events(first_seq_id());
    EXPECT_EQ(recorder.seen, Strings{});
    answers(0);
    platform.log.clear();
    EXPECT_EQ(set(), ok);
    EXPECT_EQ(platform.log.has(set_warning("rpc cb_h already exists")), registration().keeps_refused_delegate);
    push_events(first_seq_id());
    EXPECT_EQ(recorder.seen, expected_calls());
}

TEST_P(SetupRegistration, ARefusedSecondSetEndsTheFirstRegistrationAndKeepsItsCallback)
{
    begin_set();
    Recorder second;
    answers(-13);
    EXPECT_EQ(registration().set(handle, &second), KORVANE_ERROR_PERMISSION_DENIED);
    const int second_seq_id = first_seq_id();
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, Strings{});
    // If the agent sends an event for a delegate that it refused, only the callback of the successful set runs.
    push_events(second_seq_id);
    EXPECT_EQ(recorder.seen, registration().keeps_refused_delegate ? expected_calls() : Strings{});
    EXPECT_EQ(second.seen, Strings{});
}

TEST_P(SetupRegistration, ARefusedSetAfterAnUnsetDeliversNothing)
{
    begin_set();
    ASSERT_EQ(registration().unset(handle), ok);
    Recorder second;
    answers(-1);
    EXPECT_EQ(registration().set(handle, &second), failed);
    push_events(first_seq_id());
    EXPECT_EQ(recorder.seen, Strings{});
    EXPECT_EQ(second.seen, Strings{});
}

TEST_P(SetupRegistration, ATruncatedEventIsDroppedWithOneErrorAndKeepsTheRegistration)
{
    begin_set();
    for (std::size_t i = 0; i < registration().events.size(); ++i) {
        const Bytes whole = event_of(i, seq_id);
        for (std::size_t size = 0; size < whole.size(); ++size) {
            platform.log.clear();
            platform.proxy().push_event(first(whole, size));
            EXPECT_EQ(platform.log.errors().size(), 1U) << "cut to " << size;
        }
    }
    EXPECT_EQ(recorder.seen, Strings{});
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, expected_calls());
}

TEST_P(SetupRegistration, EventsForAnotherNumberOrTypeAreDropped)
{
    begin_set();
    for (const RegistrationEvent &described : registration().events) {
        platform.proxy().push_event(event(described.delegate_id, seq_id + 1000, false, described.values));
        platform.proxy().push_event(event(described.delegate_id, 0, false, described.values));
        platform.proxy().push_event(event(33, seq_id, false, described.values));
    }
    EXPECT_EQ(recorder.seen, Strings{});
}

TEST_P(SetupRegistration, SetSurvivesTheFailureOfEachPlatformCall)
{
    fail_each_platform_call([&] { connect_to_its_agent(); }, [&] { return set(); },
                            [&](const std::string &failure, int result) {
                                EXPECT_EQ(result, outcome_of_request(failure));
                                push_events(first_seq_id());
                                EXPECT_EQ(recorder.seen, result == ok ? expected_calls() : Strings{});
                                recorder.seen.clear();
                                EXPECT_EQ(set(), ok);
                                push_events(first_seq_id());
                                EXPECT_EQ(recorder.seen, expected_calls());
                            });
}

TEST_P(SetupRegistration, UnsetSurvivesTheFailureOfEachPlatformCall)
{
    fail_each_platform_call([&] { begin_set(); }, [&] { return registration().unset(handle); },
                            [&](const std::string &failure, int result) {
                                EXPECT_EQ(result, outcome_of_request(failure));
                                push_events(seq_id);
                                EXPECT_EQ(recorder.seen, Strings{});
                            });
}

TEST_P(SetupRegistration, SetFailsWithoutMemoryForADelegate)
{
    int runs = 0;
    fail_each_allocation([&] { connect_to_its_agent(); }, [&] { return set(); },
                         [&](int before, int result) {
                             ++runs;
                             EXPECT_EQ(result, before < 0 ? ok : failed);
                             EXPECT_EQ(sent().size(), before < 0 ? 1U : 0U);
                             EXPECT_EQ(platform.log.count("Out of memory"), before < 0 ? 0U : 1U);
                             EXPECT_EQ(platform.log.count("Invalid parameter"), before < 0 ? 0U : 1U);
                             EXPECT_EQ(set(), ok);
                             push_events(first_seq_id());
                             EXPECT_EQ(recorder.seen, expected_calls());
                         });
    EXPECT_EQ(runs, static_cast<int>(registration().events.size()) + 1);
}

TEST_P(SetupRegistration, DeinitializeReleasesARegistrationThatWasRefusedUnsent)
{
    connect_to_its_agent();
    platform.proxy().fire_disconnected();
    EXPECT_EQ(set(), failed);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(korvane_deinitialize(handle), ok);
}

TEST_P(SetupRegistration, TheCallbackCanUnsetItself)
{
    begin_set();
    recorder.then = [&](korvane_h seen) { EXPECT_EQ(registration().unset(seen), ok); };
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, Strings{registration().events.front().seen});
    push_events(seq_id);
    EXPECT_EQ(recorder.seen.size(), 1U);
}

TEST_P(SetupRegistration, TheCallbackCanSetAnother)
{
    begin_set();
    Recorder second;
    recorder.then = [&](korvane_h seen) { EXPECT_EQ(registration().set(seen, &second), ok); };
    platform.proxy().push_event(event_of(0, seq_id));
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, Strings{registration().events.front().seen});
    push_events(first_seq_id());
    EXPECT_EQ(second.seen, expected_calls());
}

TEST_P(SetupRegistration, TheCallbackCanAskTheAgent)
{
    begin_set();
    recorder.then = [&](korvane_h seen) { EXPECT_EQ(korvane_stop(seen), ok); };
    push_events(seq_id);
    EXPECT_EQ(recorder.seen, expected_calls());
}

TEST_P(SetupRegistration, TheCallbackCanDeinitialize)
{
    begin_set();
    recorder.then = [&](korvane_h seen) { EXPECT_EQ(korvane_deinitialize(seen), ok); };
    platform.proxy().push_event(event_of(0, seq_id));
    EXPECT_EQ(recorder.seen, Strings{registration().events.front().seen});
    EXPECT_EQ(kv::api::live_session, nullptr);
}

TEST_P(SetupRegistration, TheCallbackCanDeinitializeAndInitialize)
{
    begin_set();
    recorder.then = [&](korvane_h seen) {
        EXPECT_EQ(korvane_deinitialize(seen), ok);
        initialize();
    };
    platform.proxy().push_event(event_of(0, seq_id));
    platform.proxy().push_event(event_of(0, seq_id)); // the new proxy has no delegate with this number
    EXPECT_EQ(recorder.seen, Strings{registration().events.front().seen});
}

TEST_P(SetupRegistration, AThousandEventsAreDelivered)
{
    begin_set();
    for (int i = 0; i < 1000; ++i)
        platform.proxy().push_event(event_of(0, seq_id));
    EXPECT_EQ(recorder.seen, Strings(1000, registration().events.front().seen));
}

} // namespace
} // namespace kv::test
