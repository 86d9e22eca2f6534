// SPDX-License-Identifier: Apache-2.0
#include "agent_state.hpp"

#include "log.hpp"
#include "owned.hpp"

#include <package_info.h>

#include <climits>

namespace kv {

namespace {

/// Numbers beyond the range of an int are limited, so that a huge version does not wrap to one below every minimum.
int version_number(long major, long minor)
{
    long number = 0;
    if (__builtin_mul_overflow(major, 1000L, &number) || __builtin_add_overflow(number, minor, &number))
        number = major;
    if (number > INT_MAX)
        return INT_MAX;
    return number < INT_MIN ? INT_MIN : static_cast<int>(number);
}

} // namespace

constinit AgentState agent;

void AgentState::determine_support()
{
    package_info_h info = nullptr;
    int err = package_info_create(KORVANE_AGENT_APPID, &info);
    support = err == PACKAGE_INFO_NOT_INSTALLED ? absent : present;
    package_info_destroy(info);
}

int AgentState::current_version()
{
    return version > 0 ? version : _get_agent_version();
}

int _get_agent_version()
{
    using common::log;

    PackageInfo info;
    if (int err = package_info_create(KORVANE_AGENT_APPID, info.out()); err != 0) {
        log::error()("package_info_create() failed [%d]"_fmt, err);
        return 0;
    }
    CText version;
    package_info_get_version(info.get(), version.out());
    if (!version) {
        log::error()("package_info_get_version() failed"_fmt);
        return 0;
    }
    log::info()("agent version [%s]"_fmt, version.get());

    char *rest = nullptr;
    const char *major = strtok_r(version.get(), ".", &rest);
    if (!major) {
        log::error()("token is NULL"_fmt);
        return 0;
    }
    const char *minor = strtok_r(nullptr, ".", &rest);
    if (!minor) {
        log::error()("2nd token is NULL"_fmt);
        return 0;
    }
    agent.version = version_number(strtol(major, nullptr, 10), strtol(minor, nullptr, 10));
    return agent.version;
}

} // namespace kv
