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

/// A connected library, and agents of any version.
class CloudTest : public LibraryTest {
protected:
    /// Connected to an agent of this version.
    void connect_to(const std::string &version)
    {
        platform.agent_version = version;
        connect();
    }

    /// The agent is replaced by another version, between two calls of the application; "" for one that cannot be read.
    void agent_becomes(const std::string &version)
    {
        platform.agent_version = version.empty() ? std::nullopt : std::optional(version);
        forget_the_agent();
    }

    void agent_vanishes()
    {
        platform.results["package_info_create"] = -18153359;
        forget_the_agent();
    }

    void agent_returns(const std::string &version)
    {
        platform.results.clear();
        agent_becomes(version);
    }

    /// The request that was sent last, its method first. There must be exactly one since the last time.
    Bytes only_request()
    {
        EXPECT_EQ(sent().size(), 1U);
        Bytes request = sent().empty() ? Bytes{} : sent().back();
        platform.main_port().sent.clear();
        return request;
    }

    /// An event for the delegate of this type that was made last.
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
