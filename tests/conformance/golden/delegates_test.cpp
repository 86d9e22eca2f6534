// SPDX-License-Identifier: Apache-2.0
#include "delegates.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

class GoldenDelegateTest : public ProxyTest, public ::testing::WithParamInterface<GoldenDelegate> {
protected:
    void SetUp() override
    {
        ProxyTest::SetUp();
        connect();
    }

    void carry()
    {
        arrives(reply(0));
        EXPECT_EQ(GetParam().carry(proxy, seen), 0);
        platform.log.clear();
    }

    Bytes an_event() { return event(GetParam().id, seq_71, GetParam().once, GetParam().values); }

    std::string ids(int seq_id)
    {
        return "id(" + std::to_string(GetParam().id) + "), seq_id(" + std::to_string(seq_id) + ")";
    }
    std::string ids_and_once(int seq_id)
    {
        return ids(seq_id) + ", once(" + (GetParam().once ? "true" : "false") + ")";
    }

    Seen seen;
};

INSTANTIATE_TEST_SUITE_P(Of, GoldenDelegateTest, ::testing::ValuesIn(golden_delegates()),
                         [](const auto &row) { return row.param.type; });

TEST_P(GoldenDelegateTest, IsCreatedWithANumberAndLogged)
{
    auto *delegate = GetParam().create(seen);
    EXPECT_EQ(delegate->id, GetParam().id);
    EXPECT_EQ(delegate->once, GetParam().once);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_info("rpc_port_kv_master_" + GetParam().type + "_create", ids(delegate->seq_id))}));
    std::free(delegate);
}

TEST_P(GoldenDelegateTest, IsPartOfItsRequest)
{
    carry();
    EXPECT_EQ(sent(), (std::vector<Bytes>{GetParam().request}));
}

TEST_P(GoldenDelegateTest, IsCalledWithTheValuesOfItsEvent)
{
    carry();
    platform.proxy().push_event(an_event());
    EXPECT_EQ(seen, (Seen{GetParam().text}));
    LogLines expected{proxy_warning("__kv_master_process_received_event", ids(seq_71)),
                      proxy_warning("__kv_master_delegate_" + GetParam().type, "Invoke " + ids(seq_71))};
    if (GetParam().once)
        expected.push_back(proxy_info("__kv_master_delegate_" + GetParam().type, "Dispose"));
    expected.push_back(
        proxy_info("__kv_master_on_received", "[__RPC_PORT__] endpoint(org.korvane.agent), port_name(kv_master)"));
    EXPECT_EQ(platform.log.lines(), expected);
}

TEST_P(GoldenDelegateTest, IsReleasedAfterAnEventOnlyIfItIsOneShot)
{
    carry();
    platform.proxy().push_event(an_event());
    platform.proxy().push_event(an_event());
    EXPECT_EQ(seen.size(), GetParam().once ? 1U : 2U);
}

TEST_P(GoldenDelegateTest, DropsATruncatedEventWithOneErrorLine)
{
    carry();
    for (std::size_t size = 0; size < an_event().size(); ++size) {
        platform.log.clear();
        platform.proxy().push_event(first(an_event(), size));
        EXPECT_TRUE(seen.empty()) << size;
        EXPECT_EQ(platform.log.errors().size(), 1U) << size;
    }
    platform.proxy().push_event(an_event());
    EXPECT_EQ(seen.size(), 1U) << "the delegate is kept";
}

TEST_P(GoldenDelegateTest, DropsAnEventWithoutMemoryWithOneErrorLine)
{
    fail_each_allocation([&] { seen.clear(), connect(), carry(); },
                         [&] { return platform.proxy().push_event(an_event()), 0; },
                         [&](int before, int) {
                             EXPECT_EQ(seen.size(), before < 0 ? 1U : 0U);
                             EXPECT_EQ(platform.log.errors().empty(), before < 0);
                         });
}

TEST_P(GoldenDelegateTest, IsReleasedByItsOwnFunction)
{
    carry();
    GList *node = proxy->delegates;
    while (node && static_cast<kv::proxy::Delegate *>(node->data)->seq_id != seq_71)
        node = node->next;
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(GetParam().dispose(proxy, static_cast<kv::proxy::Delegate *>(node->data)), 0);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_info("rpc_port_proxy_kv_master_" + GetParam().type + "_dispose", ids_and_once(seq_71))}));
    platform.proxy().push_event(an_event());
    EXPECT_TRUE(seen.empty());
}

TEST_P(GoldenDelegateTest, IsWrittenAndReadByItsOwnFunctions)
{
    auto *delegate = numbered(GetParam().create(seen), seq_71);
    rpc_port_parcel_h parcel = platform.parcel_of({});
    EXPECT_EQ(rpc_port_parcel_write(parcel, &delegate->functions, delegate), 0);
    EXPECT_EQ(platform.content_of(parcel), bytes(i32(GetParam().id), i32(71), boolean(GetParam().once)));

    delegate->id = delegate->seq_id = 0;
    delegate->once = !GetParam().once;
    platform.log.clear();
    EXPECT_EQ(rpc_port_parcel_read(parcel, &delegate->functions, delegate), 0);
    EXPECT_EQ(delegate->id, GetParam().id);
    EXPECT_EQ(delegate->seq_id, seq_71);
    EXPECT_EQ(delegate->once, GetParam().once);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_info("__kv_master_" + GetParam().type + "_from", ids_and_once(seq_71))}));

    platform.log.clear();
    delegate->functions.to(parcel, nullptr);
    delegate->functions.from(parcel, nullptr);
    delegate->functions.to(nullptr, delegate);
    delegate->functions.from(nullptr, delegate);
    const LogLine refused_to = proxy_error("__kv_master_" + GetParam().type + "_to", "Invalid parameter");
    const LogLine refused_from = proxy_error("__kv_master_" + GetParam().type + "_from", "Invalid parameter");
    EXPECT_EQ(platform.log.lines(), (LogLines{refused_to, refused_from, refused_to, refused_from}));
    rpc_port_parcel_destroy(parcel);
    std::free(delegate);
}

TEST_P(GoldenDelegateTest, IsCompleteOnlyAfterAReadOfAllItsBytes)
{
    auto *delegate = GetParam().create(seen);
    const Bytes whole = bytes(i32(GetParam().id), i32(71), boolean(GetParam().once));
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        rpc_port_parcel_h parcel = platform.parcel_of(first(whole, size));
        EXPECT_EQ(rpc_port_parcel_read(parcel, &delegate->functions, delegate), 0);
        EXPECT_EQ(delegate->complete, size == whole.size()) << size;
        rpc_port_parcel_destroy(parcel);
    }
    std::free(delegate);
}

TEST(GoldenDelegates, CoverEveryTypeInOrder)
{
    int id = 0;
    for (const GoldenDelegate &delegate : golden_delegates())
        EXPECT_EQ(delegate.id, ++id);
    EXPECT_EQ(id, 32);
}

} // namespace
} // namespace kv::test
