// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// Lists of access points, and the bytes of the requests that carry them.
namespace kv::test {

inline constexpr int ok = KORVANE_ERROR_NONE;
inline constexpr int no_memory = KORVANE_ERROR_OUT_OF_MEMORY;
inline constexpr int version_lower = KORVANE_ERROR_AGENT_VERSION_LOWER;
inline constexpr int lowest = -2147483647 - 1;
inline const char *const other_form_of_record = "handle was made for another agent version, in [record] form";
inline const char *const other_form_of_json = "handle was made for another agent version, in [JSON] form";

/// A setter of a number, with its name.
struct NumberSetter {
    const char *name;
    int (*set)(korvane_aplist_h list, int idx, int value);
    const char *key;
};

inline const NumberSetter number_setters[] = {
    {.name = "korvane_aplist_set_authtype", .set = korvane_aplist_set_authtype, .key = "authtype"},
    {.name = "korvane_aplist_set_enctype", .set = korvane_aplist_set_enctype, .key = "enctype"},
    {.name = "korvane_aplist_set_channel", .set = korvane_aplist_set_channel, .key = "channel"},
    {.name = "korvane_aplist_set_signal_level", .set = korvane_aplist_set_signal_level, .key = "signal_level"},
    {.name = "korvane_aplist_set_max_rate", .set = korvane_aplist_set_max_rate, .key = "max_rate"},
    {.name = "korvane_aplist_set_frequency", .set = korvane_aplist_set_frequency, .key = "frequency"},
};

class ApList : public SetupTest {
protected:
    void end_run() override
    {
        destroy();
        SetupTest::end_run();
    }

    korvane_aplist_h create(int entries)
    {
        EXPECT_EQ(korvane_aplist_create(&list, entries), ok);
        return list;
    }
    void destroy()
    {
        if (auto made = std::exchange(list, nullptr)) {
            EXPECT_EQ(korvane_aplist_destroy(made), ok);
        }
    }

    /// Sends the list and returns the request.
    Bytes sent_list(int req_id = 1)
    {
        platform.main_port().sent.clear();
        EXPECT_EQ(korvane_send_ap_list(handle, list, req_id), ok);
        return sent().size() == 1 ? sent()[0] : Bytes{};
    }

    korvane_aplist_h list = nullptr;
};

inline Bytes record(const char *ssid, int authtype, int enctype, int channel, const char *bssid, int signal_level,
                    int max_rate)
{
    return bytes(str(ssid), str(""), i32(authtype), i32(enctype), i32(channel), str(bssid), i32(signal_level),
                 i32(max_rate));
}

inline Bytes request_of_records(int req_id, int entries, const Bytes &records)
{
    return bytes(i32(25), i32(req_id), count(entries), records);
}

inline Bytes request_of_document(const std::string &text)
{
    return bytes(i32(102), str(text));
}

} // namespace kv::test
