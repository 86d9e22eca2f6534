// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/version.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The agent's package entry, from which applications learn its version and the platform how to start it.
class Package {
public:
    /// `arguments` are those of an agent that the platform starts on demand, except for the version.
    explicit Package(const std::vector<std::string> &arguments);

    /// Throws std::runtime_error if the entry cannot be written.
    void install(const Version &version) const;
    /// Writes the entry of an agent that is being replaced: it names no executable.
    void install_unstartable(const Version &version) const;
    static void uninstall();

private:
    std::string executable_;
    std::string arguments_;
};

} // namespace kv::virtual_agent
