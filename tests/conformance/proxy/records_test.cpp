// SPDX-License-Identifier: Apache-2.0
#include "conformance/golden/values.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

class Records : public PlatformTest {
protected:
    /// Returns the bytes that the type's writer writes.
    Bytes written(kv::master::Parcelable *value)
    {
        rpc_port_parcel_h parcel = platform.parcel_of({});
        EXPECT_EQ(rpc_port_parcel_write(parcel, &value->functions, value), 0);
        const Bytes content = platform.content_of(parcel);
        rpc_port_parcel_destroy(parcel);
        return content;
    }

    void read(kv::master::Parcelable *value, const Bytes &content)
    {
        rpc_port_parcel_h parcel = platform.parcel_of(content);
        EXPECT_EQ(rpc_port_parcel_read(parcel, &value->functions, value), 0);
        rpc_port_parcel_destroy(parcel);
    }
};

TEST_F(Records, WriteANullStringAsTheEmptyText)
{
    rpc_port_korvane_last_status_info_h sent = nullptr;
    rpc_port_korvane_last_status_info_h arrived = nullptr;
    ASSERT_EQ(rpc_port_korvane_last_status_info_create(&sent), 0);
    ASSERT_EQ(rpc_port_korvane_last_status_info_create(&arrived), 0);
    EXPECT_EQ(sent->error_code.get(), nullptr);
    read(arrived, written(sent));
    EXPECT_STREQ(arrived->error_code.get(), "");
    rpc_port_korvane_last_status_info_destroy(sent);
    rpc_port_korvane_last_status_info_destroy(arrived);
}

TEST_F(Records, CloneIntoAnIndependentCopy)
{
    auto *source = an_ap("home");
    rpc_port_korvane_ap_info_h copy = nullptr;
    ASSERT_EQ(rpc_port_korvane_ap_info_clone(source, &copy), 0);
    const std::string text = shown(source);
    EXPECT_NE(copy->ssid.get(), source->ssid.get());
    rpc_port_korvane_ap_info_destroy(source);
    EXPECT_EQ(shown(copy), text);
    EXPECT_FALSE(written(copy).empty());
    rpc_port_korvane_ap_info_destroy(copy);
}

TEST_F(Records, CloneANullMemberAsNull)
{
    rpc_port_korvane_ap_info_h source = nullptr;
    rpc_port_korvane_ap_info_h copy = nullptr;
    ASSERT_EQ(rpc_port_korvane_ap_info_create(&source), 0);
    ASSERT_EQ(rpc_port_korvane_ap_info_set_ssid(source, "home"), 0);
    ASSERT_EQ(rpc_port_korvane_ap_info_clone(source, &copy), 0);
    EXPECT_STREQ(copy->ssid.get(), "home");
    EXPECT_EQ(copy->pwd.get(), nullptr);
    EXPECT_EQ(copy->bssid.get(), nullptr);
    rpc_port_korvane_ap_info_destroy(source);
    rpc_port_korvane_ap_info_destroy(copy);
}

TEST_F(Records, LogTheMemberThatCannotBeClonedAndLeakNothing)
{
    const std::string clone_name = "rpc_port_korvane_ap_info_clone";
    const std::vector<LogLines> complaints = {
        {proxy_error("rpc_port_korvane_ap_info_create", "Out of memory"),
         proxy_error(clone_name, "Failed to create korvane_ap_info handle")},
        {proxy_error(clone_name, "Failed to duplicate h->ssid")},
        {proxy_error(clone_name, "Failed to duplicate h->pwd")},
        {proxy_error(clone_name, "Failed to duplicate h->bssid")},
    };
    auto *source = an_ap("home");
    for (std::size_t step = 0; step < complaints.size(); ++step) {
        const std::size_t blocks = allocs::live_blocks();
        rpc_port_korvane_ap_info_h copy = nullptr;
        platform.log.clear();
        allocs::fail_nth(static_cast<unsigned>(step + 1));
        EXPECT_EQ(rpc_port_korvane_ap_info_clone(source, &copy), -1);
        allocs::stop_failing();
        EXPECT_EQ(platform.log.lines(), complaints[step]);
        EXPECT_EQ(copy, nullptr);
        EXPECT_EQ(allocs::live_blocks(), blocks);
    }
    allocs::fail_nth(5);
    rpc_port_korvane_ap_info_h copy = nullptr;
    EXPECT_EQ(rpc_port_korvane_ap_info_clone(source, &copy), 0);
    EXPECT_FALSE(allocs::failed());
    allocs::stop_failing();
    rpc_port_korvane_ap_info_destroy(copy);
    rpc_port_korvane_ap_info_destroy(source);
}

TEST_F(Records, LogALanguageThatCannotBeCloned)
{
    auto *source = a_language("ko_KR");
    rpc_port_korvane_language_info_h copy = nullptr;
    allocs::fail_nth(2);
    EXPECT_EQ(rpc_port_korvane_language_info_clone(source, &copy), -1);
    allocs::stop_failing();
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("rpc_port_korvane_language_info_clone", "Failed to duplicate h->language")}));
    rpc_port_korvane_language_info_destroy(source);
}

TEST_F(Records, LogOutOfMemoryInCreate)
{
    rpc_port_korvane_cloud_info_h record = nullptr;
    rpc_port_array_int_h array = nullptr;
    allocs::fail_nth(1);
    EXPECT_EQ(rpc_port_korvane_cloud_info_create(&record), -1);
    allocs::fail_nth(1);
    EXPECT_EQ(rpc_port_array_int_create(&array), -1);
    allocs::stop_failing();
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error("rpc_port_korvane_cloud_info_create", "Out of memory"),
                                              proxy_error("rpc_port_array_int_create", "Out of memory")}));
}

TEST_F(Records, RefuseToDestroyNull)
{
    EXPECT_EQ(rpc_port_korvane_ap_info_destroy(nullptr), -1);
    EXPECT_EQ(rpc_port_korvane_device_prov_info_destroy(nullptr), -1);
    EXPECT_EQ(rpc_port_array_korvane_ap_info_destroy(nullptr), -1);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("rpc_port_korvane_ap_info_destroy", "Invalid parameter"),
                        proxy_error("rpc_port_korvane_device_prov_info_destroy", "Invalid parameter"),
                        proxy_error("rpc_port_array_korvane_ap_info_destroy", "Invalid parameter")}));
}

TEST_F(Records, SetACopyThatReplacesTheOldValue)
{
    rpc_port_korvane_ap_info_h record = nullptr;
    ASSERT_EQ(rpc_port_korvane_ap_info_create(&record), 0);
    char text[] = "home";
    EXPECT_EQ(rpc_port_korvane_ap_info_set_ssid(record, text), 0);
    text[0] = 'X';
    EXPECT_STREQ(record->ssid.get(), "home");
    EXPECT_EQ(rpc_port_korvane_ap_info_set_ssid(record, "attic"), 0);
    EXPECT_STREQ(record->ssid.get(), "attic");
    rpc_port_korvane_ap_info_destroy(record);
}

TEST_F(Records, GetACopy)
{
    auto *record = an_ap("home");
    char *text = nullptr;
    int number = 0;
    EXPECT_EQ(rpc_port_korvane_ap_info_get_ssid(record, &text), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_get_channel(record, &number), 0);
    rpc_port_korvane_ap_info_destroy(record);
    EXPECT_STREQ(text, "home");
    EXPECT_EQ(number, 11);
    std::free(text);
}

TEST_F(Records, SettersAndGettersRefuseNullWithMinus1)
{
    auto *record = an_ap("home");
    char *text = nullptr;
    int number = 0;
    platform.log.clear();
    EXPECT_EQ(rpc_port_korvane_ap_info_set_ssid(nullptr, "home"), -1);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_ssid(record, nullptr), -1);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_channel(nullptr, 1), -1);
    EXPECT_EQ(rpc_port_korvane_ap_info_get_ssid(nullptr, &text), -1);
    EXPECT_EQ(rpc_port_korvane_ap_info_get_ssid(record, nullptr), -1);
    EXPECT_EQ(rpc_port_korvane_ap_info_get_channel(nullptr, &number), -1);
    EXPECT_EQ(rpc_port_korvane_ap_info_get_channel(record, nullptr), -1);
    LogLines lines;
    for (const char *function :
         {"set_ssid", "set_ssid", "set_channel", "get_ssid", "get_ssid", "get_channel", "get_channel"})
        lines.push_back(proxy_error("rpc_port_korvane_ap_info_" + std::string(function), "Invalid parameter"));
    EXPECT_EQ(platform.log.lines(), lines);
    EXPECT_STREQ(record->ssid.get(), "home");
    rpc_port_korvane_ap_info_destroy(record);
}

TEST_F(Records, GettersRefuseATextThatIsNotSet)
{
    rpc_port_korvane_ap_info_h record = nullptr;
    ASSERT_EQ(rpc_port_korvane_ap_info_create(&record), 0);
    char *text = nullptr;
    EXPECT_EQ(rpc_port_korvane_ap_info_get_pwd(record, &text), -1);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("rpc_port_korvane_ap_info_get_pwd", "Invalid parameter: h->pwd is NULL")}));
    rpc_port_korvane_ap_info_destroy(record);
}

TEST_F(Records, CopiesThatFailReturnMinus1AndAreLogged)
{
    auto *record = an_ap("home");
    char *text = nullptr;
    platform.log.clear();
    allocs::fail_nth(1);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_ssid(record, "attic"), -1);
    allocs::fail_nth(1);
    EXPECT_EQ(rpc_port_korvane_ap_info_get_bssid(record, &text), -1);
    allocs::stop_failing();
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(record->ssid.get(), nullptr) << "the old text was freed before the copy was made";
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("rpc_port_korvane_ap_info_set_ssid", "Failed to duplicate data"),
                        proxy_error("rpc_port_korvane_ap_info_get_bssid", "Failed to duplicate bssid")}));
    rpc_port_korvane_ap_info_destroy(record);
}

class Arrays : public Records {};

TEST_F(Arrays, OfCount0AreEmptyAndReadNoElement)
{
    rpc_port_array_korvane_ap_info_h array = nullptr;
    ASSERT_EQ(rpc_port_array_korvane_ap_info_create(&array), 0);
    const std::size_t blocks = allocs::live_blocks();
    read(array, count(0));
    EXPECT_TRUE(array->complete);
    EXPECT_EQ(array->count, 0);
    EXPECT_EQ(array->present, 0);
    EXPECT_EQ(allocs::live_blocks(), blocks);
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_read_string"), 0U);
    EXPECT_EQ(platform.calls_to("rpc_port_parcel_read"), 1U);
    rpc_port_array_korvane_ap_info_destroy(array);
}

TEST_F(Arrays, KeepTheElementsBeforeAFailedReadAndTheCountOfTheWire)
{
    rpc_port_array_korvane_language_info_h array = nullptr;
    ASSERT_EQ(rpc_port_array_korvane_language_info_create(&array), 0);
    read(array, bytes(count(3), str("en_US"), str("ko_KR"), Bytes{9, 0}));
    EXPECT_FALSE(array->complete);
    EXPECT_EQ(array->count, 3);
    ASSERT_GE(array->present, 2);
    EXPECT_STREQ(array->items[0]->language.get(), "en_US");
    EXPECT_STREQ(array->items[1]->language.get(), "ko_KR");
    rpc_port_array_korvane_language_info_destroy(array);
}

TEST_F(Arrays, ReadReplacesTheOldElements)
{
    auto *array = languages();
    read(array, bytes(count(1), str("fr_FR")));
    EXPECT_EQ(shown(array), "[language_info(\"fr_FR\")]");
    rpc_port_array_korvane_language_info_destroy(array);
}

TEST_F(Arrays, ReadAnUnreadableIntegerAsMinus1)
{
    rpc_port_array_int_h array = nullptr;
    ASSERT_EQ(rpc_port_array_int_create(&array), 0);
    read(array, bytes(count(2), i32(5), Bytes{9, 9}));
    EXPECT_FALSE(array->complete);
    EXPECT_EQ(array->count, 2);
    EXPECT_EQ(array->items[0], 5);
    ASSERT_EQ(array->present, 2);
    EXPECT_EQ(array->items[1], -1);
    rpc_port_array_int_destroy(array);
}

TEST_F(Arrays, LogWhatFailedWithoutMemoryAndStopReading)
{
    const Bytes content = bytes(count(2), str("a"), str("b"));
    const std::string reader = "__array_korvane_cloud_device_info_from";
    const std::vector<LogLines> complaints = {
        {proxy_error(reader, "Out of memory")}, // the table of elements
        {proxy_error("rpc_port_korvane_cloud_device_info_create", "Out of memory"),
         proxy_error(reader, "Failed to create handle")}, // the first element
        {},                                               // the platform's copy of its text
        {proxy_error("rpc_port_korvane_cloud_device_info_create", "Out of memory"),
         proxy_error(reader, "Failed to create handle")}, // the second element
        {},
    };
    rpc_port_array_korvane_cloud_device_info_h array = nullptr;
    fail_each_allocation([&] { ASSERT_EQ(rpc_port_array_korvane_cloud_device_info_create(&array), 0); },
                         [&] { return read(array, content), 0; },
                         [&](int before, int) {
                             EXPECT_EQ(array->complete, before < 0);
                             EXPECT_EQ(platform.log.lines(),
                                       before < 0 ? LogLines{} : complaints.at(static_cast<std::size_t>(before)));
                             rpc_port_array_korvane_cloud_device_info_destroy(array);
                         });
}

TEST_F(Arrays, AllocateOnlyForElementsThatFollowTheCount)
{
    platform.trusts_array_counts = true;
    rpc_port_array_int_h integers = nullptr;
    rpc_port_array_korvane_language_info_h languages_read = nullptr;
    ASSERT_EQ(rpc_port_array_int_create(&integers), 0);
    ASSERT_EQ(rpc_port_array_korvane_language_info_create(&languages_read), 0);
    for (int items : {2147483647, 100000000, -1, -2147483647 - 1}) {
        allocs::reset_largest();
        read(integers, bytes(count(items), i32(1), i32(2)));
        read(languages_read, bytes(count(items), str("a"), str("b")));
        EXPECT_FALSE(integers->complete) << items;
        EXPECT_FALSE(languages_read->complete) << items;
        EXPECT_LE(allocs::largest(), 65536U) << items;
    }
    rpc_port_array_int_destroy(integers);
    rpc_port_array_korvane_language_info_destroy(languages_read);
}

TEST_F(Arrays, ReadThousandsOfElements)
{
    constexpr int many = 5000; // more than the steps in which the table grows
    Bytes content = count(many);
    for (int i = 0; i < many; ++i) {
        const Bytes item = i32(i * 7);
        content.insert(content.end(), item.begin(), item.end());
    }
    rpc_port_array_int_h array = nullptr;
    ASSERT_EQ(rpc_port_array_int_create(&array), 0);
    read(array, content);
    EXPECT_TRUE(array->complete);
    ASSERT_EQ(array->present, many);
    EXPECT_EQ(array->items[many - 1], (many - 1) * 7);
    EXPECT_EQ(written(array), content);
    rpc_port_array_int_destroy(array);
}

TEST_F(Arrays, StoreClonesThatReplaceOldElements)
{
    auto *array = languages();
    rpc_port_korvane_language_info_h only = a_language("fr_FR");
    EXPECT_EQ(rpc_port_array_korvane_language_info_set_array_korvane_language_infos(array, &only, 1), 0);
    rpc_port_korvane_language_info_destroy(only);
    EXPECT_EQ(shown(array), "[language_info(\"fr_FR\")]");
    EXPECT_EQ(written(array), bytes(count(1), str("fr_FR")));
    rpc_port_array_korvane_language_info_destroy(array);
}

TEST_F(Arrays, FailToSetWithoutMemoryAndCanStillBeDestroyed)
{
    rpc_port_korvane_language_info_h items[2] = {nullptr, nullptr};
    rpc_port_array_korvane_language_info_h array = nullptr;
    int runs = 0;
    fail_each_allocation(
        [&] {
            items[0] = a_language("a");
            items[1] = a_language("b");
            ASSERT_EQ(rpc_port_array_korvane_language_info_create(&array), 0);
        },
        [&] { return rpc_port_array_korvane_language_info_set_array_korvane_language_infos(array, items, 2); },
        [&](int before, int result) {
            ++runs;
            EXPECT_EQ(result, before < 0 ? 0 : -1);
            rpc_port_array_korvane_language_info_destroy(array);
            rpc_port_korvane_language_info_destroy(items[0]);
            rpc_port_korvane_language_info_destroy(items[1]);
        });
    EXPECT_EQ(runs, 6); // each of the table, two records and two texts fails once; the last run has no failure
}

TEST_F(Arrays, RefuseNullAndANegativeCountWithMinus1)
{
    auto *array = languages();
    const std::string before = shown(array);
    rpc_port_korvane_language_info_h item = a_language("a");
    const auto set = rpc_port_array_korvane_language_info_set_array_korvane_language_infos;
    platform.log.clear();
    EXPECT_EQ(set(nullptr, &item, 1), -1);
    EXPECT_EQ(set(array, nullptr, 1), -1);
    EXPECT_EQ(set(array, &item, -1), -1);
    const LogLine line =
        proxy_error("rpc_port_array_korvane_language_info_set_array_korvane_language_infos", "Invalid parameter");
    EXPECT_EQ(platform.log.lines(), (LogLines{line, line, line}));
    EXPECT_EQ(shown(array), before);
    platform.log.clear();
    EXPECT_EQ(set(array, &item, 0), 0);
    EXPECT_EQ(shown(array), "[]");
    EXPECT_EQ(platform.log.lines(), LogLines{});
    rpc_port_korvane_language_info_destroy(item);
    rpc_port_array_korvane_language_info_destroy(array);
}

TEST_F(Arrays, LogATableThatCannotBeAllocated)
{
    auto *array = languages();
    rpc_port_korvane_language_info_h item = a_language("a");
    platform.log.clear();
    allocs::fail_nth(1);
    EXPECT_EQ(rpc_port_array_korvane_language_info_set_array_korvane_language_infos(array, &item, 1), -1);
    allocs::stop_failing();
    EXPECT_EQ(platform.log.lines(),
              (LogLines{proxy_error("rpc_port_array_korvane_language_info_set_array_korvane_language_infos",
                                    "Out of memory")}));
    rpc_port_korvane_language_info_destroy(item);
    rpc_port_array_korvane_language_info_destroy(array);
}

} // namespace
} // namespace kv::test
