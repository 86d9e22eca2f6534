// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/library_fixture.hpp"

#include <optional>

namespace kv::test {

inline constexpr int ok = KORVANE_ERROR_NONE;
inline constexpr int bad_argument = KORVANE_ERROR_INVALID_PARAMETER;
inline constexpr int no_memory = KORVANE_ERROR_OUT_OF_MEMORY;
inline constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;
inline constexpr int too_old = KORVANE_ERROR_AGENT_VERSION_LOWER;
inline constexpr int installing = KORVANE_ERROR_SERVICE_UNAVAILABLE;
inline constexpr int absent = KORVANE_ERROR_NOT_SUPPORTED;

/// A callback of any type that does nothing.
inline constexpr auto ignore = [](auto...) {};

/// The library with an agent of a chosen version.
class CloudTest : public LibraryTest {
protected:
    /// Connects to an agent of this version.
    void connect_to(const std::string &version)
    {
        platform.agent_version = version;
        connect();
    }

    /// Replaces the agent by one of this version between two calls of the application. "" is an unreadable version.
    void agent_becomes(const std::string &version)
    {
        platform.agent_version = version.empty() ? std::nullopt : std::optional(version);
        clear_agent_state();
    }

    void agent_vanishes()
    {
        platform.results["package_info_create"] = -18153359;
        clear_agent_state();
    }

    void agent_returns(const std::string &version)
    {
        platform.results.clear();
        agent_becomes(version);
    }

    /// Returns the request that was sent since the last call. Fails unless there is exactly one.
    Bytes only_request()
    {
        EXPECT_EQ(sent().size(), 1U);
        Bytes request = sent().empty() ? Bytes{} : sent().back();
        platform.main_port().sent.clear();
        return request;
    }

    /// Raises an event of a delegate type.
    template <class... Values>
    void fire(int id, int seq_id, bool once, const Values &...values)
    {
        platform.proxy().push_event(event(id, seq_id, once, values...));
    }

    LogLines lines_of(const std::string &function)
    {
        LogLines kept;
        for (const LogLine &line : platform.log.api())
            if (line.function == function)
                kept.push_back(line);
        return kept;
    }
};

} // namespace kv::test
