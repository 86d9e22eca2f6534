// SPDX-License-Identifier: Apache-2.0
#include "common/agent_state.hpp"
#include "common/owned.hpp"

#include <korvane_util.h>
#include <package_info.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace {

struct FunctionVersion {
    std::string_view name;
    int lowest;
};

constexpr FunctionVersion function_versions[] = {
#include "function_versions.inc" // sorted by name; the build writes it
};
static_assert(std::size(function_versions) == 179);

constexpr int first_with_documents = kv::since(2, 0);

/// "2.3.1" is 2003; 0 for a text that does not begin with two numbers.
int number_of(const char *version)
{
    char *end = nullptr;
    const long major = std::strtol(version, &end, 10);
    if (end == version || *end != '.' || major < 0 || major > 1000000)
        return 0;
    const char *second = end + 1;
    const long minor = std::strtol(second, &end, 10);
    return end == second || minor < 0 || minor > 999 ? 0 : kv::since(static_cast<int>(major), static_cast<int>(minor));
}

} // namespace

int korvane_util_get_agent(struct korvane_util_agent *agent)
{
    if (!agent)
        return KORVANE_ERROR_INVALID_PARAMETER;
    *agent = {};
    kv::PackageInfo package;
    const int result = package_info_create(KORVANE_AGENT_APPID, package.out());
    agent->is_installed = result != PACKAGE_INFO_NOT_INSTALLED;
    if (result != 0)
        return KORVANE_ERROR_NONE;
    kv::CText version;
    if (package_info_get_version(package.get(), version.out()) == 0 && version)
        agent->version = number_of(version.get());
    agent->uses_documents = agent->version >= first_with_documents;
    return KORVANE_ERROR_NONE;
}

const char *korvane_util_get_library_version(void)
{
    return KORVANE_VERSION;
}

int korvane_util_get_lowest_version(const char *function)
{
    if (!function)
        return -1;
    const auto *found =
        std::ranges::lower_bound(function_versions, std::string_view{function}, {}, &FunctionVersion::name);
    return found != std::end(function_versions) && found->name == function ? found->lowest : -1;
}

bool korvane_util_is_available(const char *function)
{
    const int lowest = korvane_util_get_lowest_version(function);
    korvane_util_agent agent;
    korvane_util_get_agent(&agent);
    return lowest >= 0 && agent.is_installed && agent.version >= lowest;
}
