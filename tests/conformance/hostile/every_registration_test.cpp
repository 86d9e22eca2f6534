// SPDX-License-Identifier: Apache-2.0
// Rules that the set and unset functions of all 23 registrations share.
#include "conformance/fixtures/every_registration.hpp"

#include "src/korvane/core/session/session.hpp"

#include <cerrno>

namespace kv::test {
namespace {

using Strings = std::vector<std::string>;

constexpr int ok = KORVANE_ERROR_NONE;

class EveryRegistration : public AnyRegistration {
protected:
    /// The delegates of this registration that still exist.
    unsigned listed_delegates()
    {
        unsigned found = 0;
        rpc_port_proxy_kv_master_h proxy = kv::api::live_session->proxy;
        for (const GList *node = proxy->delegates; node; node = node->next)
            for (const RegistrationEvent &event : registration().events)
                found += static_cast<const kv::proxy::Delegate *>(node->data)->id == event.delegate_id;
        return found;
    }
    LogLines warnings_with(const std::string &function, const std::string &message)
    {
        LogLines found;
        for (const LogLine &line : platform.log.lines())
            if (line == api_warning(function, message))
                found.push_back(line);
        return found;
    }
    void fail_before_the_send()
    {
        platform.results["rpc_port_parcel_create"] = -ENOMEM;
        EXPECT_EQ(registration().set(handle, &recorder), KORVANE_ERROR_OPERATION_FAILED);
        platform.results.clear();
        EXPECT_EQ(listed_delegates(), 0U);
        clear_records();
    }
    /// 0 for the access point, whose registration disposes of delegates that the agent has not accepted.
    std::size_t keeps_refused_delegates()
    {
        return registration().set_name() == "korvane_set_wifi_ap_provisioning_cb" ? 0 : 1;
    }
    void expect_events_reach(const Strings &expected)
    {
        recorder.seen.clear();
        queue_events(seq_id);
        dispatch_queued_events();
        EXPECT_EQ(recorder.seen, expected);
    }
};

INSTANTIATE_TEST_SUITE_P(Of, EveryRegistration, ::testing::ValuesIn(every_registration()),
                         [](const auto &row) { return row.param.label; });

TEST_P(EveryRegistration, SetTwiceWarnsOnceAndLeavesOneDelegatePerEvent)
{
    begin_set();
    EXPECT_EQ(listed_delegates(), registration().events.size());
    EXPECT_EQ(registration().set(handle, &recorder), ok);
    EXPECT_EQ(warnings_with(registration().set_name(), "rpc cb_h already exists").size(), 1U);
    EXPECT_EQ(listed_delegates(), registration().events.size());
    seq_id = first_seq_id();
    expect_events_reach(expected_calls());
}

TEST_P(EveryRegistration, FirstSetDoesNotWarn)
{
    connect_to(registration().agent_version);
    EXPECT_EQ(registration().set(handle, &recorder), ok);
    EXPECT_EQ(warnings_with(registration().set_name(), "rpc cb_h already exists"), LogLines{});
}

TEST_P(EveryRegistration, UnsetWithoutARegistrationWarnsAndAsksTheAgent)
{
    connect_to(registration().agent_version);
    platform.log.clear();
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(warnings_with(registration().unset_name(), "rpc cb_h doesn't exist").size(), 1U);
    EXPECT_EQ(sent(), (std::vector<Bytes>{i32(registration().unset_method)}));
}

TEST_P(EveryRegistration, UnsetOfARegistrationDoesNotWarnAndReleasesItsDelegates)
{
    begin_set();
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(warnings_with(registration().unset_name(), "rpc cb_h doesn't exist"), LogLines{});
    EXPECT_EQ(listed_delegates(), 0U);
    expect_events_reach({});
}

TEST_P(EveryRegistration, SetDuringAnInstallationKeepsTheEarlierRegistration)
{
    begin_set();
    begin_install();
    Recorder other;
    EXPECT_EQ(registration().set(handle, &other), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(sent(), std::vector<Bytes>{});
    EXPECT_EQ(listed_delegates(), registration().events.size());
    expect_events_reach(expected_calls());
    EXPECT_EQ(other.seen, Strings{});
}

TEST_P(EveryRegistration, UnsetDuringAnInstallationKeepsTheRegistration)
{
    begin_set();
    begin_install();
    EXPECT_EQ(registration().unset(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(sent(), std::vector<Bytes>{});
    expect_events_reach(expected_calls());
}

TEST_P(EveryRegistration, SetWithoutAHandleIsRefused)
{
    begin_set();
    EXPECT_EQ(registration().set(nullptr, &recorder), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error(registration().set_name(), "handle is NULL")}));
    expect_events_reach(expected_calls());
}

/// No function of the library makes such delegates. The trampolines check it, because they would crash otherwise.
TEST_P(EveryRegistration, EventsOfDelegatesWithoutUserDataAreDropped)
{
    begin_set();
    for (const RegistrationEvent &event : registration().events)
        forget_user_data(event.delegate_id);
    expect_events_reach({});
    EXPECT_EQ(platform.log.count("No user data"), registration().events.size());
}

/// Without a parcel no request is sent, so the proxy never lists the delegates.
TEST_P(EveryRegistration, SetRefusedBeforeTheSendKeepsItsDelegatesUntilTheNextSet)
{
    connect_to(registration().agent_version);
    fail_before_the_send();
    EXPECT_EQ(registration().set(handle, &recorder), ok);
    EXPECT_EQ(warnings_with(registration().set_name(), "rpc cb_h already exists").size(), keeps_refused_delegates());
    EXPECT_EQ(listed_delegates(), registration().events.size());
    platform.log.clear();
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(warnings_with(registration().unset_name(), "rpc cb_h doesn't exist").size(), 1U)
        << "of the second unset only";
}

TEST_P(EveryRegistration, SetRefusedBeforeTheSendKeepsItsDelegatesUntilTheNextUnset)
{
    connect_to(registration().agent_version);
    const std::size_t blocks = allocs::live_blocks();
    fail_before_the_send();
    EXPECT_EQ(allocs::live_blocks(), blocks + keeps_refused_delegates() * registration().events.size());
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(warnings_with(registration().unset_name(), "rpc cb_h doesn't exist").size(),
              1 - keeps_refused_delegates());
    EXPECT_EQ(allocs::live_blocks(), blocks);
    platform.log.clear();
    EXPECT_EQ(registration().unset(handle), ok);
    EXPECT_EQ(warnings_with(registration().unset_name(), "rpc cb_h doesn't exist").size(), 1U);
}

} // namespace
} // namespace kv::test
