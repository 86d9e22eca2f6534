// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <utility>

namespace kv::test {
namespace {

class Keepalive : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("1.3.0");
    }
};

TEST_F(Keepalive, RefusesCount0AndLogsCountAndArray)
{
    const int numbers[] = {1};
    char expected[200];
    for (int bad : {0, -1}) {
        platform.log.clear();
        EXPECT_EQ(korvane_set_keepalive_intervals(handle, numbers, bad), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(korvane_select_keepalive_intervals(handle, numbers, bad), KORVANE_ERROR_INVALID_PARAMETER);
        const void *address = numbers;
        std::snprintf(expected, sizeof expected, "Invalid param : interval_array=[%p], count=[%d]", address, bad);
        EXPECT_TRUE(platform.log.has(api_error("korvane_set_keepalive_intervals", expected)));
        std::snprintf(expected, sizeof expected, "Invalid param : index_array=[%p], count=[%d]", address, bad);
        EXPECT_TRUE(platform.log.has(api_error("korvane_select_keepalive_intervals", expected)));
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(Keepalive, RefusesANullArrayBeforeTheCheckOfTheUpdate)
{
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_set_keepalive_intervals(handle, nullptr, 1), bad_argument);
    EXPECT_EQ(korvane_select_keepalive_intervals(handle, nullptr, 1), bad_argument);
    EXPECT_EQ(
        platform.log.errors(),
        (LogLines{api_error("korvane_set_keepalive_intervals", "Invalid param : interval_array=[(nil)], count=[1]"),
                  api_error("korvane_select_keepalive_intervals", "Invalid param : index_array=[(nil)], count=[1]")}));
}

TEST_F(Keepalive, AcceptsTablesOfAnyLength)
{
    std::vector<int> numbers;
    Bytes expected = bytes(i32(68), count(10000));
    for (int i = 0; i < 10000; ++i) {
        numbers.push_back(i * 7);
        const Bytes item = i32(i * 7);
        expected.insert(expected.end(), item.begin(), item.end());
    }
    arrives(reply(0));
    EXPECT_EQ(korvane_set_keepalive_intervals(handle, numbers.data(), 10000), ok);
    EXPECT_EQ(only_request(), expected);
}

TEST_F(Keepalive, LogsWhatCannotBeAllocatedForATable)
{
    const int numbers[] = {1, 2};
    std::vector<std::string> lines;
    fail_each_allocation(
        [&] {
            connect_to("1.3.0");
            ASSERT_EQ(korvane_send_keepalive(nullptr), bad_argument); // makes the library read the version
            platform.log.clear();
            arrives(reply(0));
        },
        [&] { return korvane_set_keepalive_intervals(handle, numbers, 2); },
        [&](int before, int result) {
            if (before < 0 || result != no_memory)
                return;
            EXPECT_TRUE(sent().empty());
            for (const LogLine &line : platform.log.errors())
                lines.push_back(line.message);
        });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Failed to create korvane_keepalive_info handle"), 5);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Memory allocation is failed"),
              3); // one line each for the list and two records
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "rpc_port_array_korvane_keepalive_info_create() failed"), 1);
}

TEST_F(Keepalive, SendsPresenceState7Unchanged)
{
    arrives(reply(0));
    EXPECT_EQ(korvane_send_presence(handle, 7), ok);
    EXPECT_EQ(only_request(), bytes(i32(66), i32(7)));
    EXPECT_TRUE(platform.log.has(api_info("korvane_send_presence", "state [7] (on: 0 / inactive: 1)")));
}

struct NumberGetter {
    const char *name;
    int (*get)(korvane_tcp_header_info_h, int *);
    int value;
};

struct AddressGetter {
    const char *name;
    int (*get)(korvane_tcp_header_info_h, char **);
    const char *value;
};

const std::vector<NumberGetter> number_getters = {
    {.name = "ip_version", .get = korvane_tcp_header_info_get_ip_version, .value = 4},
    {.name = "src_port", .get = korvane_tcp_header_info_get_src_port, .value = 40000},
    {.name = "dst_port", .get = korvane_tcp_header_info_get_dst_port, .value = 443},
    {.name = "seq_num", .get = korvane_tcp_header_info_get_seq_num, .value = 1},
    {.name = "ack_num", .get = korvane_tcp_header_info_get_ack_num, .value = 2},
    {.name = "window", .get = korvane_tcp_header_info_get_window, .value = 501},
    {.name = "window_scale", .get = korvane_tcp_header_info_get_window_scale, .value = 7},
};

const std::vector<AddressGetter> address_getters = {
    {.name = "src_addr", .get = korvane_tcp_header_info_get_src_addr, .value = "10.0.0.2"},
    {.name = "dst_addr", .get = korvane_tcp_header_info_get_dst_addr, .value = "10.0.0.1"},
};

std::string function(const char *getter)
{
    return std::string("korvane_tcp_header_info_get_") + getter;
}

const char *const whole_header =
    R"({"tcp_header_info_ip_version":4,"tcp_header_info_src_addr":"10.0.0.2","tcp_header_info_src_port":40000,)"
    R"("tcp_header_info_dst_addr":"10.0.0.1","tcp_header_info_dst_port":443,"tcp_header_info_seq_num":1,)"
    R"("tcp_header_info_ack_num":2,"tcp_header_info_window":501,"tcp_header_info_window_scale":7})";

class TcpHeader : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("1.4.0");
    }

    int receive(const std::string &text)
    {
        arrives(reply(0, str(text)));
        const int result = korvane_get_tcp_header_info(handle, &info);
        platform.log.clear();
        return result;
    }

    void end_run() override
    {
        allocs::stop_failing();
        if (korvane_tcp_header_info_h held = std::exchange(info, nullptr)) {
            agent_returns("1.4.0");
            EXPECT_EQ(korvane_release_tcp_header_info(held), ok);
        }
        CloudTest::end_run();
    }

    korvane_tcp_header_info_h info = nullptr;
};

TEST_F(TcpHeader, ReadsEachFieldFromItsMember)
{
    ASSERT_EQ(receive(whole_header), ok);
    for (const NumberGetter &getter : number_getters) {
        int value = -1;
        EXPECT_EQ(getter.get(info, &value), ok);
        EXPECT_EQ(value, getter.value) << getter.name;
        EXPECT_EQ(lines_of(function(getter.name)), (LogLines{api_info(function(getter.name), ">>> called")}));
    }
    for (const AddressGetter &getter : address_getters) {
        char *value = nullptr;
        EXPECT_EQ(getter.get(info, &value), ok);
        EXPECT_STREQ(value, getter.value) << getter.name;
        free(value);
    }
}

TEST_F(TcpHeader, FailsOnlyTheGetterOfAMissingMember)
{
    for (const NumberGetter &missing : number_getters) {
        std::string text = whole_header;
        text.replace(text.find(std::string("tcp_header_info_") + missing.name + "\""), 15, "other");
        ASSERT_EQ(receive(text), ok);
        for (const NumberGetter &getter : number_getters) {
            int value = -1;
            const bool reported = &getter != &missing;
            EXPECT_EQ(getter.get(info, &value), reported ? ok : KORVANE_ERROR_OPERATION_FAILED) << getter.name;
            EXPECT_EQ(value, reported ? getter.value : -1);
        }
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error(function(missing.name), "cJSON_GetObjectItem() failed")}));
        EXPECT_EQ(korvane_release_tcp_header_info(std::exchange(info, nullptr)), ok);
    }
}

TEST_F(TcpHeader, ClampsASequenceNumberTo2147483647)
{
    ASSERT_EQ(receive(R"({"tcp_header_info_seq_num":4294967295,"tcp_header_info_ack_num":-99999999999})"), ok);
    int value = 0;
    EXPECT_EQ(korvane_tcp_header_info_get_seq_num(info, &value), ok);
    EXPECT_EQ(value, 2147483647);
    EXPECT_EQ(korvane_tcp_header_info_get_ack_num(info, &value), ok);
    EXPECT_EQ(value, -2147483647 - 1);
}

TEST_F(TcpHeader, ReadsMembersOfOtherTypesAsNullOrAsAnInteger)
{
    ASSERT_EQ(receive(R"({"tcp_header_info_window":"7","tcp_header_info_src_addr":7,"tcp_header_info_dst_addr":null})"),
              ok);
    int number = -1;
    char before = 'x';
    char *text = &before;
    EXPECT_EQ(korvane_tcp_header_info_get_window(info, &number), ok);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(korvane_tcp_header_info_get_src_addr(info, &text), ok);
    EXPECT_EQ(text, nullptr);
    text = &before;
    EXPECT_EQ(korvane_tcp_header_info_get_dst_addr(info, &text), ok);
    EXPECT_EQ(text, nullptr);
}

TEST_F(TcpHeader, FailsIfTheTextIsNotAJsonObject)
{
    int untouched = 0;
    for (const std::string &text : {std::string(), std::string("no"), std::string("5"), std::string("[]"),
                                    std::string("{\"a\":"), std::string(100000, '{'), std::string(1 << 20, 'x')}) {
        info = reinterpret_cast<korvane_tcp_header_info_h>(&untouched);
        EXPECT_EQ(receive(text), failed) << text.substr(0, 10);
        EXPECT_EQ(info, nullptr);
    }
}

TEST_F(TcpHeader, IsNullAfterAFailureOfTheAgentAndUnchangedAfterARefusal)
{
    int untouched = 0;
    auto *before = reinterpret_cast<korvane_tcp_header_info_h>(&untouched);
    info = before;
    arrives(reply(7, str(whole_header)));
    EXPECT_EQ(korvane_get_tcp_header_info(handle, &info), failed);
    EXPECT_EQ(info, nullptr);
    info = before;
    install_starts();
    EXPECT_EQ(korvane_get_tcp_header_info(handle, &info), installing);
    EXPECT_EQ(korvane_get_tcp_header_info(nullptr, &info), bad_argument);
    EXPECT_EQ(std::exchange(info, nullptr), before);
    platform.log.clear();
    EXPECT_EQ(korvane_get_tcp_header_info(handle, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_get_tcp_header_info", "tcp_header_info_h is NULL")}));
}

TEST_F(TcpHeader, RefusesNullArguments)
{
    ASSERT_EQ(receive(whole_header), ok);
    for (const NumberGetter &getter : number_getters) {
        int value = -1;
        EXPECT_EQ(getter.get(info, nullptr), bad_argument);
        EXPECT_EQ(getter.get(nullptr, &value), bad_argument);
        EXPECT_TRUE(platform.log.has(api_error(function(getter.name), std::string(getter.name) + " is NULL")));
        EXPECT_TRUE(platform.log.has(api_error(function(getter.name), "handle is NULL")));
    }
    for (const AddressGetter &getter : address_getters) {
        char *value = nullptr;
        EXPECT_EQ(getter.get(info, nullptr), bad_argument);
        EXPECT_EQ(getter.get(nullptr, &value), bad_argument);
        EXPECT_TRUE(platform.log.has(api_error(function(getter.name), std::string(getter.name) + " is NULL")));
    }
    EXPECT_EQ(korvane_release_tcp_header_info(nullptr), bad_argument);
    EXPECT_TRUE(platform.log.has(api_error("korvane_release_tcp_header_info", "handle is NULL")));
}

TEST_F(TcpHeader, NeedsAgent14AndWorksDuringInstallation)
{
    ASSERT_EQ(receive(whole_header), ok);
    int number = 0;
    char *text = nullptr;
    agent_becomes("1.3.9");
    for (const NumberGetter &getter : number_getters)
        EXPECT_EQ(getter.get(info, &number), too_old);
    for (const AddressGetter &getter : address_getters)
        EXPECT_EQ(getter.get(info, &text), too_old);
    EXPECT_EQ(korvane_release_tcp_header_info(info), too_old);
    agent_vanishes();
    for (const NumberGetter &getter : number_getters)
        EXPECT_EQ(getter.get(info, &number), absent);
    EXPECT_EQ(korvane_release_tcp_header_info(info), absent);
    agent_returns("1.4.0");
    install_starts();
    EXPECT_EQ(korvane_tcp_header_info_get_window(info, &number), ok);
}

TEST_F(TcpHeader, ReturnsNoAddressWithoutMemory)
{
    ASSERT_EQ(receive(whole_header), ok);
    for (const AddressGetter &getter : address_getters) {
        char *text = nullptr;
        allocs::fail_nth(1);
        EXPECT_EQ(getter.get(info, &text), no_memory);
        EXPECT_TRUE(allocs::failed());
        EXPECT_EQ(text, nullptr);
    }
}

TEST_F(TcpHeader, SendsNoRequestWithoutMemoryForTheHandle)
{
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_get_tcp_header_info(handle, &info), no_memory);
    EXPECT_TRUE(platform.log.has(api_error("korvane_get_tcp_header_info", "_tcp_header_info_s is NULL")));
    EXPECT_TRUE(sent().empty());
}

} // namespace
} // namespace kv::test
