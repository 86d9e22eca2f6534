// SPDX-License-Identifier: Apache-2.0
#include "delegates.hpp"
#include "methods.hpp"

#include <last_result.h>

#include <map>

namespace kv::test {
namespace {

std::vector<GoldenMethod> all_methods()
{
    std::vector<GoldenMethod> all = golden_setup_methods();
    for (GoldenMethod &method : golden_cloud_methods())
        all.push_back(std::move(method));
    return all;
}

class GoldenMethodTest : public ProxyTest, public ::testing::WithParamInterface<GoldenMethod> {
protected:
    void SetUp() override
    {
        ProxyTest::SetUp();
        connect();
        set_last_result(stale_last_result);
    }

    int call(ProxyHandle on) { return GetParam().call(on, out); }
    Bytes answer(int result) { return reply(result, GetParam().outs); }
    LogLine line(const std::string &message)
    {
        return proxy_error("rpc_port_proxy_kv_master_invoke_" + GetParam().name, message);
    }

    std::string out;
};

INSTANTIATE_TEST_SUITE_P(Of, GoldenMethodTest, ::testing::ValuesIn(all_methods()),
                         [](const auto &row) { return row.param.name; });

TEST_P(GoldenMethodTest, SendsItsBytesAndReadsItsReply)
{
    arrives(answer(0));
    EXPECT_EQ(call(proxy), 0);
    EXPECT_EQ(sent(), (std::vector<Bytes>{GetParam().request}));
    EXPECT_EQ(out, GetParam().out_text);
    EXPECT_EQ(get_last_result(), 0);
    EXPECT_TRUE(platform.log.lines().empty());
}

TEST_P(GoldenMethodTest, ReturnsTheAgentsResultAndKeepsOutValues)
{
    for (int result : {-13, 1, -2147483647 - 1}) {
        arrives(answer(result));
        EXPECT_EQ(call(proxy), result);
        EXPECT_EQ(out, "");
        EXPECT_EQ(get_last_result(), 0);
    }
}

TEST_P(GoldenMethodTest, FailsWithATruncatedReply)
{
    const Bytes whole = answer(0);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        platform.log.clear();
        arrives(first(whole, size));
        EXPECT_EQ(call(proxy), -1) << size;
        EXPECT_EQ(out, "") << size;
        EXPECT_EQ(get_last_result(), size < 4 ? -5 : 0) << size;
        EXPECT_EQ(platform.log.errors().size(), 1U) << size;
    }
}

TEST_P(GoldenMethodTest, LogsItsNameIfItIsRefused)
{
    EXPECT_EQ(call(nullptr), -1);
    platform.proxy().fire_disconnected();
    platform.log.clear();
    EXPECT_EQ(call(proxy), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{line("Not connected")}));
    platform.log.clear();
    EXPECT_EQ(call(nullptr), -1);
    EXPECT_EQ(platform.log.lines(), (LogLines{line("Invalid parameter")}));
    EXPECT_TRUE(sent().empty());
}

class GoldenTextReply : public GoldenMethodTest {};

INSTANTIATE_TEST_SUITE_P(Of, GoldenTextReply, ::testing::ValuesIn([] {
                             std::vector<GoldenMethod> kept;
                             for (const GoldenMethod &method : all_methods())
                                 if (method.out_text.starts_with('"'))
                                     kept.push_back(method);
                             return kept;
                         }()),
                         [](const auto &row) { return row.param.name; });

TEST_P(GoldenTextReply, FailsWithoutMemoryForTheText)
{
    arrives(answer(0));
    allocs::fail_nth(1);
    EXPECT_EQ(call(proxy), -1);
    allocs::stop_failing();
    EXPECT_TRUE(allocs::failed());
    EXPECT_EQ(get_last_result(), 0);
    EXPECT_EQ(out, "");
}

TEST(GoldenMethods, CoverEveryMethodOfTheInterface)
{
    std::map<int, std::string> covered;
    auto cover = [&](const Bytes &request, const std::string &name) {
        const int id = request[0] | request[1] << 8;
        const auto [row, fresh] = covered.emplace(id, name);
        EXPECT_TRUE(fresh || row->second == name) << id << " is the id of two methods";
    };
    for (const GoldenMethod &method : all_methods())
        cover(method.request, method.name);
    for (const GoldenDelegate &delegate : golden_delegates())
        cover(delegate.request, delegate.method);

    EXPECT_EQ(covered.size(), 104U);
    for (int id = 2; id <= 108; ++id)
        EXPECT_EQ(covered.contains(id), id != 5 && id != 30 && id != 31) << id;
}

} // namespace
} // namespace kv::test
