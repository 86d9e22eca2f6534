// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/proxy_fixture.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

const std::string received = "__kv_master_on_received";
const std::string process = "__kv_master_process_received_event";
const LogLine closing = proxy_info(received, "[__RPC_PORT__] endpoint(org.korvane.agent), port_name(kv_master)");

LogLine event_line(int id, int seq_id)
{
    return proxy_warning(process, "id(" + std::to_string(id) + "), seq_id(" + std::to_string(seq_id) + ")");
}

class Dispatch : public ProxyTest {
protected:
    void SetUp() override
    {
        ProxyTest::SetUp();
        connect();
        statuses.clear();
    }

    static void note_status(void *statuses, int status)
    {
        static_cast<std::vector<int> *>(statuses)->push_back(status);
    }

    static void destroy_it(void *test) { static_cast<Dispatch *>(test)->destroy(); }
    static void raise_another(void *test)
    {
        static_cast<Dispatch *>(test)->platform.proxy().push_event(event(1, 72, false, i32(9)));
    }

    /// Registers a status delegate with this number.
    rpc_port_kv_master_status_changed_cb_h register_status(int seq_id, bool once = false)
    {
        auto *delegate = numbered(rpc_port_kv_master_status_changed_cb_create(note_status, once, &statuses), seq_id);
        arrives(reply(0));
        EXPECT_EQ(rpc_port_proxy_kv_master_invoke_set_status_changed_cb(proxy, delegate), 0);
        platform.log.clear();
        return delegate;
    }

    /// The log lines of one event.
    LogLines lines_of(Bytes parcel)
    {
        platform.log.clear();
        platform.proxy().push_event(std::move(parcel));
        return platform.log.lines();
    }

    std::vector<int> statuses;
};

TEST_F(Dispatch, CallsTheDelegateThatTheEventNames)
{
    register_status(71);
    EXPECT_EQ(lines_of(event(1, 71, false, i32(5))),
              (LogLines{event_line(1, 71),
                        proxy_warning("__kv_master_delegate_status_changed_cb", "Invoke id(1), seq_id(71)"), closing}));
    EXPECT_EQ(statuses, (std::vector<int>{5}));
    platform.proxy().push_event(event(1, 71, false, i32(6)));
    EXPECT_EQ(statuses, (std::vector<int>{5, 6}));
}

TEST_F(Dispatch, IgnoresTheOnceFlagOfTheEvent)
{
    register_status(71);
    platform.proxy().push_event(event(1, 71, true, i32(1)));
    platform.proxy().push_event(event(1, 71, true, i32(2)));
    EXPECT_EQ(statuses, (std::vector<int>{1, 2}));
}

TEST_F(Dispatch, DropsAnEventWithId0OrAbove32AndLogsUnknownId)
{
    register_status(71);
    for (int id : {0, 33, -1, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(
            lines_of(event(id, 71, false, i32(5))),
            (LogLines{event_line(id, 71), proxy_error(process, "Unknown id(" + std::to_string(id) + ")"), closing}));
    }
    EXPECT_TRUE(statuses.empty());
}

TEST_F(Dispatch, DropsAnEventWithoutADelegateAfterReadingAndReleasingItsValues)
{
    register_status(71);
    EXPECT_EQ(lines_of(event(1, 72, false, i32(5))), (LogLines{event_line(1, 72), closing}));
    EXPECT_EQ(lines_of(event(5, 71, false, str("1234"), i32(5))), (LogLines{event_line(5, 71), closing}));
    EXPECT_EQ(lines_of(event(13, 71, false, count(2), str("a"), str("b"))), (LogLines{event_line(13, 71), closing}));
    EXPECT_TRUE(statuses.empty());
}

TEST_F(Dispatch, CallsAOneShotDelegateOnceAndDropsTheSecondEvent)
{
    register_status(71, true);
    EXPECT_EQ(lines_of(event(1, 71, true, i32(5))),
              (LogLines{event_line(1, 71),
                        proxy_warning("__kv_master_delegate_status_changed_cb", "Invoke id(1), seq_id(71)"),
                        proxy_info("__kv_master_delegate_status_changed_cb", "Dispose"), closing}));
    EXPECT_EQ(lines_of(event(1, 71, true, i32(6))), (LogLines{event_line(1, 71), closing}));
    EXPECT_EQ(statuses, (std::vector<int>{5}));
    EXPECT_EQ(proxy->delegates, nullptr);
}

TEST_F(Dispatch, LogsInvalidProtocolForAParcelOfAnotherKind)
{
    register_status(71);
    for (int kind : {0, 2, -1}) {
        EXPECT_EQ(lines_of(bytes(i32(kind), delegate(1, 71, false), i32(5))),
                  (LogLines{proxy_error(received, "Invalid protocol")}));
    }
    for (std::size_t size = 0; size < 4; ++size) {
        EXPECT_EQ(lines_of(first(event(1, 71, false, i32(5)), size)),
                  (LogLines{proxy_error(received, "Invalid protocol")}));
    }
    EXPECT_TRUE(statuses.empty());
}

TEST_F(Dispatch, LogsAMissingParcel)
{
    platform.proxy().fire_received();
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(received, "Failed to create parcel from port(kv_master)")}));
}

TEST_F(Dispatch, FindsTheDelegateAmongManyByIdAndNumber)
{
    register_status(71);
    std::vector<int> others;
    arrives(reply(0));
    auto *scan = numbered(rpc_port_kv_master_scan_ap_cb_create(note_status, false, &others), 71);
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_scan_ap_cb(proxy, scan), 0);
    register_status(72);
    platform.proxy().push_event(event(9, 71, false, i32(1)));
    platform.proxy().push_event(event(1, 72, false, i32(2)));
    EXPECT_EQ(others, (std::vector<int>{1}));
    EXPECT_EQ(statuses, (std::vector<int>{2}));
}

TEST_F(Dispatch, DeliversEventsOfARequestThatTheAgentRefused)
{
    auto *delegate = numbered(rpc_port_kv_master_status_changed_cb_create(note_status, false, &statuses), 71);
    arrives(reply(-13));
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_status_changed_cb(proxy, delegate), -13);
    platform.proxy().push_event(event(1, 71, false, i32(5)));
    EXPECT_EQ(statuses, (std::vector<int>{5}));
}

TEST_F(Dispatch, LetsADelegateDisposeOfItselfInItsOwnEvent)
{
    struct Self {
        ProxyHandle proxy;
        rpc_port_kv_master_user_confirm_cb_h delegate;
        int result;
    } self{proxy, nullptr, 99};
    auto dispose = [](void *data) {
        auto &me = *static_cast<Self *>(data);
        me.result = rpc_port_proxy_kv_master_user_confirm_cb_dispose(me.proxy, me.delegate);
    };
    for (bool once : {false, true}) {
        self.delegate = numbered(rpc_port_kv_master_user_confirm_cb_create(dispose, once, &self), 71);
        arrives(reply(0));
        ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, self.delegate), 0);
        platform.proxy().push_event(event(2, 71, once));
        EXPECT_EQ(self.result, once ? -1 : 0) << "a one-shot delegate is not in the list while it is called";
        EXPECT_EQ(proxy->delegates, nullptr);
    }
}

TEST_F(Dispatch, LetsACallbackDestroyTheProxy)
{
    auto *delegate = numbered(rpc_port_kv_master_user_confirm_cb_create(destroy_it, false, this), 71);
    arrives(reply(0));
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), 0);
    EXPECT_EQ(lines_of(event(2, 71, false)).back(), closing);
    EXPECT_EQ(proxy, nullptr);
}

TEST_F(Dispatch, DeliversAnEventInsideTheEventOfAnotherDelegate)
{
    register_status(72);
    auto *delegate = numbered(rpc_port_kv_master_user_confirm_cb_create(raise_another, false, this), 71);
    arrives(reply(0));
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_user_confirm_cb(proxy, delegate), 0);
    platform.proxy().push_event(event(2, 71, false));
    EXPECT_EQ(statuses, (std::vector<int>{9}));
}

TEST_F(Dispatch, DropsAFalseArrayCountAndAllocatesLittle)
{
    static int called;
    called = 0;
    auto *delegate = rpc_port_kv_master_cloud_device_list_cb_create([](void *, auto) { ++called; }, false, nullptr);
    numbered(delegate, 71);
    arrives(reply(0));
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_cloud_device_list_cb(proxy, delegate), 0);
    allocs::reset_largest();
    for (int items : {2147483647, -1, 65536, 3}) {
        const LogLines lines = lines_of(event(13, 71, false, count(items), str("a"), str("b")));
        EXPECT_EQ(platform.log.errors().size(), 1U) << items;
    }
    EXPECT_EQ(called, 0);
    EXPECT_LE(allocs::largest(), 65536U);
}

TEST_F(Dispatch, DropsAnEventWhoseRecordThePlatformCannotRead)
{
    static int called;
    called = 0;
    auto *delegate = rpc_port_kv_master_wifi_ap_provisioning_cb_create([](void *, auto) { ++called; }, false, nullptr);
    numbered(delegate, 71);
    arrives(reply(0));
    ASSERT_EQ(rpc_port_proxy_kv_master_invoke_set_wifi_ap_provisioning_cb(proxy, delegate), 0);
    const Bytes whole =
        event(7, 71, false, str("home"), str("secret"), i32(2), i32(3), i32(6), str("aa:bb"), i32(-40), i32(54));
    platform.results["rpc_port_parcel_read"] = -5;
    EXPECT_EQ(lines_of(whole), (LogLines{event_line(7, 71),
                                         proxy_error("__kv_master_delegate_wifi_ap_provisioning_cb",
                                                     "Failed to read the values of id(7), seq_id(71)"),
                                         closing}));
    EXPECT_EQ(called, 0);
    platform.results.clear();
    platform.proxy().push_event(whole);
    EXPECT_EQ(called, 1);
}

class Disposal : public Dispatch {};

TEST_F(Disposal, RemovesTheDelegateFromTheListAndLogsIt)
{
    auto *delegate = register_status(71);
    EXPECT_EQ(rpc_port_proxy_kv_master_status_changed_cb_dispose(proxy, delegate), 0);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_info("rpc_port_proxy_kv_master_status_changed_cb_dispose",
                                                         "id(1), seq_id(71), once(false)")}));
    EXPECT_EQ(proxy->delegates, nullptr);
    EXPECT_EQ(lines_of(event(1, 71, false, i32(5))), (LogLines{event_line(1, 71), closing}));
}

TEST_F(Disposal, OfNullLogsInvalidHandle)
{
    auto *delegate = register_status(71);
    EXPECT_EQ(rpc_port_proxy_kv_master_status_changed_cb_dispose(nullptr, delegate), -1);
    EXPECT_EQ(rpc_port_proxy_kv_master_status_changed_cb_dispose(proxy, nullptr), -1);
    const LogLines lines = platform.log.errors();
    ASSERT_EQ(lines.size(), 2U);
    for (const LogLine &line : lines) {
        EXPECT_EQ(line.function, "rpc_port_proxy_kv_master_status_changed_cb_dispose");
        EXPECT_TRUE(line.message.starts_with("Invalid handle ")) << line;
    }
    EXPECT_NE(proxy->delegates, nullptr);
}

TEST_F(Disposal, OfADelegateThatIsNotInTheListIsSilent)
{
    register_status(71);
    auto *stranger = rpc_port_kv_master_status_changed_cb_create(note_status, false, &statuses);
    platform.log.clear();
    EXPECT_EQ(rpc_port_proxy_kv_master_status_changed_cb_dispose(proxy, stranger), -1);
    EXPECT_TRUE(platform.log.lines().empty());
    std::free(stranger);
}

class Creation : public PlatformTest {};

TEST_F(Creation, NumbersDelegatesAcrossAllTypesAndLogsThem)
{
    auto *one = rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr);
    auto *two = rpc_port_kv_master_start_async_cb_create([](void *, int) {}, true, this);
    EXPECT_EQ(two->seq_id, one->seq_id + 1);
    EXPECT_EQ(one->id, 2);
    EXPECT_EQ(two->id, 27);
    EXPECT_FALSE(one->once);
    EXPECT_TRUE(two->once);
    EXPECT_EQ(two->user_data, this);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_info("rpc_port_kv_master_user_confirm_cb_create",
                                                         "id(2), seq_id(" + std::to_string(one->seq_id) + ")"),
                                              proxy_info("rpc_port_kv_master_start_async_cb_create",
                                                         "id(27), seq_id(" + std::to_string(two->seq_id) + ")")}));
    std::free(one);
    std::free(two);
}

TEST_F(Creation, FailsWithoutMemoryAndUsesNoNumber)
{
    auto *before = rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr);
    platform.log.clear();
    allocs::fail_nth(1);
    EXPECT_EQ(rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr), nullptr);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("rpc_port_kv_master_user_confirm_cb_create", "Out of memory")}));
    auto *after = rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr);
    EXPECT_EQ(after->seq_id, before->seq_id + 1);
    std::free(before);
    std::free(after);
}

} // namespace
} // namespace kv::test
