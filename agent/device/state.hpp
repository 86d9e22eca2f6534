// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cloud_state.hpp"
#include "setup.hpp"
#include "version.hpp"

#include <map>
#include <string>

namespace kv::virtual_agent {

/// Limits on what an application can make the agent keep.
inline constexpr std::size_t max_devices = 1024;
inline constexpr std::size_t max_kept_text = 65536;

struct SubDevice {
    std::string device_id;
    int presence = 0;
};

/// The state of the emulated device. All connected applications share it.
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
    std::map<int, std::string> last_requests;  // by method id: the bytes of the last request with arguments

    Json view() const;

    /// Stores a text for a device number. Returns false if the text is too long or there are too many numbers.
    static bool set_text(std::map<int, std::string> &texts, int device_no, std::string text);

    /// Removes the owner and the sign-up.
    void forget_owner();
};

/// A UUID that depends on the name only.
std::string uuid_of(const std::string &name);

/// The default id of the device: a UUID that depends on the machine only.
std::string device_id_of_this_machine();

} // namespace kv::virtual_agent
