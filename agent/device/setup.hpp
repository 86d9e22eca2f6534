// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The progress of a setup. The numbers are those of the event status_changed_cb.
enum class Stage { waiting = 0, connected = 1, joining = 2, joined = 3, done = 4, failed = 5 };

const char *name_of(Stage stage);

/// A network that the device found.
struct AccessPoint {
    std::string ssid{};
    std::string bssid{};
    int auth_type = 0;
    int enc_type = 0;
    int channel = 0;
    int signal_level = 0;
    int max_rate = 0;
    int frequency = 0; // from agent 2.3 on

    Json view() const;
};

/// The number that proves that the user is at this device: it is displayed, played as ultrasound or printed on a label.
struct Pin {
    enum class Kind { display, ultrasound, label };
    static constexpr int tries = 3;

    Kind kind = Kind::display;
    std::string text{};
    int tries_left = 0; // 0: no PIN was requested
    bool verified = false;
};

/// A setting that the phone requested and the device has not answered yet.
struct LanguageRequest {
    std::string type;
    std::string value;
};

struct DeviceProperty {
    std::string name;
    int wifi_mode = 0;
    int wifi_freq = 0;
    std::vector<int> auth_types{};
};

/// A setup: the progress of the phone, and the reports of the device.
struct Setup {
    Stage stage = Stage::waiting;
    int last_request = 0;                // the request id that was used last; all kinds share one counter
    std::optional<int> scan{};           // the request id of the pending scan
    std::vector<AccessPoint> networks{}; // the result of the last scan
    std::optional<AccessPoint> chosen{};
    std::optional<int> wifi_error{}; // from the attempt to join the chosen network
    std::optional<bool> confirmed{};
    std::optional<bool> reset_confirmed{};
    Pin pin{};
    std::map<int, LanguageRequest> language_requests{};
    std::map<std::string, std::string> settings{}; // languages and other settings that the device applied, by type
    bool soft_ap_stopped = false;

    // Reports of the device about itself.
    std::optional<DeviceProperty> property{};
    std::vector<std::string> languages{};
    std::string preconfigured_pin{};
    std::string random_pin{};
    std::string vendor_info{};
    std::string version_info{};
    bool mot = false;
    bool gatt_ble = false;

    Json view() const;
};

} // namespace kv::virtual_agent
