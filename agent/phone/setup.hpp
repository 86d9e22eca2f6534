// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// How far the phone has come. The numbers are those that status_changed_cb brings.
enum class Stage { waiting = 0, connected = 1, joining = 2, joined = 3, done = 4, failed = 5 };

const char *name_of(Stage stage);

/// A network as the device has found it.
struct AccessPoint {
    std::string ssid{};
    std::string bssid{};
    int auth_type = 0;
    int enc_type = 0;
    int channel = 0;
    int signal_level = 0;
    int max_rate = 0;
    int frequency = 0; // told from agent 2.3 on

    Json view() const;
};

/// How the user proves to be in front of this device: a number that it shows, plays, or carries on a label.
struct Pin {
    enum class Kind { display, ultrasound, label };
    static constexpr int tries = 3;

    Kind kind = Kind::display;
    std::string text{};
    int tries_left = 0; // 0: none is asked for
    bool verified = false;
};

/// What the phone asked the device to take up, and waits for its answer.
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

/// A setup: what the phone did and what the device told.
struct Setup {
    Stage stage = Stage::waiting;
    int last_request = 0;                // request ids count up, whatever they are for
    std::optional<int> scan{};           // the scan that the device is to answer
    std::vector<AccessPoint> networks{}; // what it answered last
    std::optional<AccessPoint> chosen{};
    std::optional<int> wifi_error{}; // of the attempt to join the chosen one
    std::optional<bool> confirmed{};
    std::optional<bool> reset_confirmed{};
    Pin pin{};
    std::map<int, LanguageRequest> language_requests{};
    std::map<std::string, std::string> settings{}; // languages and the like that the device has taken up, by type
    bool soft_ap_stopped = false;

    // What the device told of itself.
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
