// SPDX-License-Identifier: Apache-2.0
// A callback that runs inside a call ends the session, or ends it and begins a new one.
#include "nested_fixture.hpp"

#include <optional>

namespace kv::test {
namespace {

/// The out arguments of the outer call.
struct Outs {
    char *text = nullptr;
    bool flag = false;
    int number = 4711;
    korvane_tcp_header_info_h tcp_header = nullptr;
    korvane_sub_dev_prs_h *presences = nullptr;

    bool untouched() const { return !text && !flag && number == 4711 && !tcp_header && !presences; }
};

void ignore(korvane_h, auto...) {}

/// A call that an event interrupts.
struct OuterCall {
    std::string name;
    std::string agent_version;
    int (*call)(korvane_h handle, Outs &outs);
};

const int numbers[] = {4, 8};

int send_ap_list(korvane_h handle)
{
    korvane_aplist_h list = nullptr;
    EXPECT_EQ(korvane_aplist_create(&list, 2), ok);
    EXPECT_EQ(korvane_aplist_set_ssid(list, 0, "home"), ok);
    const int result = korvane_send_ap_list(handle, list, 7);
    EXPECT_EQ(korvane_aplist_destroy(list), ok);
    return result;
}

int sign_up(korvane_h handle)
{
    korvane_cloud_info_h info = nullptr;
    EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
    EXPECT_EQ(korvane_cloudinfo_set_region(info, "eu"), ok);
    const int result = korvane_sign_up_cloud(handle, info);
    EXPECT_EQ(korvane_cloudinfo_destroy(info), ok);
    return result;
}

// One row per call.
// clang-format off
const OuterCall outer_calls[] = {
    {.name = "Start", .agent_version = "2.3", .call = [](korvane_h h, Outs &) { return korvane_start(h); }},
    {.name = "Stop", .agent_version = "2.3", .call = [](korvane_h h, Outs &) { return korvane_stop(h); }},
    {.name = "SetNickName", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_set_nick_name(h, 0, "attic"); }},
    {.name = "GetDeviceId", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &o) { return korvane_get_device_id(h, &o.text); }},
    {.name = "GetEasysetupStatus", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &o) { return korvane_get_easysetup_status(h, &o.flag); }},
    {.name = "GetThingStatus", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &o) { return korvane_get_thing_status(h, &o.number); }},
    {.name = "GetTcpHeaderInfo", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &o) { return korvane_get_tcp_header_info(h, &o.tcp_header); }}, // stores NULL on failure
    {.name = "GetPresenceList", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &o) { return korvane_get_sub_device_presence_list(h, &o.presences, &o.number); }},
    {.name = "SetKeepaliveIntervals", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_set_keepalive_intervals(h, numbers, 2); }},
    {.name = "SendApListOfRecords", .agent_version = "1.0",
     .call = [](korvane_h h, Outs &) { return send_ap_list(h); }},
    {.name = "SendApListAsDocument", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return send_ap_list(h); }},
    {.name = "SignUpWithRecord", .agent_version = "1.0", .call = [](korvane_h h, Outs &) { return sign_up(h); }},
    {.name = "SignUpWithDocument", .agent_version = "2.3", .call = [](korvane_h h, Outs &) { return sign_up(h); }},
    {.name = "DisableSignin", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_disable_signin(h, true); }},
    {.name = "SetUserConfirmCb", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_set_user_confirm_cb(h, ignore, nullptr); }},
    {.name = "UnsetUserConfirmCb", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_unset_user_confirm_cb(h); }},
    {.name = "SetPinCb", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_set_pin_cb(h, ignore, ignore, nullptr); }},
    {.name = "UnsetPinCb", .agent_version = "2.3", .call = [](korvane_h h, Outs &) { return korvane_unset_pin_cb(h); }},
    {.name = "SetWifiCbOfRecords", .agent_version = "1.2",
     .call = [](korvane_h h, Outs &) { return korvane_set_wifi_ap_provisioning_cb(h, ignore, nullptr); }},
    {.name = "SetWifiCbOfDocuments", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_set_wifi_ap_provisioning_cb(h, ignore, nullptr); }},
    {.name = "UnsetWifiCbOfRecords", .agent_version = "1.2",
     .call = [](korvane_h h, Outs &) { return korvane_unset_wifi_ap_provisioning_cb(h); }},
    {.name = "UnsetWifiCbOfDocuments", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_unset_wifi_ap_provisioning_cb(h); }},
    {.name = "StartAsync", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_start_async(h, ignore, nullptr); }},
    {.name = "GetGroupId", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_get_group_id(h, ignore, nullptr); }},
    {.name = "CreateCertificate", .agent_version = "2.3",
     .call = [](korvane_h h, Outs &) { return korvane_create_hdr_certificate(h, "type", "csr", ignore, nullptr); }},
};
// clang-format on

std::ostream &operator<<(std::ostream &out, const OuterCall &call)
{
    return out << call.name;
}

/// Whether the interrupted platform function fails or succeeds after the destruction of its proxy.
constexpr bool both_ends[] = {false, true};

class EndInside : public NestedTest {
protected:
    /// A callback that ends the session.
    void deinitialize(korvane_h called_with)
    {
        EXPECT_EQ(called_with, handle);
        EXPECT_EQ(korvane_deinitialize(called_with), ok);
    }

    /// A callback that begins a new session with an I/O error callback, which the outer call must not call.
    void begin_anew(korvane_h called_with)
    {
        deinitialize(called_with);
        platform.agent_version = "2.3";
        initialize();
        ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
    }

    /// A callback that also runs a main loop. The new session is connected, with a registration and a one-shot request.
    void begin_anew_and_connect(korvane_h called_with)
    {
        begin_anew(called_with);
        number_requests();
        platform.proxy().fire_connected();
        register_trigger();
        ASSERT_EQ(korvane_start_async(handle, Note<'A', int>::call, &recorder), ok);
        answer = event(27, last_seq_id(platform.log), true, i32(0));
    }

    /// Connects the session if it is not connected, and checks that everything works.
    void expect_works_normally(bool is_connected)
    {
        if (!is_connected) {
            number_requests();
            platform.proxy().fire_connected();
            register_trigger();
        } else {
            platform.proxy().push_event(answer);
            EXPECT_EQ(recorder.seen, (Strings{"A 0"}));
            recorder.seen.clear();
        }
        platform.main_port().sent.clear();
        requests = 0;
        trigger.seen.clear();
        int status = 0;
        inside(Moment::wait, [&](korvane_h) { EXPECT_EQ(korvane_stop(handle), ok); });
        EXPECT_EQ(korvane_get_thing_status(handle, &status), ok);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(methods(), (std::vector{84, 4}));
        EXPECT_EQ(trigger.seen, (Strings{"! 0"}));
    }

    void expect_no_notice()
    {
        EXPECT_EQ(platform.log.count("rpc io error callback will be called"), 0U);
        EXPECT_EQ(run_main_loop(), 0U);
        EXPECT_EQ(notices, 0);
    }

    Bytes answer; // answer to the one-shot request of the new session
};

/// Interrupts every call of the table at each point, with both results of the platform function.
class EndInsideACall : public EndInside, public ::testing::WithParamInterface<OuterCall> {
protected:
    void for_each_interruption(const std::function<void(korvane_h)> &act, const std::function<void()> &check)
    {
        for (const Moment moment : inside_a_call)
            for (const bool finishes : both_ends) {
                SCOPED_TRACE(name_of(moment) + (finishes ? ", which then succeeds" : ", which then fails"));
                end_run();
                begin_run();
                begin(GetParam().agent_version);
                ASSERT_EQ(korvane_set_rpc_io_error_cb(handle, on_io_error, &notices), ok);
                platform.finishes_after_destroy = finishes;
                inside(moment, act);
                Outs outs;
                EXPECT_EQ(GetParam().call(handle, outs), failed);
                EXPECT_TRUE(outs.untouched());
                EXPECT_EQ(trigger.seen.size(), 1U);
                check();
            }
    }
};

INSTANTIATE_TEST_SUITE_P(Of, EndInsideACall, ::testing::ValuesIn(outer_calls),
                         [](const auto &row) { return row.param.name; });

TEST_P(EndInsideACall, FailsIt)
{
    for_each_interruption([this](korvane_h called_with) { deinitialize(called_with); },
                          [this] {
                              expect_no_notice();
                              connect();
                              number_requests();
                              EXPECT_EQ(korvane_stop(handle), ok);
                          });
}

TEST_P(EndInsideACall, FailsItIfANewSessionFollows)
{
    for_each_interruption([this](korvane_h called_with) { begin_anew(called_with); },
                          [this] {
                              EXPECT_TRUE(sent().empty());
                              expect_no_notice();
                              expect_works_normally(false);
                          });
}

TEST_P(EndInsideACall, FailsItIfANewSessionIsAlreadyConnected)
{
    for_each_interruption([this](korvane_h called_with) { begin_anew_and_connect(called_with); },
                          [this] {
                              EXPECT_EQ(methods(), (std::vector{39, 2, 6, 101})); // no request of the outer call
                              expect_no_notice();
                              expect_works_normally(true);
                          });
}

/// Freed blocks are reused at once, so that the new handle and its objects have the addresses of the old ones.
TEST_P(EndInsideACall, FailsItIfANewSessionHasTheSameAddresses)
{
    for (int round = 0; round < 3; ++round) {
        {
            const allocs::ReuseBlocks reuse;
            for_each_interruption([this](korvane_h called_with) { begin_anew_and_connect(called_with); },
                                  [this] {
                                      EXPECT_EQ(methods(), (std::vector{39, 2, 6, 101}));
                                      expect_no_notice();
                                      expect_works_normally(true);
                                      // The outer call stores nothing in the new session.
                                      EXPECT_EQ(korvane_unset_user_confirm_cb(handle), ok);
                                      EXPECT_TRUE(platform.log.has(
                                          api_warning("korvane_unset_user_confirm_cb", "rpc cb_h doesn't exist")));
                                      ASSERT_EQ(korvane_deinitialize(handle), ok);
                                  });
        }
    }
}

class EndInsideTheConnectedHandler : public EndInside {
protected:
    /// Connects, and raises `disconnected` inside one of the handler's two requests. `act` runs in its callback.
    void connect_and_act(Moment moment, unsigned request, const std::function<void(korvane_h)> &next_act)
    {
        act = next_act;
        ASSERT_EQ(korvane_initialize(&handle, on_status, this), ok);
        number_requests();
        platform.proxy().raise_inside(moment, disconnected(), request);
        platform.proxy().fire_connected();
    }

    static void on_status(int, korvane_h called_with, int status, void *test)
    {
        auto &self = *static_cast<EndInsideTheConnectedHandler *>(test);
        self.reported.push_back(status);
        if (auto act = std::exchange(self.act, nullptr))
            act(called_with);
    }

    std::function<void(korvane_h)> act;
    std::vector<int> reported;
};

TEST_F(EndInsideTheConnectedHandler, ReportsNothingMore)
{
    for (const Moment moment : inside_a_call)
        for (const unsigned request : {1U, 2U})
            for (const bool finishes : both_ends) {
                SCOPED_TRACE(name_of(moment) + " of request " + std::to_string(request));
                platform.finishes_after_destroy = finishes;
                connect_and_act(moment, request, [this](korvane_h called_with) { deinitialize(called_with); });
                EXPECT_EQ(std::exchange(reported, {}), (std::vector{KORVANE_CONNECTION_DISCONNECTED + 0}));
            }
}

TEST_F(EndInsideTheConnectedHandler, DoesNotAffectANewSession)
{
    for (const Moment moment : inside_a_call)
        for (const unsigned request : {1U, 2U})
            for (const bool finishes : both_ends) {
                SCOPED_TRACE(name_of(moment) + " of request " + std::to_string(request));
                platform.finishes_after_destroy = finishes;
                connect_and_act(moment, request, [this](korvane_h called_with) { begin_anew(called_with); });
                EXPECT_EQ(std::exchange(reported, {}), (std::vector{KORVANE_CONNECTION_DISCONNECTED + 0}));
                EXPECT_TRUE(sent().empty());
                EXPECT_TRUE(statuses.empty());
                expect_works_normally(false);
                EXPECT_EQ(std::exchange(statuses, {}), (std::vector<StatusNotice>{{0, handle, 0}}));
                ASSERT_EQ(korvane_deinitialize(handle), ok);
            }
}

TEST_F(EndInsideTheConnectedHandler, DoesNotAffectANewSessionOfTheSameAddress)
{
    const allocs::ReuseBlocks reuse;
    for (int round = 0; round < 5; ++round)
        for (const Moment moment : inside_a_call)
            for (const unsigned request : {1U, 2U}) {
                connect_and_act(moment, request,
                                [this](korvane_h called_with) { begin_anew_and_connect(called_with); });
                EXPECT_EQ(std::exchange(reported, {}), (std::vector{KORVANE_CONNECTION_DISCONNECTED + 0}));
                EXPECT_EQ(methods(), (std::vector{39, 2, 6, 101}));
                EXPECT_EQ(std::exchange(statuses, {}), (std::vector<StatusNotice>{{0, handle, 0}}));
                expect_works_normally(true);
                ASSERT_EQ(korvane_deinitialize(handle), ok);
            }
}

/// The library ignores events that the platform raises while it destroys its proxy.
class EventsInsideDestroy : public NestedTest {
protected:
    /// A session with the trigger and an outstanding one-shot request. The platform raises all events inside destroy.
    void begin_doomed()
    {
        begin();
        ASSERT_EQ(korvane_start_async(handle, Note<'A', int>::call, &recorder), ok);
        const Bytes answer = event(27, last_seq_id(platform.log), true, i32(0));
        clear_records();
        recorder.seen.clear();
        for (const Proxy::Raise &raise : {received(trigger_event), received(answer), disconnected()})
            platform.proxy().raise_inside(Moment::destroy, raise);
    }
    void expect_ignored(std::size_t triggered)
    {
        EXPECT_EQ(trigger.seen.size(), triggered);
        EXPECT_EQ(recorder.seen, Strings{});
        EXPECT_EQ(statuses, std::vector<StatusNotice>{});
    }
};

TEST_F(EventsInsideDestroy, AreIgnoredIfTheApplicationDeinitializes)
{
    begin_doomed();
    EXPECT_EQ(korvane_deinitialize(handle), ok);
    expect_ignored(0);
}

TEST_F(EventsInsideDestroy, AreIgnoredIfACallbackInsideACallDeinitializes)
{
    for (const Moment moment : inside_a_call) {
        begin_doomed();
        inside(moment, [](korvane_h called_with) { EXPECT_EQ(korvane_deinitialize(called_with), ok); });
        EXPECT_EQ(korvane_stop(handle), failed);
        expect_ignored(1);
    }
}

TEST_F(EventsInsideDestroy, AreIgnoredIfACallbackFromTheMainLoopDeinitializes)
{
    begin_doomed();
    trigger.then = [](korvane_h called_with) { EXPECT_EQ(korvane_deinitialize(called_with), ok); };
    platform.proxy().push_event(trigger_event);
    expect_ignored(1);
}

TEST_F(EventsInsideDestroy, AreIgnoredIfTheDisconnectedCallbackDeinitializes)
{
    begin_doomed();
    korvane_h doomed = handle;
    ASSERT_EQ(korvane_deinitialize(doomed), ok);
    expect_ignored(0);
    const auto on_status = [](int, korvane_h called_with, int status, void *count) {
        if (status == KORVANE_CONNECTION_DISCONNECTED && ++*static_cast<int *>(count) == 1) {
            EXPECT_EQ(korvane_deinitialize(called_with), ok);
        }
    };
    int disconnections = 0;
    ASSERT_EQ(korvane_initialize(&handle, on_status, &disconnections), ok);
    platform.proxy().raise_inside(Moment::destroy, disconnected());
    platform.proxy().fire_disconnected();
    EXPECT_EQ(disconnections, 1);
}

/// The platform raises `disconnected` while the library undoes a failed korvane_initialize().
class UndoneInitialize : public LibraryTest {
protected:
    static void on_status(int, korvane_h called_with, int, void *test)
    {
        auto &self = *static_cast<UndoneInitialize *>(test);
        ++self.reports;
        if (auto act = std::exchange(self.act, nullptr))
            act(called_with);
    }

    /// Initialises with this platform function failing, and returns the result.
    int initialize_without(const std::string &function, int code)
    {
        reports = 0;
        platform.results[function] = code;
        platform.on_new_proxy = [this](Proxy &proxy) {
            platform.on_new_proxy = nullptr;
            proxy.raise_inside(Moment::destroy, disconnected());
        };
        handle = reinterpret_cast<korvane_h>(8);
        const int result = korvane_initialize(&handle, on_status, this);
        platform.results.clear();
        return result;
    }

    std::function<void(korvane_h)> act;
    int reports = 0;
};

/// Steps that can fail after the creation of the proxy, with the result.
struct FailingStep {
    std::string function; // of the platform
    int code;             // returned by the platform
    int result;           // of korvane_initialize()
};

const std::vector<FailingStep> failing_steps = {
    {.function = "rpc_port_proxy_connect", .code = -5, .result = KORVANE_ERROR_SERVICE_UNAVAILABLE},
    {.function = "rpc_port_proxy_connect", .code = -13, .result = KORVANE_ERROR_PERMISSION_DENIED},
    {.function = "rpc_port_proxy_connect", .code = -1, .result = KORVANE_ERROR_OPERATION_FAILED},
    {.function = "rpc_port_proxy_add_rejected_event_cb", .code = -12, .result = KORVANE_ERROR_OPERATION_FAILED},
    {.function = "rpc_port_proxy_add_received_event_cb", .code = -12, .result = KORVANE_ERROR_OPERATION_FAILED},
};

TEST_F(UndoneInitialize, ReportsAtMostOnce)
{
    for (const auto &[function, code, result] : failing_steps) {
        SCOPED_TRACE(function + " failed with " + std::to_string(code));
        EXPECT_EQ(initialize_without(function, code), result);
        EXPECT_LE(reports, 1);
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(platform.alive(), Strings{});
        initialize();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(UndoneInitialize, CanBeDeinitializedInsideThatReport)
{
    for (const auto &[function, code, result] : failing_steps) {
        SCOPED_TRACE(function + " failed with " + std::to_string(code));
        act = [](korvane_h called_with) { korvane_deinitialize(called_with); }; // accepted or refused
        EXPECT_EQ(initialize_without(function, code), result);
        EXPECT_LE(reports, 1);
        EXPECT_EQ(platform.alive(), Strings{});
        initialize();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(UndoneInitialize, CanBeInitializedInsideThatReport)
{
    for (const auto &[function, code, result] : failing_steps) {
        SCOPED_TRACE(function + " failed with " + std::to_string(code));
        korvane_h other = nullptr;
        act = [&](korvane_h called_with) {
            platform.results.clear();
            korvane_deinitialize(called_with);
            korvane_initialize(&other, on_status, this);
        };
        EXPECT_EQ(initialize_without(function, code), result);
        EXPECT_LE(reports, 1);
        if (other) {
            EXPECT_EQ(korvane_deinitialize(other), ok);
        }
        initialize();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

} // namespace
} // namespace kv::test
