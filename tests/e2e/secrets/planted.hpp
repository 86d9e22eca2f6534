// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

/// The secrets that a test plants in the life of a device. Each has a value of its own length, so that a mask such as
/// "<secret, 34 bytes>" shows which value an output has masked.
namespace kv::test {

struct Planted {
    const char *name;
    /// The lowest agent version that masks the value in its journal: 1003 for 1.3. 0: no entry shows the value at all.
    int masked_since;
    /// If not null, an object with the value as its only member is sent and masked: {"member":"..."}.
    const char *member = nullptr;

    std::string value() const;
    /// The text in which the value is sent.
    std::string sent() const;
    /// Its mask in the journal and in a trace.
    std::string mask() const;
};

// clang-format off
inline constexpr Planted planted[] = {
    // The phone.
    {"wifi_password", 1000}, {"hidden_wifi_password", 1000}, {"display_pin", 1000}, {"ultrasound_pin", 1001},
    {"entered_pin", 0}, {"mobile_device", 1000}, {"account", 1000}, {"phone_vendor_info", 1003},
    {"provisioning_request", 1004}, {"terms_result", 1003}, {"scenario_password", 1000}, {"expected_pin", 0},
    // The cloud.
    {"diagnostics", 2002},
    // The device.
    {"preconfigured_pin", 1000}, {"random_pin", 1004}, {"vendor_info", 1003}, {"sso_list", 1003},
    {"terms_header", 1003, "tnc_header"}, {"access_token", 1000}, {"refresh_token", 1000}, {"user_id", 1000}, {"client_id", 1000},
    {"push_registration", 1003}, {"push_message", 2000}, {"token_request", 2003, "value"},
};
// clang-format on

/// Returns the value of a name. Ends the process if there is no such name.
std::string value_of(const std::string &name);

} // namespace kv::test
