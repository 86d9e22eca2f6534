// SPDX-License-Identifier: Apache-2.0
// The memory that the library takes to decode long events and replies. The parcel itself takes its length once more: the
// platform keeps it while the library decodes.
#include "conformance/fixtures/library_fixture.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

// A quarter of the longest parcel, to save time: every limit that is met here lies far below.
constexpr std::size_t parcel_size = std::size_t{4} << 20;
constexpr std::size_t of_the_parcel = parcel_size;
constexpr std::size_t at_most = 4 * parcel_size;
constexpr std::size_t hardly_any = 1 << 20;
constexpr int ok = KORVANE_ERROR_NONE;

/// Ids of delegates on the wire.
enum Delegate {
    wifi_ap_provisioning_cb = 7,
    device_provisioning_cb = 8,
    cloud_device_list_cb = 13,
    wifi_ap_prov_with_candidates_cb = 18,
    get_hdr_certificate_cb = 30,
    create_hdr_token_info_cb = 28,
    diagnostics_cb = 31
};

constexpr auto ignore = [](auto...) {};

/// A JSON array of as many zeros as a text of this size can hold.
std::string zeros(std::size_t size)
{
    std::string text = "[0";
    text.reserve(size);
    while (text.size() + 3 <= size)
        text += ",0";
    return text + "]";
}

class MemoryOfDecoding : public LibraryTest {
protected:
    void connect_to(const char *version)
    {
        platform.agent_version = version;
        connect();
        agent_answers(0);
    }

    /// Delivers an event for the delegate that was created last and returns the most that was allocated meanwhile.
    template <class... Values>
    std::size_t peak_of_event(int id, const Values &...values)
    {
        return peak_of_event_for(last_seq_id(platform.log), id, values...);
    }
    template <class... Values>
    std::size_t peak_of_event_for(int seq_id, int id, const Values &...values)
    {
        const Bytes parcel = event(id, seq_id, false, values...);
        EXPECT_GT(parcel.size(), parcel_size - 64);
        allocs::reset_peak();
        const std::size_t before = allocs::live_bytes();
        platform.proxy().push_event(parcel);
        EXPECT_LT(allocs::live_bytes(), before + of_the_parcel + hardly_any) << "what the session keeps of the event";
        return allocs::peak_bytes() - before;
    }

    /// The most that the call allocates until it has returned.
    std::size_t peak_of(const std::function<void()> &call)
    {
        allocs::reset_peak();
        const std::size_t before = allocs::live_bytes();
        call();
        return allocs::peak_bytes() - before;
    }
};

/// Empty items: four bytes each, a text of length 0.
const Bytes &empty_items()
{
    static const Bytes items = [] {
        constexpr int size = parcel_size / 4 - 8;
        return bytes(count(size), Bytes(size * 4));
    }();
    return items;
}

TEST_F(MemoryOfDecoding, AnEventWithoutADelegateTakesNoMoreThanItsText)
{
    connect_to("2.3");
    ASSERT_EQ(korvane_set_cloud_device_list_cb(handle, ignore, nullptr), ok);
    const int of_no_delegate = last_seq_id(platform.log) + 1;
    EXPECT_LT(peak_of_event_for(of_no_delegate, cloud_device_list_cb, empty_items()), hardly_any);
    const std::string text(parcel_size - 32, 'x');
    EXPECT_LT(peak_of_event_for(of_no_delegate, diagnostics_cb, i32(0), str(text)) + of_the_parcel, at_most);
}

TEST_F(MemoryOfDecoding, AnArrayOfEmptyItemsIsRefused)
{
    connect_to("2.3");
    int calls = 0;
    ASSERT_EQ(korvane_set_cloud_device_list_cb(
                  handle, [](korvane_h, const char *const *, int, void *data) { ++*static_cast<int *>(data); }, &calls),
              ok);
    EXPECT_LT(peak_of_event(cloud_device_list_cb, empty_items()) + of_the_parcel, at_most);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(platform.log.errors().size(), 1U) << "Failed to read the values";
}

TEST_F(MemoryOfDecoding, AnArrayOfManyDevicesIsDelivered)
{
    connect_to("2.3");
    int devices = 0;
    ASSERT_EQ(korvane_set_cloud_device_list_cb(
                  handle,
                  [](korvane_h, const char *const *, int count, void *data) { *static_cast<int *>(data) = count; },
                  &devices),
              ok);
    constexpr int most = 65'536;
    platform.proxy().push_event(
        event(cloud_device_list_cb, last_seq_id(platform.log), false, count(most), Bytes(most * 4)));
    EXPECT_EQ(devices, most);
    platform.proxy().push_event(
        event(cloud_device_list_cb, last_seq_id(platform.log), false, count(most + 1), Bytes((most + 1) * 4)));
    EXPECT_EQ(devices, most) << "one more is refused";
}

TEST_F(MemoryOfDecoding, AnArrayOfZerosIsNoTokenDocument)
{
    connect_to("2.3");
    static korvane_hdr_token_info_h token;
    token = reinterpret_cast<korvane_hdr_token_info_h>(&token);
    ASSERT_EQ(korvane_create_hdr_token_info(
                  handle, [](korvane_h, int, korvane_hdr_token_info_h info, void *) { token = info; }, nullptr),
              ok);
    EXPECT_LT(peak_of_event(create_hdr_token_info_cb, i32(0), str(zeros(parcel_size - 32))) + of_the_parcel, at_most);
    EXPECT_EQ(token, nullptr);
}

TEST_F(MemoryOfDecoding, AnArrayOfZerosIsNoAccessPoint)
{
    connect_to("2.3");
    static korvane_ap_info_h access_point;
    access_point = reinterpret_cast<korvane_ap_info_h>(&access_point);
    ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(
                  handle, [](korvane_h, korvane_ap_info_h info, void *) { access_point = info; }, nullptr),
              ok);
    EXPECT_LT(peak_of_event(wifi_ap_prov_with_candidates_cb, str(zeros(parcel_size - 32))) + of_the_parcel, at_most);
    EXPECT_EQ(access_point, nullptr);
}

TEST_F(MemoryOfDecoding, OfTheLongestTextsIsBounded)
{
    connect_to("2.3");
    const std::string text(parcel_size - 32, 'x');
    ASSERT_EQ(korvane_set_diagnostics_cb(handle, ignore, nullptr), ok);
    EXPECT_LT(peak_of_event(diagnostics_cb, i32(0), str(text)) + of_the_parcel, at_most);
    ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, ignore, nullptr), ok);
    EXPECT_LT(peak_of_event(wifi_ap_prov_with_candidates_cb, str("{\"a\":\"" + text.substr(16) + "\"}")) +
                  of_the_parcel,
              at_most);
    ASSERT_EQ(korvane_set_device_provisioning_cb(handle, ignore, nullptr), ok);
    EXPECT_LT(peak_of_event(device_provisioning_cb, str(""), str(""), str(""), str(""), str(text)) + of_the_parcel,
              at_most);
    ASSERT_EQ(korvane_get_hdr_certificate(handle, "", "", ignore, nullptr), ok);
    EXPECT_LT(peak_of_event(get_hdr_certificate_cb, i32(0), str(""), str(text)) + of_the_parcel, at_most);
}

TEST_F(MemoryOfDecoding, OfTheRecordOfAnAccessPointIsBounded)
{
    connect_to("1.1");
    ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, ignore, nullptr), ok);
    const Bytes record =
        bytes(str(std::string(parcel_size - 64, 'x')), str(""), i32(0), i32(0), i32(0), str(""), i32(0), i32(0));
    EXPECT_LT(peak_of_event(wifi_ap_provisioning_cb, record) + of_the_parcel, at_most);
}

TEST_F(MemoryOfDecoding, AReplyOfZerosIsNoDocument)
{
    connect_to("2.3");
    platform.main_port().on_sent = nullptr;
    const Bytes answer = reply(0, str(zeros(parcel_size - 32)));

    arrives(answer);
    korvane_sub_dev_prs_h *list = nullptr;
    int size = 0;
    EXPECT_LT(peak_of([&] {
                  EXPECT_EQ(korvane_get_sub_device_presence_list(handle, &list, &size), KORVANE_ERROR_OPERATION_FAILED);
              }) + of_the_parcel,
              at_most);

    arrives(answer);
    korvane_tcp_header_info_h header = nullptr;
    EXPECT_LT(peak_of([&] {
                  EXPECT_EQ(korvane_get_tcp_header_info(handle, &header), KORVANE_ERROR_OPERATION_FAILED);
              }) + of_the_parcel,
              at_most);
}

} // namespace
} // namespace kv::test
