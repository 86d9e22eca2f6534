// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "version.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The agent's entry among the installed packages: what applications see of it, and how the platform starts it.
class Package {
public:
    /// The arguments with which this program is started when an application wants it, besides the version.
    explicit Package(const std::vector<std::string> &arguments);

    /// Throws std::runtime_error when the entry cannot be written.
    void install(const Version &version) const;
    /// As the entry stands while the program is replaced: nothing can be started.
    void install_unstartable(const Version &version) const;
    static void uninstall();

private:
    std::string executable_;
    std::string arguments_;
};

} // namespace kv::virtual_agent
