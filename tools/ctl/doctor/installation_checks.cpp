// SPDX-License-Identifier: Apache-2.0
// The checks of the installation: the library, the agent's program, and the package entry that names it.
#include "checks.hpp"

#include "tools/ctl/agent/paths.hpp"

#include "common/agent_state.hpp"
#include "common/owned.hpp"

#include <korvane.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <unistd.h>

namespace kv::ctl {

namespace {

constexpr const char *install_remedy =
    "run 'korvanectl agent start', or 'korvane-agent --install' to have the agent started on demand";

bool is_version(const char *text)
{
    int major = 0;
    int minor = 0;
    return text && std::sscanf(text, "%d.%d", &major, &minor) == 2;
}

} // namespace

Finding check_library()
{
    Dl_info info{};
    dladdr(reinterpret_cast<void *>(&korvane_initialize), &info); // NOLINT: dladdr() takes an address only
    return {std::string{"libkorvane is "} + (info.dli_fname ? info.dli_fname : "part of this program")};
}

Finding check_program()
{
    const std::string path = agent_program();
    if (path.empty())
        return {"korvane-agent is neither next to this program nor in PATH",
                "install the package korvane-agent, or set KORVANE_AGENT to the program"};
    if (access(path.c_str(), X_OK) != 0)
        return {path + " cannot be run: " + std::strerror(errno), "set KORVANE_AGENT to the virtual agent's program"};
    return {"the virtual agent is " + path};
}

std::string package_value(const char *key)
{
    g_autoptr(GKeyFile) file = g_key_file_new();
    if (!g_key_file_load_from_file(file, package_entry().c_str(), G_KEY_FILE_NONE, nullptr))
        return "";
    g_autofree char *value = g_key_file_get_string(file, "Package", key, nullptr);
    return value ? value : "";
}

Finding check_package()
{
    const std::string path = package_entry();
    const std::string reinstall = std::string{"remove it, then "} + install_remedy;
    PackageInfo info;
    const int code = package_info_create(KORVANE_AGENT_APPID, info.out());
    if (code == PACKAGE_INFO_NOT_INSTALLED)
        return {"no agent is installed: " + path + " does not exist", install_remedy};
    if (code != 0)
        return {path + " cannot be read or is malformed (" + std::to_string(code) + ")", reinstall};
    CText version;
    package_info_get_version(info.get(), version.out());
    if (!is_version(version.get()))
        return {path + " has the version '" + (version ? version.get() : "") + "', which is not a version", reinstall};
    return {std::string{"agent "} + version.get() + " is installed by " + path};
}

Finding check_executable()
{
    const std::string path = package_value("Executable");
    if (path.empty())
        return {"the agent is not started on demand: its package entry has no executable"};
    if (access(path.c_str(), X_OK) != 0)
        return {"the executable " + path + " of the package entry cannot be run: " + std::strerror(errno),
                "run 'korvane-agent --install' with the wanted agent"};
    return {path + " is started when an application connects and no agent runs"};
}

} // namespace kv::ctl
