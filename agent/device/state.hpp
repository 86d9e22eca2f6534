// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/cloud/cloud_state.hpp"
#include "agent/phone/setup.hpp"
#include "version.hpp"

#include <map>
#include <string>

namespace kv::virtual_agent {

/// What an application may make the agent remember has an end.
inline constexpr std::size_t most_devices = 1024;
inline constexpr std::size_t longest_kept_text = 65536;

struct SubDevice {
    std::string device_id;
    int presence = 0;
};

/// What the agent knows. It stands for the whole device, so it is one, whoever is connected.
struct State {
    Version version = Version::newest();
    std::string device_id;
    bool running = false;
    bool update_ready = false;
    bool set_up = false;
    bool owned = false;
    bool signed_up = false;
    bool signed_in = false;
    int thing_status = 0;
    Setup setup{};
    CloudState cloud{};
    std::map<int, std::string> nicks{};        // by device number
    std::map<int, std::string> device_types{}; // by device number
    std::map<int, SubDevice> sub_devices;      // by device number
    std::map<int, std::string> told;           // by method id: the last request that brought arguments, as it came

    Json view() const;

    /// Notes a text for a device number. False when there are too many, or it is too long: what an application may make
    /// the agent keep has an end.
    static bool name_device(std::map<int, std::string> &texts, int device_no, std::string text);

    /// As after a reset: nobody's device, and nothing is known of what came with an owner.
    void forget_owner();
};

/// The same each time for the same name.
std::string uuid_of(const std::string &name);

/// The id of a device that nobody has named: the same each time on the same machine.
std::string device_id_of_this_machine();

} // namespace kv::virtual_agent
