// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

namespace kv::test {
namespace {

class SubDevices : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("1.6.0");
    }

    int receive(const std::string &text)
    {
        list = nullptr;
        items = -1;
        arrives(reply(0, str(text)));
        return korvane_get_sub_device_presence_list(handle, &list, &items);
    }

    korvane_sub_dev_prs_h *list = nullptr;
    int items = -1;
};

TEST_F(SubDevices, RefusesToRegisterDeviceNumber0AndSends1)
{
    EXPECT_EQ(korvane_register_sub_device(handle, 0, "lamp"), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_register_sub_device(handle, -1, "lamp"), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_unregister_sub_device(handle, 0), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_unregister_sub_device(handle, -7), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_register_sub_device", "Invalid device_no [0]"),
                                               api_error("korvane_register_sub_device", "Invalid device_no [-1]"),
                                               api_error("korvane_unregister_sub_device", "Invalid device_no [0]"),
                                               api_error("korvane_unregister_sub_device", "Invalid device_no [-7]")}));
    EXPECT_TRUE(sent().empty());
    arrives(reply(0));
    EXPECT_EQ(korvane_register_sub_device(handle, 1, "lamp"), ok);
    EXPECT_EQ(only_request(), bytes(i32(41), i32(1), str("lamp")));
}

TEST_F(SubDevices, ChecksArgumentsInTheirOrderBeforeTheUpdate)
{
    const int numbers[] = {1};
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_register_sub_device(handle, 0, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_sub_device_presence(handle, nullptr, 0, true), bad_argument);
    EXPECT_EQ(korvane_set_sub_device_presence(handle, numbers, 0, true), bad_argument);
    EXPECT_EQ(korvane_set_sub_device_presence(handle, numbers, -5, true), bad_argument);
    EXPECT_EQ(korvane_get_sub_device_presence_list(handle, nullptr, nullptr), bad_argument);
    EXPECT_EQ(korvane_get_sub_device_presence_list(handle, &list, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_register_sub_device", "device_id is NULL"),
                        api_error("korvane_set_sub_device_presence", "device_no_list is NULL"),
                        api_error("korvane_set_sub_device_presence", "Invalid device_count [0]"),
                        api_error("korvane_set_sub_device_presence", "Invalid device_count [-5]"),
                        api_error("korvane_get_sub_device_presence_list", "prs_list_h is NULL"),
                        api_error("korvane_get_sub_device_presence_list", "count is NULL")}));
}

TEST_F(SubDevices, ReportsAbsenceAsFalse)
{
    const int numbers[] = {1, 2147483647};
    arrives(reply(0));
    EXPECT_EQ(korvane_set_sub_device_presence(handle, numbers, 2, false), ok);
    EXPECT_EQ(only_request(), bytes(i32(98), count(2), i32(1), i32(2147483647), boolean(false)));
    EXPECT_TRUE(platform.log.has(api_info("korvane_set_sub_device_presence", "device_count [2], presence [false]")));
}

TEST_F(SubDevices, SendsNoPresenceWithoutMemory)
{
    const int numbers[] = {1, 2};
    std::vector<std::string> lines;
    fail_each_allocation(
        [&] {
            connect_to("1.4.0");
            ASSERT_EQ(korvane_unregister_sub_device(nullptr, 1), bad_argument); // makes the library read the version
            platform.log.clear();
            arrives(reply(0));
        },
        [&] { return korvane_set_sub_device_presence(handle, numbers, 2, true); },
        [&](int before, int result) {
            EXPECT_EQ(result, before < 0 ? ok : no_memory);
            EXPECT_EQ(sent().size(), before < 0 ? 1U : 0U);
            for (const LogLine &line : platform.log.errors())
                if (line.tag == "KORVANE-API")
                    lines.push_back(line.message);
        });
    EXPECT_EQ(lines, (std::vector<std::string>{"rpc_port_array_int_create() is failed",
                                               "rpc_port_array_int_set_array_ints() is failed"}));
}

TEST_F(SubDevices, ReturnsEveryElementOfAPresenceList)
{
    ASSERT_EQ(receive(R"([{"di":"a","prs":1},{"prs":99999999999,"di":"","more":[]}])"), ok);
    ASSERT_EQ(items, 2);
    for (const auto &[index, id, state] : {std::tuple(0, "a", 1), std::tuple(1, "", 2147483647)}) {
        char *device_id = nullptr;
        int presence = -1;
        EXPECT_EQ(korvane_get_sub_device_presence(list[index], &device_id, &presence), ok);
        EXPECT_STREQ(device_id, id);
        EXPECT_EQ(presence, state);
        EXPECT_TRUE(platform.log.has(
            api_info("korvane_get_sub_device_presence",
                     std::string("device id = [") + id + "], presence state = [" + std::to_string(state) + "]")));
        free(device_id);
    }
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
}

TEST_F(SubDevices, ReadsAPresenceListOfTenThousand)
{
    std::string text = "[";
    for (int i = 0; i < 10000; ++i)
        text +=
            (i ? "," : "") + std::string(R"({"di":"d)") + std::to_string(i) + R"(","prs":)" + std::to_string(i) + "}";
    ASSERT_EQ(receive(text + "]"), ok);
    ASSERT_EQ(items, 10000);
    char *device_id = nullptr;
    int presence = -1;
    EXPECT_EQ(korvane_get_sub_device_presence(list[9999], &device_id, &presence), ok);
    EXPECT_STREQ(device_id, "d9999");
    EXPECT_EQ(presence, 9999);
    free(device_id);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
}

TEST_F(SubDevices, ReportsNoDataForAnEmptyPresenceReply)
{
    EXPECT_EQ(receive("[]"), KORVANE_ERROR_NO_DATA);
    EXPECT_TRUE(
        platform.log.has(api_error("korvane_get_sub_device_presence_list", "There is no registered sub device")));
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(items, -1);
}

TEST_F(SubDevices, FailsForAPresenceReplyThatIsNotAList)
{
    for (const std::string &text :
         {std::string(), std::string("no"), std::string("{}"), std::string(R"({"di":"a","prs":1})"), std::string("5"),
          std::string("null"), std::string("[1]"), std::string("[[]]"), std::string(R"([{"di":"a"}])"),
          std::string(R"([{"prs":1}])"), std::string(R"([{"di":1,"prs":1}])"), std::string(R"([{"di":"a","prs":"1"}])"),
          std::string(R"([{"di":"a","prs":1},{"di":"b"}])"), std::string(R"([{"di":"a","prs":1})"),
          std::string(100000, '['), std::string(1 << 20, '[')}) {
        EXPECT_EQ(receive(text), failed) << text.substr(0, 40);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(items, -1);
    }
    EXPECT_EQ(platform.log.count("json_array is NULL"), 9U);
    EXPECT_EQ(platform.log.count("cJSON_GetObjectItem() failed"), 7U);
}

TEST_F(SubDevices, FailsForAPresenceReplyWithoutAText)
{
    platform.returns_null_for_empty = true;
    EXPECT_EQ(receive(""), failed);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_get_sub_device_presence_list", "prs_list_json_str is NULL")}));
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(items, -1);
}

TEST_F(SubDevices, ReturnsNoPartOfAPresenceListWithoutMemory)
{
    std::vector<std::string> lines;
    fail_each_allocation(
        [&] {
            connect_to("1.6.0");
            ASSERT_EQ(korvane_unregister_sub_device(nullptr, 1), bad_argument); // makes the library read the version
            platform.log.clear();
            arrives(reply(0, str(R"([{"di":"a","prs":1},{"di":"b","prs":0}])")));
            list = nullptr;
            items = -1;
        },
        [&] { return korvane_get_sub_device_presence_list(handle, &list, &items); },
        [&](int before, int result) {
            if (before < 0) {
                EXPECT_EQ(result, ok);
                EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
                return;
            }
            EXPECT_EQ(list, nullptr);
            EXPECT_EQ(items, -1);
            if (result == no_memory)
                lines.push_back(platform.log.errors().back().message);
            else
                EXPECT_EQ(result, failed);
        });
    EXPECT_EQ(lines,
              (std::vector<std::string>{"sub_dev_prs_list is NULL", "Memory allocation failed for sub_dev_prs_list[0]",
                                        "Memory allocation failed for sub_dev_prs_list[0]",
                                        "Memory allocation failed for sub_dev_prs_list[1]",
                                        "Memory allocation failed for sub_dev_prs_list[1]"}));
}

TEST_F(SubDevices, RefusesToReleaseAListWithCount0)
{
    ASSERT_EQ(receive(R"([{"di":"a","prs":1}])"), ok);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, 0), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, -1), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_release_sub_device_presence_list(nullptr, 1), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_release_sub_device_presence_list", "Invalid count [0]"),
                        api_error("korvane_release_sub_device_presence_list", "Invalid count [-1]"),
                        api_error("korvane_release_sub_device_presence_list", "handle is NULL")}));
    char *device_id = nullptr;
    int presence = -1;
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], &device_id, &presence), ok);
    free(device_id);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
}

TEST_F(SubDevices, RefusesNullArgumentsOldAgentsAndMissingMemoryForAnElement)
{
    ASSERT_EQ(receive(R"([{"di":"a","prs":1}])"), ok);
    platform.log.clear();
    char *device_id = nullptr;
    int presence = -1;
    EXPECT_EQ(korvane_get_sub_device_presence(nullptr, &device_id, &presence), bad_argument);
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], nullptr, nullptr), bad_argument);
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], &device_id, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_get_sub_device_presence", "handle is NULL"),
                                               api_error("korvane_get_sub_device_presence", "device_id is NULL"),
                                               api_error("korvane_get_sub_device_presence", "presence is NULL")}));
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], &device_id, &presence), no_memory);
    agent_becomes("1.5.0");
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], &device_id, &presence), too_old);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), too_old);
    agent_vanishes();
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], &device_id, &presence), absent);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), absent);
    EXPECT_EQ(device_id, nullptr);
    EXPECT_EQ(presence, -1);
    agent_returns("1.6.0");
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
}

} // namespace
} // namespace kv::test
