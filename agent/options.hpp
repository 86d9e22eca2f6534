// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/version.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The command line is wrong; what() describes the mistake.
struct UsageError : std::runtime_error {
    using runtime_error::runtime_error;
};

struct Options {
    enum class Action {
        serve,
        check_scenarios,
        check_snapshots,
        check_personalities,
        install,
        uninstall,
        show_help,
        show_version
    };

    Action action = Action::serve;
    Version version = Version::newest();
    std::string package_dir; // empty: that of the environment
    std::string runtime_dir;
    std::string device_id; // empty: that of this machine
    std::string log;
    std::string ca_dir;
    std::string command_fifo;
    std::vector<std::string> scenarios;                 // or the snapshots or personalities to check
    std::map<std::string, std::string> scenario_values; // of variables
    std::optional<std::uint32_t> seed;                  // of random orders in scenarios; none: another one each time
    std::optional<int> http_port;                       // 0: any free port
    std::string http_token;                             // empty: a random one
    bool commands = false;
    bool update_ready = false;
    bool refuse = false;
    bool verbose = false;
    bool exit_with_parent = false;

    /// Throws UsageError.
    static Options parse(int argc, char **argv);

    /// The arguments for starting this agent on demand, without the version, which an update changes.
    std::vector<std::string> for_start_on_demand() const;
};

std::string usage();

} // namespace kv::virtual_agent
