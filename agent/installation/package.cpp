// SPDX-License-Identifier: Apache-2.0
#include "package.hpp"

#include "common/agent_state.hpp"

#include <package_info_write.h>

#include <glib.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

void check(int error, const char *what)
{
    if (error != 0)
        throw std::runtime_error{std::string{"cannot "} + what + " the package entry: " + std::strerror(-error)};
}

} // namespace

Package::Package(const std::vector<std::string> &arguments)
    : executable_(std::filesystem::read_symlink("/proc/self/exe"))
{
    for (const std::string &argument : arguments) {
        std::unique_ptr<char, decltype(&g_free)> quoted{g_shell_quote(argument.c_str()), g_free};
        arguments_.append(" ").append(quoted.get());
    }
}

void Package::install(const Version &version) const
{
    const std::string arguments = "--agent-version " + version.text() + arguments_;
    check(package_info_install(KORVANE_AGENT_APPID, version.text().c_str(), executable_.c_str(), arguments.c_str(),
                               nullptr),
          "write");
}

void Package::install_unstartable(const Version &version) const
{
    check(package_info_install(KORVANE_AGENT_APPID, version.text().c_str(), nullptr, nullptr, nullptr), "write");
}

void Package::uninstall()
{
    check(package_info_uninstall(KORVANE_AGENT_APPID), "remove");
}

} // namespace kv::virtual_agent
