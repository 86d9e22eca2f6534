// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

#include <cstdlib>

/// The access point to join, as events deliver it and getters read it.
namespace kv::test {

inline constexpr int ok = KORVANE_ERROR_NONE;
inline constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;
inline constexpr int version_lower = KORVANE_ERROR_AGENT_VERSION_LOWER;
inline const char *const released_line = "ap_info_h is already allocated, thus it will be released now";
inline const char *const other_form_of_record = "handle was made for another agent version, in [record] form";
inline const char *const other_form_of_json = "handle was made for another agent version, in [JSON] form";

using Strings = std::vector<std::string>;

/// The result of a text getter, and the text if the result is 0.
struct Text {
    int code;
    std::string value = {};

    bool operator==(const Text &) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const Text &text)
{
    return out << text.code << " [" << text.value << "]";
}

inline Text text_of(int (*get)(korvane_ap_info_h, char **), korvane_ap_info_h ap_info)
{
    static char untouched[] = "untouched";
    char *out = untouched;
    Text text{get(ap_info, &out)};
    if (text.code != ok) {
        EXPECT_EQ(out, untouched) << "a failed getter changed its out argument";
        return text;
    }
    text.value = out ? out : "(null)";
    free(out);
    return text;
}

struct Number {
    int code;
    int value = 0;

    bool operator==(const Number &) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const Number &number)
{
    return out << number.code << " [" << number.value << "]";
}

inline Number number_of(int (*get)(korvane_ap_info_h, int *), korvane_ap_info_h ap_info)
{
    int out = 4711;
    const int code = get(ap_info, &out);
    if (code != ok) {
        EXPECT_EQ(out, 4711) << "a failed getter changed its out argument";
    }
    return {code, code == ok ? out : 0};
}

class WifiAp : public SetupTest {
protected:
    static void on_ap(korvane_h handle, korvane_ap_info_h ap_info, void *test)
    {
        auto &self = *static_cast<WifiAp *>(test);
        self.held = ap_info;
        self.recorder.note(handle, shown(ap_info));
    }

    void begin_set(const std::string &version)
    {
        connect_to(version);
        ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, on_ap, this), ok);
        seq_id = last_seq_id(platform.log);
        clear_records();
    }

    Bytes record_event(const std::string &ssid = "home")
    {
        return event(7, seq_id, false, str(ssid), str("secret"), i32(2), i32(3), i32(6), str("aa:bb"), i32(-40),
                     i32(54));
    }
    void push_record(const std::string &ssid = "home") { platform.proxy().push_event(record_event(ssid)); }
    void push_document(const std::string &text) { platform.proxy().push_event(event(18, seq_id, false, str(text))); }

    korvane_ap_info_h held = nullptr;
    int seq_id = 0;
};

inline const char *const whole_document =
    R"({"ap_ssid":"home","ap_pwd":"secret","ap_authtype":2,"ap_enctype":3,"ap_channel":6,"ap_bssid":"aa:bb",)"
    R"("ap_candidates":"[{\"ssid\":\"other\"}]"})";

} // namespace kv::test
