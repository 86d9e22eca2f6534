// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <functional>
#include <utility>

namespace kv::test {
namespace {

/// The calls of the callbacks of a test. User data of all of them.
struct Seen {
    std::vector<std::string> events;
    std::vector<korvane_h> handles;
    std::function<void()> inside; // what the application does in its callback
};

std::string shown(bool value)
{
    return value ? "true" : "false";
}
std::string shown(int value)
{
    return std::to_string(value);
}
std::string shown(const char *text)
{
    return text;
}

void note(korvane_h handle, void *user_data, const std::string &event)
{
    auto &seen = *static_cast<Seen *>(user_data);
    seen.handles.push_back(handle);
    seen.events.push_back(event);
    if (auto inside = std::exchange(seen.inside, nullptr))
        inside();
}

template <class Value>
void on_value(korvane_h handle, Value value, void *user_data)
{
    note(handle, user_data, shown(value));
}

void on_number_and_text(korvane_h handle, int value, const char *text, void *user_data)
{
    note(handle, user_data, shown(value) + " " + text);
}

void on_list(korvane_h handle, const char *const *texts, int count, void *user_data)
{
    std::string whole = shown(count) + ":";
    for (int i = 0; i < count; ++i)
        whole += std::string(" ") + texts[i];
    note(handle, user_data, whole);
}

template <class Callback, int (*Set)(korvane_h, Callback, void *), Callback callback>
int set(korvane_h handle, bool with_callback, void *user_data)
{
    return Set(handle, with_callback ? callback : nullptr, user_data);
}

struct Registration {
    std::string name;
    int set_method;
    int unset_method;
    int delegate;
    int (*set)(korvane_h handle, bool with_callback, void *user_data);
    int (*unset)(korvane_h handle);
    Bytes values;
    std::string seen;
    std::vector<std::string> lines; // what the library logs; empty if nothing
    std::string null_text = "callback is NULL";
};

std::ostream &operator<<(std::ostream &out, const Registration &registration)
{
    return out << registration.name;
}

const std::vector<Registration> registrations = {
    {.name = "signin_status_changed_cb",
     .set_method = 89,
     .unset_method = 90,
     .delegate = 23,
     .set = set<korvane_signin_status_changed_cb, korvane_set_signin_status_changed_cb, on_value<bool>>,
     .unset = korvane_unset_signin_status_changed_cb,
     .values = boolean(true),
     .seen = "true",
     .lines = {"status [true]"}},
    {.name = "signup_status_changed_cb",
     .set_method = 86,
     .unset_method = 87,
     .delegate = 22,
     .set = set<korvane_signup_status_changed_cb, korvane_set_signup_status_changed_cb, on_value<bool>>,
     .unset = korvane_unset_signup_status_changed_cb,
     .values = boolean(false),
     .seen = "false",
     .lines = {"status [false]"}},
    {.name = "tcp_session_disconnected_cb",
     .set_method = 93,
     .unset_method = 94,
     .delegate = 24,
     .set = set<korvane_tcp_session_disconnected_cb, korvane_set_tcp_session_disconnected_cb, on_value<int>>,
     .unset = korvane_unset_tcp_session_disconnected_cb,
     .values = i32(-110),
     .seen = "-110",
     .lines = {"last_error_code [-110]"}},
    {.name = "cloud_device_list_cb",
     .set_method = 43,
     .unset_method = 44,
     .delegate = 13,
     .set = set<korvane_cloud_device_list_cb, korvane_set_cloud_device_list_cb, on_list>,
     .unset = korvane_unset_cloud_device_list_cb,
     .values = bytes(count(2), str("one"), str("two")),
     .seen = "2: one two",
     .lines = {"count [2]", "device_id [one]", "device_id [two]"},
     .null_text = "cloud_device_list_cb is NULL"},
    {.name = "nick_changed_cb",
     .set_method = 71,
     .unset_method = 72,
     .delegate = 19,
     .set = set<korvane_nick_changed_cb, korvane_set_nick_changed_cb, on_number_and_text>,
     .unset = korvane_unset_nick_changed_cb,
     .values = bytes(i32(3), str("attic")),
     .seen = "3 attic",
     .lines = {"device_no [3], nick [attic]"}},
    {.name = "last_status_changed_cb",
     .set_method = 73,
     .unset_method = 74,
     .delegate = 20,
     .set = set<korvane_last_status_changed_cb, korvane_set_last_status_changed_cb, on_value<const char *>>,
     .unset = korvane_unset_last_status_changed_cb,
     .values = str("E4"),
     .seen = "E4",
     .lines = {"last_status [E4]"}},
    {.name = "keepalive_result_cb",
     .set_method = 75,
     .unset_method = 76,
     .delegate = 21,
     .set = set<korvane_keepalive_result_cb, korvane_set_keepalive_result_cb, on_value<int>>,
     .unset = korvane_unset_keepalive_result_cb,
     .values = i32(1),
     .seen = "1",
     .lines = {"result [1]"}},
    {.name = "diagnostics_cb",
     .set_method = 106,
     .unset_method = 107,
     .delegate = 31,
     .set = set<korvane_diagnostics_cb, korvane_set_diagnostics_cb, on_number_and_text>,
     .unset = korvane_unset_diagnostics_cb,
     .values = bytes(i32(2), str("dump")),
     .seen = "2 dump",
     .lines = {"value [2], text length [4]"}},
    {.name = "tnc_result_cb",
     .set_method = 60,
     .unset_method = 61,
     .delegate = 17,
     .set = set<korvane_tnc_result_cb, korvane_set_tnc_result_cb, on_value<const char *>>,
     .unset = korvane_unset_tnc_result_cb,
     .values = str("agreed"),
     .seen = "agreed",
     .lines = {"result length [6]"}},
};

class CloudEvent : public CloudTest, public ::testing::WithParamInterface<Registration> {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("2.3.1");
    }

    std::string set_name() { return "korvane_set_" + row.name; }
    std::string unset_name() { return "korvane_unset_" + row.name; }

    int set_callback(int answer = 0, Seen *recipient = nullptr)
    {
        arrives(reply(answer));
        const int result = row.set(handle, true, recipient ? recipient : &seen);
        platform.main_port().sent.clear();
        seq_id = last_seq_id(platform.log);
        platform.log.clear();
        return result;
    }

    int unset_callback(int answer = 0)
    {
        arrives(reply(answer));
        return row.unset(handle);
    }

    void event_arrives(int seq) { platform.proxy().push_event(event(row.delegate, seq, false, row.values)); }

    const Registration &row = GetParam();
    Seen seen;
    int seq_id = 0;
};

std::string name_of(const ::testing::TestParamInfo<Registration> &registration)
{
    return registration.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, CloudEvent, ::testing::ValuesIn(registrations), name_of);

TEST_P(CloudEvent, ReachesTheCallbackEachTime)
{
    EXPECT_EQ(set_callback(), ok);
    event_arrives(seq_id);
    LogLines lines;
    for (const std::string &line : row.lines)
        lines.push_back(api_info("_" + row.name, line));
    EXPECT_EQ(platform.log.api(), lines);
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen, row.seen}));
    EXPECT_EQ(seen.handles, (std::vector<korvane_h>{handle, handle}));
}

TEST_P(CloudEvent, RefusesANullCallbackAndChangesNothing)
{
    EXPECT_EQ(set_callback(), ok);
    install_starts(); // the argument is checked before the update
    platform.log.clear();
    EXPECT_EQ(row.set(handle, false, nullptr), bad_argument);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_info(set_name(), ">>> called"), api_error(set_name(), row.null_text)}));
    EXPECT_TRUE(sent().empty());
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudEvent, SettingTwiceReplacesTheFirst)
{
    EXPECT_EQ(set_callback(), ok);
    const int first_seq_id = seq_id;
    Seen second;
    arrives(reply(0));
    EXPECT_EQ(row.set(handle, true, &second), ok);
    EXPECT_EQ(platform.log.count("rpc cb_h already exists"), 1U);
    EXPECT_TRUE(platform.log.has(api_warning(set_name(), "rpc cb_h already exists")));
    const int second_seq_id = last_seq_id(platform.log);
    EXPECT_EQ(only_request(), bytes(i32(row.set_method), delegate(row.delegate, second_seq_id, false)));
    event_arrives(first_seq_id);
    EXPECT_EQ(second.events, std::vector<std::string>{});
    event_arrives(second_seq_id);
    EXPECT_EQ(second.events, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(seen.events, std::vector<std::string>{});
}

TEST_P(CloudEvent, UnsetIsSentWithoutARegistration)
{
    EXPECT_EQ(unset_callback(), ok);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_info(unset_name(), ">>> called"), api_warning(unset_name(), "rpc cb_h doesn't exist")}));
    EXPECT_EQ(only_request(), i32(row.unset_method));
}

TEST_P(CloudEvent, AfterUnsetIsDroppedSilently)
{
    EXPECT_EQ(set_callback(), ok);
    EXPECT_EQ(unset_callback(), ok);
    platform.log.clear();
    event_arrives(seq_id);
    EXPECT_EQ(platform.log.api(), LogLines{});
    EXPECT_EQ(platform.log.errors(), LogLines{});
    EXPECT_EQ(seen.events, std::vector<std::string>{});
}

TEST_P(CloudEvent, AfterAnUnsetThatTheAgentRefusedIsDropped)
{
    EXPECT_EQ(set_callback(), ok);
    EXPECT_EQ(unset_callback(-13), KORVANE_ERROR_PERMISSION_DENIED);
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, std::vector<std::string>{});
}

TEST_P(CloudEvent, OfAFailedRegistrationIsDropped)
{
    EXPECT_EQ(set_callback(7), failed);
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, std::vector<std::string>{});
    EXPECT_EQ(set_callback(0), ok);
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudEvent, TruncatedIsDroppedAndTheNextOneDelivered)
{
    EXPECT_EQ(set_callback(), ok);
    const Bytes whole = event(row.delegate, seq_id, false, row.values);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        platform.log.clear();
        platform.proxy().push_event(first(whole, size));
        EXPECT_EQ(platform.log.errors().size(), 1U) << size;
    }
    EXPECT_EQ(seen.events, std::vector<std::string>{});
    platform.proxy().push_event(whole);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudEvent, AllowsUnsetInsideItsCallback)
{
    EXPECT_EQ(set_callback(), ok);
    seen.inside = [&] { EXPECT_EQ(unset_callback(), ok); };
    event_arrives(seq_id);
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudEvent, AllowsSetInsideItsCallback)
{
    EXPECT_EQ(set_callback(), ok);
    Seen second;
    seen.inside = [&] { EXPECT_EQ(set_callback(0, &second), ok); };
    event_arrives(seq_id);
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(second.events, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudEvent, AllowsDeinitializeInsideItsCallback)
{
    EXPECT_EQ(set_callback(), ok);
    seen.inside = [&] { EXPECT_EQ(korvane_deinitialize(handle), ok); };
    event_arrives(seq_id);
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(kv::api::live_session, nullptr);
}

TEST_P(CloudEvent, AllowsANewSessionInsideItsCallback)
{
    EXPECT_EQ(set_callback(), ok);
    auto old_proxy = platform.proxies().back();
    seen.inside = [&] {
        EXPECT_EQ(korvane_deinitialize(handle), ok);
        EXPECT_EQ(korvane_initialize(&handle, nullptr, nullptr), ok);
    };
    old_proxy->push_event(event(row.delegate, seq_id, false, row.values));
    EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(kv::api::live_session, handle);
}

TEST_P(CloudEvent, CanBeRegisteredAgainAfterAFailedAllocation)
{
    fail_each_allocation(
        [&] {
            connect_to("2.3.1");
            EXPECT_EQ(set_callback(), ok);
            arrives(reply(0));
        },
        [&] { return row.set(handle, true, &seen); },
        [&](int before, int result) {
            EXPECT_EQ(result, before < 0 ? ok : failed);
            platform.main_port().incoming.clear();
            EXPECT_EQ(set_callback(), ok);
            seen.events.clear();
            event_arrives(seq_id);
            EXPECT_EQ(seen.events, (std::vector<std::string>{row.seen}));
        });
}

class CloudDeviceList : public CloudTest {};

TEST_F(CloudDeviceList, OfNoDeviceIsDeliveredAsEmpty)
{
    connect_to("2.3.1");
    Seen seen;
    arrives(reply(0));
    EXPECT_EQ(korvane_set_cloud_device_list_cb(handle, on_list, &seen), ok);
    fire(13, last_seq_id(platform.log), false, count(0));
    EXPECT_EQ(seen.events, (std::vector<std::string>{"0:"}));
}

TEST_F(CloudDeviceList, OfTenThousandDevicesIsDeliveredWhole)
{
    connect_to("1.1.0");
    Seen seen;
    arrives(reply(0));
    EXPECT_EQ(korvane_set_cloud_device_list_cb(handle, on_list, &seen), ok);
    const int seq_id = last_seq_id(platform.log);
    Bytes values = count(10000);
    const Bytes item = str("d");
    std::string expected = "10000:";
    for (int i = 0; i < 10000; ++i) {
        values.insert(values.end(), item.begin(), item.end());
        expected += " d";
    }
    fire(13, seq_id, false, values);
    EXPECT_EQ(seen.events, (std::vector<std::string>{expected}));
}

TEST_F(CloudDeviceList, WithoutMemoryIsDroppedWithALogLineAndTheNextOneDelivered)
{
    Seen seen;
    int seq_id = 0;
    unsigned dropped = 0;
    const Bytes values = bytes(count(1), str("one"));
    fail_each_allocation(
        [&] {
            connect_to("2.3.1");
            arrives(reply(0));
            EXPECT_EQ(korvane_set_cloud_device_list_cb(handle, on_list, &seen), ok);
            seq_id = last_seq_id(platform.log);
            platform.log.clear();
            seen = {};
        },
        [&] {
            fire(13, seq_id, false, values);
            return static_cast<int>(seen.events.size());
        },
        [&](int before, int delivered) {
            EXPECT_EQ(delivered, before < 0 ? 1 : 0);
            dropped += before >= 0;
            if (before >= 0) {
                EXPECT_FALSE(platform.log.errors().empty());
            }
            fire(13, seq_id, false, values);
            EXPECT_EQ(seen.events.back(), "1: one");
        });
    EXPECT_GE(dropped, 4U); // among others the array, its items, a record and its text
}

} // namespace
} // namespace kv::test
