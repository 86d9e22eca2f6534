// SPDX-License-Identifier: Apache-2.0
// Numbers at and beyond their bounds: device numbers, counts of arrays, indexes, bit masks, and values without a bound.
#include "conformance/setup/ap_list_fixture.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

constexpr int highest = 2147483647;
constexpr int items = 3; // length of the arrays whose count is tested
constexpr int refused = KORVANE_ERROR_INVALID_PARAMETER;

constexpr int some_numbers[items] = {5, lowest, highest};
constexpr const char *some_texts[items] = {"a", "b", "c"};

/// The first `size` elements of some_numbers as an array on the wire.
Bytes numbers_on_the_wire(int count_of_them)
{
    Bytes all = count(count_of_them);
    for (int i = 0; i < count_of_them; ++i)
        all = bytes(all, i32(some_numbers[i]));
    return all;
}

struct NumberArgument {
    std::string label;
    std::string agent_version; // the oldest agent with the function
    int least;                 // the smallest accepted number
    int most;
    int (*call)(korvane_h handle, int number);
    Bytes (*request)(int number);
    std::string function() const { return "korvane_" + label.substr(0, label.find("__")); }
};

std::ostream &operator<<(std::ostream &out, const NumberArgument &row)
{
    return out << row.label;
}

int set_platform_info(korvane_h handle, int device_no)
{
    korvane_platform_info_h info = nullptr;
    EXPECT_EQ(korvane_platforminfo_create(&info), ok);
    const int result = korvane_set_platform_info_with_device_no(handle, info, device_no);
    EXPECT_EQ(korvane_platforminfo_destroy(info), ok);
    return result;
}

int set_last_status(korvane_h handle, int timestamp)
{
    korvane_last_status_info_h info = nullptr;
    EXPECT_EQ(korvane_laststatusinfo_create(&info), ok);
    EXPECT_EQ(korvane_laststatusinfo_set_timestamp(info, timestamp), ok);
    const int result = korvane_set_last_status_info(handle, info);
    EXPECT_EQ(korvane_laststatusinfo_destroy(info), ok);
    return result;
}

int sign_up(korvane_h handle, int token_type)
{
    korvane_cloud_info_h info = nullptr;
    EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
    EXPECT_EQ(korvane_cloudinfo_set_token_type(info, static_cast<unsigned>(token_type)), ok);
    const int result = korvane_sign_up_cloud(handle, info);
    EXPECT_EQ(korvane_cloudinfo_destroy(info), ok);
    return result;
}

using H = korvane_h;

// One row per argument. Unsigned arguments are listed as signed numbers of the same 32 bits.
// clang-format off
const std::vector<NumberArgument> number_arguments = {
    {.label = "set_platform_info_with_device_no__device_no", .agent_version = "1.2", .least = 0, .most = highest,
     .call = set_platform_info, .request = [](int n) { return bytes(i32(46), i32(n), str("{}")); }},
    {.label = "set_nick_name__device_no", .agent_version = "1.2", .least = 0, .most = highest,
     .call = [](H h, int n) { return korvane_set_nick_name(h, n, "attic"); },
     .request = [](int n) { return bytes(i32(47), i32(n), str("attic")); }},
    {.label = "set_device_name_with_device_no__device_no", .agent_version = "1.4", .least = 0, .most = highest,
     .call = [](H h, int n) { return korvane_set_device_name_with_device_no(h, "lamp", n); },
     .request = [](int n) { return bytes(i32(82), i32(n), str("lamp")); }},
    {.label = "set_device_type_with_device_no__device_no", .agent_version = "2.0", .least = 0, .most = highest,
     .call = [](H h, int n) { return korvane_set_device_type_with_device_no(h, n, "light"); }, .request = [](int n) {
         return bytes(i32(102), str(R"({"common_interface":1,"device_no":)" + std::to_string(n) +
                                    R"(,"device_type":"light"})"));
     }},
    {.label = "register_sub_device__device_no", .agent_version = "1.1", .least = 1, .most = highest,
     .call = [](H h, int n) { return korvane_register_sub_device(h, n, "lamp"); },
     .request = [](int n) { return bytes(i32(41), i32(n), str("lamp")); }},
    {.label = "unregister_sub_device__device_no", .agent_version = "1.1", .least = 1, .most = highest,
     .call = korvane_unregister_sub_device, .request = [](int n) { return bytes(i32(42), i32(n)); }},

    {.label = "set_language_list__count", .agent_version = "1.3", .least = 1, .most = items,
     .call = [](H h, int n) { return korvane_set_language_list(h, some_texts, n); }, .request = [](int n) {
         return n == 1 ? bytes(i32(59), count(1), str("a")) : bytes(i32(59), count(3), str("a"), str("b"), str("c"));
     }},
    {.label = "set_keepalive_intervals__count", .agent_version = "1.3", .least = 1, .most = items,
     .call = [](H h, int n) { return korvane_set_keepalive_intervals(h, some_numbers, n); },
     .request = [](int n) { return bytes(i32(68), numbers_on_the_wire(n)); }},
    {.label = "select_keepalive_intervals__count", .agent_version = "1.3", .least = 1, .most = items,
     .call = [](H h, int n) { return korvane_select_keepalive_intervals(h, some_numbers, n); },
     .request = [](int n) { return bytes(i32(69), numbers_on_the_wire(n)); }},
    {.label = "set_sub_device_presence__device_count", .agent_version = "1.4", .least = 1, .most = items,
     .call = [](H h, int n) { return korvane_set_sub_device_presence(h, some_numbers, n, true); },
     .request = [](int n) { return bytes(i32(98), numbers_on_the_wire(n), boolean(true)); }},
    {.label = "set_device_property_with_wifi_authtype__count", .agent_version = "2.2", .least = 1, .most = items,
     .call = [](H h, int n) { return korvane_set_device_property_with_wifi_authtype(h, "lamp", 1, 2, some_numbers, n); },
     .request = [](int n) {
         return bytes(i32(102), str(R"({"common_interface":4,"dev_name":"lamp","wifi_mode":1,"wifi_freq":2,)"
                                    R"("wifi_authtype":[5)" + std::string(n == 1 ? "" : ",-2147483648,2147483647") +
                                    "]}"));
     }},
    {.label = "set_device_property_with_wifi_authtype__wifi_mode", .agent_version = "2.2", .least = 1, .most = highest,
     .call = [](H h, int n) { return korvane_set_device_property_with_wifi_authtype(h, "lamp", n, 2, some_numbers, 1); },
     .request = [](int n) {
         return bytes(i32(102), str(R"({"common_interface":4,"dev_name":"lamp","wifi_mode":)" + std::to_string(n) +
                                    R"(,"wifi_freq":2,"wifi_authtype":[5]})"));
     }},
    {.label = "set_device_property__wifi_mode", .agent_version = "1.0", .least = 1, .most = highest,
     .call = [](H h, int n) { return korvane_set_device_property(h, "lamp", n, 1); },
     .request = [](int n) { return bytes(i32(79), str("lamp"), i32(n), i32(1)); }},
    {.label = "set_device_property__wifi_freq", .agent_version = "1.0", .least = 1, .most = highest,
     .call = [](H h, int n) { return korvane_set_device_property(h, "lamp", 1, n); },
     .request = [](int n) { return bytes(i32(79), str("lamp"), i32(1), i32(n)); }},

    {.label = "set_wifi_connection_error_code__error_code", .agent_version = "1.3", .least = lowest, .most = highest,
     .call = korvane_set_wifi_connection_error_code, .request = [](int n) { return bytes(i32(50), i32(n)); }},
    {.label = "send_presence__state", .agent_version = "1.3", .least = lowest, .most = highest,
     .call = korvane_send_presence, .request = [](int n) { return bytes(i32(66), i32(n)); }},
    {.label = "set_tnc_status__status", .agent_version = "1.3", .least = lowest, .most = highest,
     .call = korvane_set_tnc_status, .request = [](int n) { return bytes(i32(62), i32(n)); }},
    {.label = "set_tnc_type__type", .agent_version = "1.4", .least = lowest, .most = highest,
     .call = [](H h, int n) { return korvane_set_tnc_type(h, static_cast<unsigned>(n)); },
     .request = [](int n) { return bytes(i32(91), i32(n)); }},
    {.label = "send_provisioning_language_setting_result__req_id", .agent_version = "1.3", .least = lowest,
     .most = highest,
     .call = [](H h, int n) { return korvane_send_provisioning_language_setting_result(h, static_cast<unsigned>(n), true); },
     .request = [](int n) { return bytes(i32(58), i32(n), boolean(true)); }},
    {.label = "laststatusinfo_set_timestamp__timestamp", .agent_version = "1.1", .least = lowest, .most = highest,
     .call = set_last_status, .request = [](int n) { return bytes(i32(40), i32(n), str("")); }},
    {.label = "cloudinfo_set_token_type__type", .agent_version = "2.0", .least = lowest, .most = highest,
     .call = sign_up, .request = [](int n) {
         return bytes(i32(102), str(R"({"iatt":)" + std::to_string(static_cast<unsigned>(n)) +
                                    R"(,"common_interface":3})"));
     }},
};
// clang-format on

class HostileNumber : public SetupTest, public ::testing::WithParamInterface<NumberArgument> {};

INSTANTIATE_TEST_SUITE_P(Of, HostileNumber, ::testing::ValuesIn(number_arguments),
                         [](const auto &row) { return row.param.label; });

TEST_P(HostileNumber, IsSentWithinItsBoundsAndRefusedOutside)
{
    const NumberArgument &row = GetParam();
    connect_to(row.agent_version);
    for (int number : {lowest, -1, 0, row.least, row.most}) {
        SCOPED_TRACE(number);
        clear_records();
        if (number >= row.least) {
            EXPECT_EQ(row.call(handle, number), ok);
            EXPECT_EQ(sent(), std::vector<Bytes>{row.request(number)});
            continue;
        }
        EXPECT_EQ(row.call(handle, number), refused);
        EXPECT_TRUE(sent().empty());
        ASSERT_EQ(platform.log.errors().size(), 1U);
        EXPECT_EQ(platform.log.errors()[0].function, row.function());
    }
}

TEST_F(ApList, AcceptsOnlyIndexesWithinItsBoundsInEverySetter)
{
    for (const char *version : {"2.2", "2.3"}) {
        connect_to(version);
        create(items);
        for (int idx : {lowest, -1, 0, items - 1, items, highest}) {
            SCOPED_TRACE(std::string(version) + ", index " + std::to_string(idx));
            const int expected = idx == 0 || idx == items - 1 ? ok : refused;
            EXPECT_EQ(korvane_aplist_set_ssid(list, idx, "home"), expected);
            EXPECT_EQ(korvane_aplist_set_bssid(list, idx, "aa:bb"), expected);
            for (const NumberSetter &setter : number_setters) {
                const bool unknown = std::string(version) == "2.2" && setter.set == korvane_aplist_set_frequency;
                EXPECT_EQ(setter.set(list, idx, lowest), unknown ? version_lower : expected) << setter.name;
                EXPECT_EQ(setter.set(list, idx, highest), unknown ? version_lower : expected) << setter.name;
            }
        }
        destroy();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

using ManySubDevices = SetupTest;

TEST_F(ManySubDevices, TenThousandAreSentAndReadBack)
{
    constexpr int many = 10'000;
    connect_to("2.3");
    std::vector<int> numbers;
    Bytes on_the_wire = count(many);
    std::string text = "[";
    for (int i = 1; i <= many; ++i) {
        numbers.push_back(i);
        const Bytes number = i32(i);
        on_the_wire.insert(on_the_wire.end(), number.begin(), number.end());
        text += (i > 1 ? "," : "") + std::string(R"({"di":"lamp )") + std::to_string(i) + R"(","prs":)" +
                std::to_string(i % 2) + "}";
    }
    EXPECT_EQ(korvane_set_sub_device_presence(handle, numbers.data(), many, true), ok);
    EXPECT_EQ(sent(), std::vector<Bytes>{bytes(i32(98), on_the_wire, boolean(true))});

    platform.main_port().on_sent = [&](Port &port, const Bytes &) { port.push(reply(0, str(text + "]"))); };
    korvane_sub_dev_prs_h *list = nullptr;
    int found = 0;
    ASSERT_EQ(korvane_get_sub_device_presence_list(handle, &list, &found), ok);
    ASSERT_EQ(found, many);
    for (int i = 1; i <= many; ++i) {
        char *device_id = nullptr;
        int presence = -1;
        ASSERT_EQ(korvane_get_sub_device_presence(list[i - 1], &device_id, &presence), ok);
        EXPECT_EQ(device_id, "lamp " + std::to_string(i));
        EXPECT_EQ(presence, i % 2);
        std::free(device_id);
    }
    for (int wrong : {lowest, -1, 0})
        EXPECT_EQ(korvane_release_sub_device_presence_list(list, wrong), refused);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, found), ok);
}

} // namespace
} // namespace kv::test
